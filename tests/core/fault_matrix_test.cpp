// Every command that meets the box, under every fault of the wire, in every power mode, for both
// kinds of box: what came is held against what the rules make of that fault.
#include <array>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "tests/core/matrix_client.h"

namespace qmzentrel::tests::matrix {
namespace {

// What befalls the reply alone is the same to a supply that is still on and to one that was off:
// these take turns. Where bytes are all that differs, so do the kinds of box.
std::vector<Case> CasesOf(const Command& command) {
  constexpr std::array kOnDemand{Mode::kOnDemandStillOn, Mode::kOnDemandOff};
  constexpr std::array<std::uint8_t, 3> kSignatures{0xA6, 0xA5, kNoSignature};
  std::vector<Case> cases;
  std::size_t turn = 0;
  for (const Fault& row : FaultsOf(command)) {
    const auto fault = std::make_shared<const Fault>(row);
    const bool every_supply = !fault->react || fault->hits_sending;
    for (const Where where : WheresOf(command, *fault)) {
      ++turn;
      for (std::size_t kind = 0; kind < kSignatures.size(); ++kind) {
        const auto add = [&](Mode mode) {
          cases.push_back({command, fault, where, mode, kSignatures[kind]});
        };
        if (fault->takes_turns && kind != turn % kSignatures.size()) continue;
        add(Mode::kMaintained);
        for (std::size_t i = 0; i < kOnDemand.size(); ++i) {
          if (every_supply || i == (turn / 4 + kind) % 2) add(kOnDemand[i]);
        }
      }
    }
  }
  return cases;
}

class FaultMatrix : public MatrixClient, public testing::WithParamInterface<Command> {
 private:
  void Strike(Rules& rules) override {
    Link& link = rules.link;
    switch (Present().fault->around) {
      case Around::kNothing:
        break;
      case Around::kBusy:
      case Around::kMissing:
        zentrel->DeviceClose();
        (Present().fault->around == Around::kBusy ? Port().open : Port().vanished) = true;
        Reopen(rules, S_BAD_PORT);
        break;
      case Around::kGoneBack:
        Port().vanished = true;
        Reopen(rules, S_BAD_PORT);
        Port().vanished = false;
        Reopen(rules, S_OKAY);
        break;
      case Around::kGone:
        Port().vanished = link.gone = true;
        break;
      case Around::kDarkened:
        Port().lines = {};
        link.line = false;
        break;
      case Around::kBytesLeft:
        for (int i = 0; i < 40; ++i) Port().incoming.emplace(TheWorld().now, std::uint8_t{0x55});
        break;
      case Around::kNoLines:
        own_supply_ = true;
        link.fed_by_line = false;
        [[fallthrough]];
      case Around::kNoSupply:
        Port().refuses_lines = link.lines_refused = true;
        break;
    }
    Port().driver_room = Present().fault->driver_room;
    Port().write_takes = link.write_takes = Present().fault->write_takes;
    Port().loses_cut_reads = Present().fault->loses_cut_reads;
    Meet(rules, *Present().fault);
  }

  /// Of a port that is not ours nothing is wanted.
  bool LineIs(bool otherwise) override {
    const bool ours = Port().open && Present().fault->around != Around::kBusy;
    EXPECT_FALSE(ours && Port().lines.rts);
    return ours ? Port().lines.dtr : otherwise;
  }

  /// A port that was lost cannot be opened before it is back.
  void Mend(Rules& rules) override {
    Port().driver_room.reset();
    Port().write_takes = rules.link.write_takes = {};
    Port().loses_cut_reads = false;
    Port().reads_fail.clear();
    Port().vanishes_after.reset();
    Port().refuses_lines = rules.link.lines_refused = false;
    if (rules.link.gone || !rules.link.open) {
      Reopen(rules, S_BAD_PORT);
      Port().vanished = false;
      if (Present().fault->around == Around::kBusy) Port().open = false;
      Reopen(rules, S_OKAY);
    }
    Meet(rules, kNoFault);
  }
};

TEST_P(FaultMatrix, EndsAsTheRulesSay) {
  RunEach(CasesOf(GetParam()), [this](const Case& one) { RunCase(one); });
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultMatrix, testing::ValuesIn(Commands()),
                         [](const auto& one) { return std::to_string(one.index); });

TEST(FaultMatrixTable, HasItsCases) {
  std::set<std::string> names;
  std::size_t cases = 0;
  for (const Command& command : Commands()) {
    std::map<std::string, std::set<bool>> maintained;
    for (const Case& one : CasesOf(command)) {
      std::ostringstream name;
      name << one;
      names.insert(name.str());
      maintained[one.fault->name].insert(one.mode == Mode::kMaintained);
      ++cases;
    }
    for (const Fault& fault : FaultsOf(command)) {
      EXPECT_EQ(maintained[fault.name].size(), 2U) << command.name << ", " << fault.name;
    }
  }
  EXPECT_EQ(names.size(), cases) << "two cases are the same";
  EXPECT_GE(cases, 8'400U);
  RecordProperty("cases", static_cast<int>(cases));
}

}  // namespace
}  // namespace qmzentrel::tests::matrix
