// Which answers about one block are late ones about the other, by the rules.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <optional>

#include "tests/fakes/fake_serial_port.h"

namespace qmzentrel::fuzz {

class LateAnswers {
 public:
  /// A command about `block`, 0 or 1, or about neither, has gone out.
  void Send(std::optional<std::size_t> block, fakes::Microseconds now) {
    due_.push_back({block, InMs(now)});
    constexpr std::size_t kMost = 64;
    if (due_.size() > kMost) due_.pop_front();
  }

  /// Of an answer of the right length. `block` is the one that is asked for.
  bool PassesOver(std::optional<std::size_t> block, const fakes::Bytes& reply,
                  fakes::Microseconds now) {
    if (!block || !IsAsLast(1 - *block, reply) || IsAsLast(*block, reply)) return false;
    for (auto due = due_.begin(); due != due_.end(); ++due) {
      if (due->block == block || IsOver(*due, now)) continue;
      due_.erase(due);
      ++passed_over;
      return true;
    }
    return false;
  }

  /// An answer is taken: the box answers in order.
  void Answer(fakes::Microseconds now) {
    while (!due_.empty() && IsOver(due_.front(), now)) due_.pop_front();
    if (!due_.empty()) due_.pop_front();
  }

  /// In this process so far.
  static std::uint64_t PassedOver() { return passed_over; }

  /// What came of a command for a block.
  void Take(std::size_t block, const fakes::Bytes& reply) { last_.at(block) = reply; }

 private:
  using Ms = std::chrono::milliseconds;
  struct Due {
    std::optional<std::size_t> block;
    Ms sent;
  };

  static Ms InMs(fakes::Microseconds time) { return std::chrono::floor<Ms>(time); }
  static bool IsOver(const Due& due, fakes::Microseconds now) {
    return InMs(now) > due.sent + Ms(3500);
  }

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
  std::deque<Due> due_;  ///< what was sent and may still be answered, the first one first
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
