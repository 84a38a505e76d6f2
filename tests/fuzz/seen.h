// What the client of an object does and sees, in order.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qmzentrel::fuzz {

using Time = std::chrono::microseconds;
using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<std::int32_t>;
using std::chrono::milliseconds;

/// Everything lasts whole quarters of a second. A clock of Singles gives these without rounding, so
/// that every moment is known exactly.
inline constexpr Time kStep = milliseconds(250);

/// The first whole step that is not before `time`.
inline Time NextStep(Time time) {
  return (time + kStep - Time(1)) / kStep * kStep;
}

enum Property : std::size_t {
  kDeviceMif,
  kIdToggle,
  kMifSelect,
  kUtil,
  kXpdr,
  kTamper,
  kReading,
  kWarmup,
  kInterval,
  kMsi,
  kFreqMsb,
  kFreqMid,
  kFreqLsb,
  kRateMsb,
  kRateLsb,
  kPaControl,
  kEolControl,
  kHasLeak,
  kThreshold,
  kProperties
};

/// All that the properties show. The names are those of the properties above, in their order.
struct Shown {
  std::array<std::int32_t, kProperties> properties{};
  std::string transponder_version;
  std::string box_version;
  std::array<std::int32_t, 2> signature{};
  float volts = 0;
  std::int32_t power_timeout = 0;
  std::int32_t verify_delay = 0;

  bool operator==(const Shown&) const = default;
};

/// What the client does, or somebody to the machine.
enum class What {
  kOpen,  ///< port `number`, supply maintained with `flag`
  kInit,
  kBoxStatus,
  kRead,
  kWrite,
  kReset,
  kClose,
  kTelic2Read,
  kTelic2Write,
  kTelic2Test,
  kPowerManagement,
  kPower,
  kPowerTimeout,
  kVerifyDelay,
  kProperty,  ///< `number` is set to `value`
  // From here on no calls of the object.
  kRelease,
  kPost,      ///< something of the client's is due in `number` ms
  kPump,      ///< messages are dispatched for `number` ms
  kPlug,      ///< the port is pulled out, or put back with `flag`
  kAccept,    ///< the driver of port `number` refuses settings, or not with `flag`
  kTimers,    ///< there are timers with `flag`
  kSetClock,  ///< the clock of the day is set on by `number` ms
};

struct Call {
  What what{};
  std::int32_t number = 0;
  bool flag = false;
  std::int32_t value = 0;
  Numbers ids;
  Numbers data;
};

struct Chunk {
  Bytes bytes;
  Time after{0};
};

enum class Kind {
  kBegin,    ///< a call
  kEnd,      ///< its return
  kEvent,    ///< the event has come; what the client does in it follows, then kBack
  kMessage,  ///< a message of the client's is dispatched; likewise
  kBack,
  kSent,  ///< bytes have reached the driver
};

struct Seen {
  Kind kind{};
  Time at{0};
  Call call{};                    ///< kBegin; at kEnd its arrays as they are now
  bool state = false;             ///< of the event
  std::array<bool, 2> lines{};    ///< the supply of both ports, but for kBegin
  Bytes bytes{};                  ///< kSent
  std::vector<Chunk> reaction{};  ///< of the box to kSent
  bool fault = false;             ///< kSent: the driver raised; kEnd: the call did
  std::int32_t status = 0;        ///< kEnd
  Shown shown{};                  ///< kEnd
};

inline constexpr std::array<std::int32_t, 2> kPorts{7, 9};
/// No machine has it.
inline constexpr std::int32_t kNoPort = 8;

}  // namespace qmzentrel::fuzz
