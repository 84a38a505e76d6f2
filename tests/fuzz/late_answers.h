// Which answers about one block are late ones about the other, by the rules.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include "tests/fakes/fake_serial_port.h"

namespace qmzentrel::fuzz {

class LateAnswers {
 public:
  void BeginExchange() {
    left_ = std::min(surplus_ + in_vain_, kMost);
    silent_ = 0;
  }

  /// Of an answer of the right length. `block`, 0 or 1, is the one that is asked for.
  bool PassesOver(std::optional<std::size_t> block, const fakes::Bytes& reply) {
    if (left_ == 0 || !block || !IsOther(*block, reply)) return false;
    --left_;
    return true;
  }

  /// A sending whose wait has passed without an answer.
  void NoteSilence() { ++silent_; }

  void EndExchange(bool answered) {
    in_vain_ = std::min(in_vain_ + silent_, kMost);
    if (answered) surplus_ = std::exchange(in_vain_, 0);
  }

  /// What came of a command for a block.
  void Take(std::size_t block, const fakes::Bytes& reply) { last_.at(block) = reply; }

 private:
  static constexpr int kMost = 26;

  // In what neither the meter nor the battery changes.
  bool IsOther(std::size_t block, const fakes::Bytes& reply) const {
    const auto& other = last_.at(1 - block);
    if (!other) return false;
    const auto alike = [&](std::size_t first, std::size_t last) {
      for (std::size_t i = first; i <= last; ++i) {
        if (reply.at(i) != other->at(i)) return false;
      }
      return true;
    };
    return block == 0 ? alike(1, 8) : alike(0, 4) && alike(9, 12) && alike(14, 15);
  }

  std::array<std::optional<fakes::Bytes>, 2> last_;
  int surplus_ = 0;  ///< answers that may come to what was sent before
  int in_vain_ = 0;  ///< sent since the last answer
  int left_ = 0;
  int silent_ = 0;
};

}  // namespace qmzentrel::fuzz
