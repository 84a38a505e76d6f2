// Exceptions of the processor and of the operating system, as ordinary errors.
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

namespace qmzentrel::platform {

/// Base of every error that stands for such an exception.
struct RaisedFault {
  std::uint32_t code;  ///< of the operating system, 0xC0000005 for an access violation
};

/// Raises the error, derived from RaisedFault, that stands for the exception `code`.
using FaultRaiser = void (*)(std::uint32_t code);

/// From here on, exceptions within RaisingFaults leave through `raiser`, for the life of the
/// process: the library stays in it. What was installed for exceptions outside stays in force.
void InstallFaultHandling(FaultRaiser raiser);

/// One place in the chain that the operating system asks about an exception of this thread. The
/// layout is known to its assembler part as well.
struct FaultRegistration {
  void* previous;
  void* handler;
  void* registers[6];  ///< to come back with when nothing can be raised where the fault was
  std::uint32_t code;  ///< of the last fault, 0: none yet
};

extern "C" {
/// Enters `registration` into the chain. Returns 0, and once more something else when a fault has
/// led back. Costs about a nanosecond.
[[gnu::returns_twice]] int QmzEnterFaultRegistration(FaultRegistration* registration);
/// Takes out what was entered last.
void QmzLeaveFaultRegistration(FaultRegistration* registration);
}

/// Raises the fault that has led back to `registration`.
[[noreturn]] void RaiseFaultOf(const FaultRegistration& registration);

/// Runs `body` and returns what it returns. An exception of the processor or the operating system
/// in it is raised where it happens, like an error of the statement, so that destructors run. Where
/// that cannot be (in a function of the operating system, in one that raises nothing, without
/// stack), the thread is cut back to here, past destructors, and it is raised from here.
///
/// Informational exceptions, those of other threads, and those that somebody below handles are left
/// alone, and so is what happens in code of the client (ClientCode).
template <class Body>
[[gnu::noinline]] std::invoke_result_t<Body> RaisingFaults(Body&& body) {
  struct Entered : FaultRegistration {
    Entered() = default;
    ~Entered() { QmzLeaveFaultRegistration(this); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;
  } entered;
  if (QmzEnterFaultRegistration(&entered) != 0) RaiseFaultOf(entered);
  // Called as a function that nothing is known about: around copies that the compiler makes itself
  // it drops destructors, and then a fault in one would leave the registration behind.
  using Run = std::invoke_result_t<Body> (*)(Body && body);
  Run run = [](Body&& statements) -> std::invoke_result_t<Body> {
    return std::forward<Body>(statements)();
  };
  asm("" : "+r"(run));
  return run(std::forward<Body>(body));
}

/// Stands around every call into code of the client: an exception there is the client's own. It is
/// offered to the handlers that the client has around its call to us.
class ClientCode {
 public:
  ClientCode();
  ~ClientCode();
  ClientCode(const ClientCode&) = delete;
  ClientCode& operator=(const ClientCode&) = delete;

 private:
  FaultRegistration registration_;
};

}  // namespace qmzentrel::platform
