// A client of the class as compiled programs are: early bound, every call checked.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"

namespace qmzentrel::clients {

/// One object of the class with an event sink. A call that fails as COM calls fail throws
/// std::runtime_error; statuses are returned. Belongs to the apartment that made it.
class BoxClient {
 public:
  BoxClient() : BoxClient(NewZentrel()) {}
  /// With an object that it has already, through a proxy, say.
  explicit BoxClient(ComPointer<_Zentrel> object);
  ~BoxClient();
  BoxClient(const BoxClient&) = delete;
  BoxClient& operator=(const BoxClient&) = delete;

  ZentrelStatus Open(std::int32_t port, bool maintain_supply);
  ZentrelStatus Init() { return Run(&_Zentrel::DeviceInit); }
  ZentrelStatus Close() { return Run(&_Zentrel::DeviceClose); }
  ZentrelStatus BoxStatus() { return Run(&_Zentrel::BoxStatus); }
  ZentrelStatus Read() { return Run(&_Zentrel::ReadXpdr); }
  ZentrelStatus Reset() { return Run(&_Zentrel::ResetXpdr); }
  ZentrelStatus Write() { return Run(&_Zentrel::WriteXpdr); }

  LONG Signature(short index);
  float BatteryVoltage();
  std::wstring StatusText(ZentrelStatus status);

  using LongGetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG*);
  using LongSetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG);
  using BoolGetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(VARIANT_BOOL*);
  using BoolSetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(VARIANT_BOOL);
  using TextGetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(BSTR*);
  LONG Get(LongGetter property);
  bool Get(BoolGetter property);
  std::wstring Get(TextGetter property);
  void Let(LongSetter property, LONG value);
  void Let(BoolSetter property, bool value);

  /// What has been raised, in order.
  const std::vector<bool>& Events() const { return sink_->states; }
  /// What happens within each event, with its new state.
  void OnEvent(std::function<void(bool new_state)> action);

  EventSink& Sink() { return *sink_; }

  /// For what is not offered here.
  _Zentrel* Object() const { return object_.Get(); }

  /// Drops the client's only reference to the object.
  void Release() { object_.Reset(); }

 private:
  using Command = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(ZentrelStatus*);
  ZentrelStatus Run(Command command);

  ComPointer<_Zentrel> object_;
  EventSink* sink_;  // one reference of its own
};

}  // namespace qmzentrel::clients
