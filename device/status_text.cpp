// What a status says to a user.
#include "device/Zentrel.h"

namespace qmzentrel {

std::string Zentrel::Status(std::int32_t Code) {
  switch (Code) {
    case S_OKAY:
      return "OK";
    case S_TIMEOUT:
      return "Timeout";
    case S_BAD_RESPONSE:
      return "Invalid response";
    case S_BAD_PORT:
      return "COM port invalid or not available";
    case S_BAD_SUM:
      return "Invalid checksum in reply";
    case S_BAD_DATA:
    case S_BAD_PARAMETER:  // one text for both: to the user either is a wrong value
      return "Invalid data parameter for command";
    case S_MSG_TOO_LONG:
      return "Command message too long";
    default:
      return "Unknown error, report to VETRIS";
  }
}

}  // namespace qmzentrel
