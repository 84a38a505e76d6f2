// An exception of the processor, for tests that have none.
#pragma once

#include <cstdint>

namespace qmzentrel::fakes {

/// Acts as if this statement had made the processor raise an exception. Within a procedure that is
/// raised as an error. False when nobody takes it: in code of the client, outside every procedure,
/// or before error reporting is set up.
bool RaiseHardwareFault(std::uint32_t code);

/// What a client catches outside its call to the component.
struct ClientException {};

/// An exception in code of the client that the client handles outside its call: goes past the
/// component as ClientUnwinding, and on from its edge as ClientException.
[[noreturn]] void RaiseClientException();

/// Whether a procedure would take a fault that happened now.
bool IsInProcedure();

}  // namespace qmzentrel::fakes
