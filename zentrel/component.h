// The component as this program uses it: through COM, as any client does.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <cstdint>
#include <string>
#include <vector>

#include "QmZentrel_h.h"
#include "platform/win32/com_pointer.h"
#include "zentrel/options.h"

namespace qmzentrel::program {

/// COM for the calling thread, as a single-threaded apartment.
class ComApartment {
 public:
  ComApartment();
  ~ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
};

/// Who has to answer a command; the next step depends on it.
enum class Answerer { kBox, kTransponder };

/// One object of the registered class, or of the library beside this program where none is
/// registered, which a sentence on the error output says. Whatever fails is thrown as a Failure:
/// calls that COM or the component refuses, and statuses other than S_OKAY.
class Component {
 public:
  using LongGetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG*);
  using LongSetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG);
  using BoolGetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(VARIANT_BOOL*);
  using BoolSetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(VARIANT_BOOL);
  using TextGetter = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(BSTR*);
  using Command = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(::ZentrelStatus*);

  /// Makes the object.
  Component();
  /// Closes the port.
  ~Component();
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  /// Opens the port that `options` name, with the supply kept on, and asks the box for its facts.
  void Open(const Options& options);
  /// The same of any port, for one that may be silent: the status instead of a Failure.
  ::ZentrelStatus TryToOpen(std::int32_t port);

  /// After Open: the simulator's dialog stands for the box.
  bool IsSimulated() const { return simulated_; }

  void Run(Command command, Answerer answerer);
  LONG Get(LongGetter property) const;
  bool Get(BoolGetter property) const;
  std::string Get(TextGetter property) const;
  void Let(LongSetter property, LONG value);
  void Let(BoolSetter property, bool value);

  LONG Signature(short index) const;
  float BatteryVoltage() const;
  /// The data of sub-device messages that fit one frame.
  std::vector<LONG> ReadMessages(const std::vector<LONG>& identifiers);

 private:
  void Check(::ZentrelStatus status, Answerer answerer) const;

  platform::ComPointer<_Zentrel> object_;
  std::int32_t port_ = 0;
  bool simulated_ = false;
};

/// Makes an object as other programs do, of the registered class alone, and lets it go.
void RequireRegisteredClass();

/// "COM7".
std::string PortName(std::int32_t port);

/// The port that was named; Failure when none was.
std::int32_t NamedPort(const Options& options);

}  // namespace qmzentrel::program
