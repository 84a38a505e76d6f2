// The published enumerations, with the values that clients were compiled against.
#pragma once

#include <cstdint>

namespace qmzentrel {

/// Result of every box command.
enum ZentrelStatus : std::int32_t {
  S_OKAY = 0,           ///< a reply of full length whose checksum matches
  S_TIMEOUT = 1,        ///< no reply byte at all
  S_BAD_RESPONSE = 2,   ///< some but not all reply bytes
  S_BAD_PORT = 3,       ///< the port is not open or cannot be opened
  S_BAD_SUM = 4,        ///< a reply of full length with a wrong checksum
  S_BAD_DATA = 5,       ///< a value of the record is out of range; nothing was sent
  S_MSG_TOO_LONG = 6,   ///< the command does not fit a frame; nothing was sent
  S_BAD_PARAMETER = 7,  ///< an argument names nothing that exists; nothing was sent
};

/// Bits of the meter-interface (MIF) byte.
enum MIF_Masks : std::int32_t {
  MIF_MASK_TYPE = 0x0F,  ///< meter-interface type
  MIF_MASK_IDT = 0x10,   ///< ID source toggle
  MIF_MASK_2IF = 0x20,   ///< secondary interface
};

}  // namespace qmzentrel
