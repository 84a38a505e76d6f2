// A client that exchanges sub-device messages: a catalog, two arrays, and the three commands.
#pragma once

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {

using Numbers = std::vector<std::int32_t>;

/// Numbers that no client means.
inline constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
inline constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

/// In the data of a client before a command.
inline constexpr std::int32_t kUntouched = 0x55555555;

/// Messages 8 to 12 and 17 of 2, 2, 1, 3, 4 and 4 bytes; tests of the same numbers that write and
/// read as much, and 20 that has no reply.
inline void InstallMessages() {
  for (const auto& [message, bytes] :
       {std::pair{8, 2}, {9, 2}, {10, 1}, {11, 3}, {12, 4}, {17, -4}}) {
    SetMessage(message, bytes);
    SetTest("Meter", message, bytes < 0 ? -bytes : bytes, bytes < 0 ? -bytes : bytes);
  }
  SetTest("Meter", 20, 1, -1);
}

/// One of the three commands.
struct Telic2Command {
  const char* name;
  const char* byte;  ///< of the frame, as text
  ZentrelStatus (Zentrel::*run)(std::int32_t, const LongArray&, const LongArray&);
  int electric_sends;  ///< to an electric box that stays silent
};

inline void PrintTo(const Telic2Command& command, std::ostream* stream) {
  *stream << command.name;
}

inline constexpr Telic2Command kReadCommand{"TELIC2Read", "C7", &Zentrel::TELIC2Read, 26};
inline constexpr Telic2Command kWriteCommand{"TELIC2Write", "C6", &Zentrel::TELIC2Write, 6};
inline constexpr Telic2Command kTestCommand{"TELIC2Test", "C9", &Zentrel::TELIC2Test, 26};

/// `Base` is a fixture with an object.
template <class Base>
class Telic2Test : public Base {
 protected:
  void SetUp() override {
    Base::SetUp();
    InstallMessages();
    this->zentrel->TELIC2Device("Meter");
  }

  /// Runs the command over all of `identifiers`, with `data` in front of the untouched rest.
  ZentrelStatus Run(const Telic2Command& command, const Numbers& identifiers,
                    const Numbers& given = {}) {
    ids = identifiers;
    data = given;
    data.resize(ids.size(), kUntouched);
    return RunOver(command, static_cast<std::int32_t>(ids.size()));
  }

  ZentrelStatus RunOver(const Telic2Command& command, std::int32_t count) {
    return (this->zentrel.get()->*command.run)(count, LongArray(ids, 0), LongArray(data, 0));
  }

  Numbers ids;
  Numbers data;
};

}  // namespace qmzentrel::tests
