// Golden tables: for each command the bytes, supply settings, events, log texts and waits, in
// order.
#pragma once

#include "tests/core/core_test.h"
#include "tests/core/zentrel_access.h"

namespace qmzentrel::tests {

using Journal = std::vector<std::string>;

class GoldenTest : public ZentrelTest {
 protected:
  void SetUp() override {
    ZentrelTest::SetUp();
    TheWorld().SetClock(36'000);
  }

  static constexpr const char* kOpened =
      "open COM7 (9600 baud, parity 0, 8 data, stop setting 2), supply ";

  static Journal Both(Journal first, const Journal& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  }

  void Expect(const Journal& golden) { EXPECT_EQ(TheWorld().TakeJournal(), golden); }

  static constexpr Record kVersion51{};
  static constexpr Record kVersion80{.version = 0x80, .signature = 0xA6};

  /// The lines of one exchange that is answered at once.
  static Journal Exchange(const std::string& sent, const Bytes& reply, int first_byte_ms = 2500) {
    return {"write " + sent,
            "read 1 within " + std::to_string(first_byte_ms) + ": " +
                fakes::Hex(std::span(reply).first(1)),
            "read " + std::to_string(reply.size() - 1) +
                " within 12500: " + fakes::Hex(std::span(reply).subspan(1))};
  }

  static Journal Unanswered(const std::string& sent, int first_byte_ms = 2500) {
    return {"write " + sent, "read 1 within " + std::to_string(first_byte_ms) + ": nothing"};
  }

  static Journal Times(int count, const Journal& lines) {
    Journal all;
    for (int i = 0; i < count; ++i) all = Both(all, lines);
    return all;
  }

  /// A journal put together from single lines and pieces.
  template <class... Pieces>
  static Journal Lines(const Pieces&... pieces) {
    Journal all;
    const auto add = [&all](const auto& piece) {
      if constexpr (std::is_convertible_v<decltype(piece), std::string>) {
        all.emplace_back(piece);
      } else {
        all.insert(all.end(), piece.begin(), piece.end());
      }
    };
    (add(pieces), ...);
    return all;
  }

  /// What stands around every exchange while the supply is maintained.
  static Journal Powered(const Journal& exchange) {
    return Lines("supply DTR", "event True", exchange, "supply DTR", "event False");
  }

  /// What stands around an exchange on demand while the supply is still on.
  static Journal Warm(const Journal& exchange) { return Lines("timer off", exchange, "timer on"); }

  const Bytes block_1 = Block1Reply(kVersion51);
  const Bytes block_1_with_block_2 = Block1Reply(kVersion80);
  const Bytes block_2 = Block2Reply({1, 2, 3, 4, 5, 6, 7, 200});
};

}  // namespace qmzentrel::tests
