// Exceptions of the processor and of the operating system, as ordinary errors.
#pragma once

#include <cstddef>
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

/// An unwinding of the client's that waits for us.
struct KeptUnwinding;

/// One place in the chain that the operating system asks about an exception of this thread. Here
/// only for its room on the stack: what it holds is the platform's own.
class FaultRegistration {
  alignas(void*) std::byte room_[11 * sizeof(void*)];
};

extern "C" {
/// Enters `registration` into the chain, as the place of a procedure or of a call out of the
/// component. Returns 0, and once more something else when a fault or an unwinding has led back.
/// Costs about a nanosecond.
[[gnu::returns_twice]] int QmzEnterFaultRegistration(FaultRegistration* registration);
[[gnu::returns_twice]] int QmzEnterCallOut(FaultRegistration* registration);
/// Takes out what was entered last.
void QmzLeaveFaultRegistration(FaultRegistration* registration);
}

/// Raises what has led back to `registration`: its fault, or ClientUnwinding.
[[noreturn]] void RaiseWhatLedBackTo(const FaultRegistration& registration);

namespace internal {

// Enters a registration, and leaves it on every way out.
template <auto kEnter, class Body>
[[gnu::noinline]] std::invoke_result_t<Body> Registered(Body&& body) {
  struct Entered : FaultRegistration {
    Entered() = default;
    ~Entered() { QmzLeaveFaultRegistration(this); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;
  } entered;
  if (kEnter(&entered) != 0) RaiseWhatLedBackTo(entered);
  // Called as a function that nothing is known about: around copies that the compiler makes itself
  // it drops destructors, and then a fault in one would leave the registration behind.
  using Run = std::invoke_result_t<Body> (*)(Body && body);
  Run run = [](Body&& statements) -> std::invoke_result_t<Body> {
    return std::forward<Body>(statements)();
  };
  asm("" : "+r"(run));
  return run(std::forward<Body>(body));
}

}  // namespace internal

/// Runs `body` and returns what it returns. An exception of the processor or the operating system
/// in it is raised where it happens, like an error of the statement, so that destructors run. Where
/// that cannot be (in a function of the operating system, in one that raises nothing, without
/// stack), the thread is cut back to the innermost CallOut, or else to here, and it is raised from
/// there; destructors further in do not run.
///
/// Informational exceptions, those of other threads, and those that somebody below handles are left
/// alone, and so is what happens in code of the client (ClientCode).
template <class Body>
std::invoke_result_t<Body> RaisingFaults(Body&& body) {
  return internal::Registered<&QmzEnterFaultRegistration>(std::forward<Body>(body));
}

// --- Code of the client ---

/// An exception of the client's own on its way past us: the client handles it outside its call to
/// us, and everything on the way there is left. What destructors give back is given back; nobody
/// reports it, and whoever catches everything passes it on; in a destructor, which cannot, it ends.
class ClientUnwinding {
 public:
  explicit ClientUnwinding(KeptUnwinding* kept) : kept_(kept) {}
  ClientUnwinding(ClientUnwinding&& other) noexcept : kept_(std::exchange(other.kept_, nullptr)) {}
  /// One that nobody takes has been overtaken by another exception, which ends it.
  ~ClientUnwinding();
  ClientUnwinding& operator=(ClientUnwinding&&) = delete;

  KeptUnwinding* Take() { return std::exchange(kept_, nullptr); }

 private:
  KeptUnwinding* kept_;
};

/// Goes on with the unwinding that was interrupted for us, now that nothing of ours is left on the
/// way.
[[noreturn]] void ResumeUnwinding(KeptUnwinding* kept);

/// Stands within every entry through which foreign code calls the component and from which the
/// component may call foreign code in turn. What unwinds past the component leaves it here.
template <class Body>
std::invoke_result_t<Body> CalledFromOutside(Body&& body) {
  KeptUnwinding* kept = nullptr;
  try {
    return std::forward<Body>(body)();
  } catch (ClientUnwinding& unwinding) {
    kept = unwinding.Take();
  }
  ResumeUnwinding(kept);
}

/// Stands around a call to a function that may run code of others: an object's, a window's. When an
/// exception in there is handled outside the component, the destructors of the component up to
/// CalledFromOutside run; not those within `body`, which does nothing but the call.
template <class Body>
std::invoke_result_t<Body> CallOut(Body&& body) {
  return internal::Registered<&QmzEnterCallOut>(std::forward<Body>(body));
}

/// Stands around every call into code of the client: an exception there is the client's own. It is
/// offered to the handlers that the client has around its call to us. One in our own code, at an
/// object of the client that is none, stays ours.
class ClientCode {
 public:
  ClientCode();
  ~ClientCode();
  ClientCode(const ClientCode&) = delete;
  ClientCode& operator=(const ClientCode&) = delete;

 private:
  FaultRegistration registration_;
};

/// A CallOut whose exceptions are the client's own.
template <class Body>
std::invoke_result_t<Body> CallOutToClient(Body&& body) {
  const ClientCode code_of_the_client;
  return CallOut(std::forward<Body>(body));
}

}  // namespace qmzentrel::platform
