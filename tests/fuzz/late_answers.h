// Which answers about one block are late ones about the other, by the rules.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <utility>

#include "tests/fakes/fake_serial_port.h"

namespace qmzentrel::fuzz {

class LateAnswers {
 public:
  void BeginExchange() { silent_ = 0; }

  /// Of an answer of the right length. `block`, 0 or 1, is the one that is asked for.
  bool PassesOver(std::optional<std::size_t> block, const fakes::Bytes& reply) {
    if (!block) return false;
    const std::size_t other = 1 - *block;
    if (!IsAsLast(other, reply) || IsAsLast(*block, reply)) return false;
    int& from = surplus_.at(other) > 0 ? surplus_.at(other) : in_vain_.at(other);
    if (from == 0) return false;
    --from;
    ++passed_over;
    return true;
  }

  /// In this process so far.
  static std::uint64_t PassedOver() { return passed_over; }

  /// A sending whose wait has passed without an answer.
  void NoteSilence() { ++silent_; }

  /// Of a command about `block`, or about neither: its answer may come before that about any block.
  void EndExchange(std::optional<std::size_t> block, bool answered) {
    for (const std::size_t about : {0U, 1U}) {
      if (block.value_or(about) == about) {
        in_vain_.at(about) = std::min(in_vain_.at(about) + silent_, kMost);
      }
    }
    if (answered) surplus_ = std::exchange(in_vain_, {});
  }

  /// What came of a command for a block.
  void Take(std::size_t block, const fakes::Bytes& reply) { last_.at(block) = reply; }

 private:
  static constexpr int kMost = 26;

  // In what neither the meter nor the battery changes.
  bool IsAsLast(std::size_t block, const fakes::Bytes& reply) const {
    const auto& last = last_.at(block);
    if (!last) return false;
    const auto alike = [&](std::size_t from, std::size_t to) {
      for (std::size_t i = from; i <= to; ++i) {
        if (reply.at(i) != last->at(i)) return false;
      }
      return true;
    };
    return block == 1 ? alike(1, 8) : alike(0, 4) && alike(9, 12) && alike(14, 15);
  }

  inline static std::uint64_t passed_over = 0;

  std::array<std::optional<fakes::Bytes>, 2> last_;
  std::array<int, 2> surplus_{};  ///< answers about a block that may come to what was sent before
  std::array<int, 2> in_vain_{};  ///< sent about a block since the last answer
  int silent_ = 0;
};

/// Says at the end of the process how many it has passed over, for short_run.
struct LateAnswersSaid {
  LateAnswersSaid() = default;
  ~LateAnswersSaid() {
    std::fprintf(stderr, "Late answers passed over: %llu\n",
                 static_cast<unsigned long long>(LateAnswers::PassedOver()));
  }
  LateAnswersSaid(const LateAnswersSaid&) = delete;
  LateAnswersSaid& operator=(const LateAnswersSaid&) = delete;
};

}  // namespace qmzentrel::fuzz
