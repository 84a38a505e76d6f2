// Exceptions of the processor and of the operating system, as ordinary errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "platform/erased_call.h"

namespace qmzentrel::platform {

/// Base of every error that stands for such an exception.
struct RaisedFault {
  std::uint32_t code;  ///< of the operating system, 0xC0000005 for an access violation
};

/// Raises the error, derived from RaisedFault, that stands for the exception `code`.
using FaultRaiser = void (*)(std::uint32_t code);

/// From now on an exception within RaisingFaults becomes the error that `raiser` raises, for the
/// life of the process, in which the library then stays. An exception outside goes, as before, to
/// the filter that was installed before ours.
void InstallFaultHandling(FaultRaiser raiser);

/// An unwinding that the client has begun, interrupted until our destructors have run.
struct KeptUnwinding;

/// RaisingFaults and CallOut without the type of their body.
void RunAsProcedure(ErasedCall run, void* call);
void RunAsCallOut(ErasedCall run, void* call);

/// Runs `body` and returns what it returns. An exception of the processor or the operating system
/// in it is raised where it happens, like an error of the statement, so that destructors run. Where
/// that cannot be (in a function of the operating system, in one that is declared to raise nothing,
/// when the stack is used up), the thread goes back to the innermost CallOut, or else to here, and
/// the error is raised from there; destructors further in do not run.
///
/// Left alone are exceptions that only inform, those of other threads, those that a function called
/// from `body` handles itself, and those in code of the client (ClientCode).
template <class Body>
std::invoke_result_t<Body> RaisingFaults(Body&& body) {
  return CallErased(RunAsProcedure, std::forward<Body>(body));
}

// --- Code of the client ---

/// An exception of the client's own on its way past us. The client handles it outside its call to
/// us, so every function of ours on the way is left, and destructors give back what they hold.
/// Nobody reports it. Whoever catches every error raises this one again; only in a destructor,
/// which cannot, it ends.
class ClientUnwinding {
 public:
  explicit ClientUnwinding(KeptUnwinding* kept) : kept_(kept) {}
  ClientUnwinding(ClientUnwinding&& other) noexcept : kept_(std::exchange(other.kept_, nullptr)) {}
  /// Ends the client's exception unless it has been taken: another one has overtaken it then.
  // NOLINTNEXTLINE(performance-trivially-destructible): with the operating system there is one.
  ~ClientUnwinding();
  ClientUnwinding& operator=(ClientUnwinding&&) = delete;

  KeptUnwinding* Take() { return std::exchange(kept_, nullptr); }

 private:
  KeptUnwinding* kept_;
};

/// Goes on with the unwinding that was interrupted, once no function of ours is left on its way.
[[noreturn]] void ResumeUnwinding(KeptUnwinding* kept);

/// Stands in every function that foreign code calls and that may call foreign code in turn. An
/// unwinding that goes past the component leaves the component here.
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
/// exception in there is handled outside the component, the destructors of the component from here
/// out to CalledFromOutside run. Those within `body` do not: it does nothing but the call.
template <class Body>
std::invoke_result_t<Body> CallOut(Body&& body) {
  return CallErased(RunAsCallOut, std::forward<Body>(body));
}

/// Stands around every call into code of the client. An exception there is the client's own and is
/// offered to the handlers that the client has around its call to us. One in our own code stays
/// ours, as when what the client has handed over as an object is none.
class ClientCode {
 public:
  ClientCode();
  ~ClientCode();
  ClientCode(const ClientCode&) = delete;
  ClientCode& operator=(const ClientCode&) = delete;

 private:
  // Room for a place in the chain that the operating system asks about an exception.
  static constexpr std::size_t kRoom = 10 * sizeof(void*);
  alignas(void*) std::byte registration_[kRoom];
};

/// A CallOut whose exceptions are the client's own.
template <class Body>
std::invoke_result_t<Body> CallOutToClient(Body&& body) {
  const ClientCode code_of_the_client;
  return CallOut(std::forward<Body>(body));
}

}  // namespace qmzentrel::platform
