// The service that follows the objects of a component through a debugging session.
#pragma once

#include <cstdint>
#include <string>

namespace qmzentrel::platform {

/// Whether such a session is attached to the process.
bool HasDebugSession();

/// Sends the service a message with a text, and gives up after `timeout_ms`. Until then the service
/// may store the number of an instance in `instance`, which is null for messages that ask for none.
void NotifyReportService(std::int32_t message, const std::string& text, std::int16_t* instance,
                         std::int32_t timeout_ms);

}  // namespace qmzentrel::platform
