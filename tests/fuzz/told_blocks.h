// The blocks of a transponder as its box has told them last. A box that draws each answer afresh
// never says the same twice, which every late answer does.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

class ToldBlocks {
 public:
  /// The answer to `command`, which has 19 bytes: what `draw` makes, if it is not the one about
  /// this block or about the other once more.
  template <class Draw>
  Bytes Answer(std::span<const std::uint8_t> command, FuzzedDataProvider& chance, Draw draw) {
    const std::optional<std::size_t> block = BlockOf(command);
    if (!block) return draw();
    const int kind = chance.ConsumeIntegralInRange(0, 7);
    std::optional<Bytes>& own = told_.at(*block);
    const std::optional<Bytes>& other = told_.at(1 - *block);
    if (kind >= 6 && other) return *other;
    if (kind < 3 || !own) own = draw();
    return *own;
  }

 private:
  // A write of the radio settings is told by a byte; a reset is about none.
  static std::optional<std::size_t> BlockOf(std::span<const std::uint8_t> command) {
    constexpr std::uint8_t kRadio = 0x20;
    constexpr std::size_t kWrite = 12;
    if (command.size() == kWrite) return command[10] == kRadio ? 1 : 0;
    if (command[0] == 0x40) return 0;
    if (command[0] == 0x42) return 1;
    return {};
  }

  std::array<std::optional<Bytes>, 2> told_;
};

}  // namespace qmzentrel::fuzz
