// The lines of a serial port that feed a box, tried out past the component.
#pragma once

#include <cstdint>
#include <string>

#include "platform/serial_port.h"

namespace qmzentrel::program {

/// "DTR", "RTS", "DTR and RTS".
std::string LinesText(platform::ModemLines lines);

/// 0 when the port opens, with both lines off; else why it does not.
std::int32_t OpeningError(std::int32_t port);

/// Whether a box answers on the port while these lines are raised. It gets the time that it needs
/// to start. False, too, when the port does not open.
bool BoxAnswers(std::int32_t port, platform::ModemLines lines);

}  // namespace qmzentrel::program
