// An exception of the processor, for tests that have none.
#pragma once

#include <cstdint>

namespace qmzentrel::fakes {

/// What the processor would do at this statement. Within a procedure it is raised there; in code of
/// the client, outside every procedure, or before error reporting is set up, nobody takes it:
/// false.
bool RaiseHardwareFault(std::uint32_t code);

/// What a client catches outside its call to the component.
struct ClientException {};

/// An exception in code of the client that the client handles outside its call: goes past the
/// component as ClientUnwinding, and on from its edge as ClientException.
[[noreturn]] void RaiseClientException();

/// Whether a procedure would take a fault that happened now.
bool IsInProcedure();

}  // namespace qmzentrel::fakes
