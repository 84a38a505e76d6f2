// The class as COM clients hold it: identity and life, late binding, events, and the dual interface
// over the core.
#pragma once

#include <windows.h>

// After it, which they need.
#include <olectl.h>

#include <atomic>
#include <memory>

#include "QmZentrel_h.h"
#include "com/connection_point.h"
#include "com/error_info.h"
#include "com/member_types.h"
#include "com/module_count.h"
#include "com/procedure.h"
#include "device/Zentrel.h"
#include "platform/hardware_faults.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/process_end.h"

namespace qmzentrel::com {

/// Belongs to the apartment that made it. It outlives every call into it and every event out of it,
/// whatever the client does meanwhile: releasing its last reference, closing the port, calling
/// again.
class ZentrelObject final : public _Zentrel,
                            public ISupportErrorInfo,
                            public IProvideClassInfo2,
                            public IConnectionPointContainer,
                            private ZentrelEvents {
 public:
  /// A new object. Raises what the core raises.
  static platform::ComPointer<_Zentrel> Create();
  /// One that ends the message loop of `thread`, which has nothing else to do, as it goes.
  static platform::ComPointer<_Zentrel> CreateForThread(DWORD thread);

  ZentrelObject(const ZentrelObject&) = delete;
  ZentrelObject& operator=(const ZentrelObject&) = delete;

  /// The frame of every call: keeps the object alive, and turns what `body` raises into an HRESULT
  /// with an error info. `body` returns an HRESULT. Bad memory that it meets in the arguments of
  /// the call is a fault of `member`.
  template <class Body>
  HRESULT Guarded(Body body, const Caller& member) {
    return ResultOf([&]() -> HRESULT {
      const Use use(*this);
      DropStaleErrorInfo();
      try {
        return platform::RaisingFaults(body);
      } catch (const platform::RaisedFault&) {
        ReportFaultOf(member);
      }
    });
  }

  /// Runs a procedure of the table of members, for every kind of call. E_POINTER when it
  /// answers and `result` is null.
  HRESULT Call(const Procedure& procedure, const Argument* arguments, void* result);

  // IUnknown
  STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;

  // IDispatch
  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* parameters,
                      VARIANT* result, EXCEPINFO* failure, UINT* wrong_argument) override;

  // _Zentrel, in its order
#define DECLARED(type, name, ...) types::type::Given name
#define ANSWERED(procedure, type, ...)                                                          \
  STDMETHODIMP procedure(EACH(DECLARED, __VA_ARGS__) __VA_OPT__(, ) types::type::Given* Result) \
      override;
#define METHOD(name, id, type, ...) ANSWERED(name, type, __VA_ARGS__)
#define GET(name, id, type, ...) ANSWERED(get_##name, type, __VA_ARGS__)
#define LET(name, id, type) STDMETHODIMP put_##name(types::type::Given NewValue) override;
#include "com/member_table.inc"
#undef ANSWERED
#undef DECLARED

  // ISupportErrorInfo
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override;

  // IProvideClassInfo2
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
  STDMETHODIMP GetGUID(DWORD kind, GUID* identifier) override;

  // IConnectionPointContainer
  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** enumerator) override;
  STDMETHODIMP FindConnectionPoint(REFIID riid, IConnectionPoint** point) override;

 private:
  // Stands for a call that is under way or an event that is being raised: the object stays alive.
  class Use {
   public:
    explicit Use(ZentrelObject& object) : object_(object) { ++object_.uses_; }
    ~Use() {
      --object_.uses_;
      object_.DeleteIfUnused();
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    ZentrelObject& object_;
  };

  // With the outermost event ends what has run out of stack within it.
  class EventUnderWay {
   public:
    explicit EventUnderWay(ZentrelObject& object) : object_(object) { ++object_.events_under_way_; }
    ~EventUnderWay() {
      if (--object_.events_under_way_ == 0) object_.out_of_stack_ = false;
    }
    EventUnderWay(const EventUnderWay&) = delete;
    EventUnderWay& operator=(const EventUnderWay&) = delete;

   private:
    ZentrelObject& object_;
  };

  explicit ZentrelObject(DWORD thread);
  ~ZentrelObject() override;

  // At the end of the process it stays as it is: the system takes the port back by itself.
  void DeleteIfUnused() {
    if (references_ == 0 && uses_ == 0 && !platform::ProcessEnds()) delete this;
  }

  // Called while bad memory in the arguments of a call is handled: reports it and raises
  // kErrorReported.
  [[noreturn]] void ReportFaultOf(const Caller& member);

  // ZentrelEvents
  void PowerStateChange(bool NewState) override;

  ModuleReference module_;
  std::atomic<ULONG> references_{1};
  unsigned uses_ = 0;  // counted by the apartment's own thread only
  unsigned events_under_way_ = 0;
  bool out_of_stack_ = false;
  ConnectionPoint events_{*this};
  std::shared_ptr<Zentrel> core_;
  const DWORD thread_;  // 0: the client's
};

}  // namespace qmzentrel::com
