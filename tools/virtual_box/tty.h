// What both ends of a serial line need of a terminal of the system (Linux).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

/// `what`, and what the system gives as the reason.
std::string Failure(const std::string& what);

/// Sets a terminal up for bytes as they are, 9600 8 N 2, without any flow control; false when it is
/// none.
bool MakeRaw(int terminal);

/// Adds what has arrived to `bytes`, without waiting; false when the terminal has been hung up.
bool ReadArrived(int terminal, Bytes& bytes);

/// Writes without waiting: what the terminal does not take is lost.
void WriteAtOnce(int terminal, std::span<const std::uint8_t> bytes);

}  // namespace qmzentrel::virtual_box
