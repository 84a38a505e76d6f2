// A client of the box for a matrix of faults: it meets a fault, runs a command under it and once
// more after it, and holds what came against the rules.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tests/core/exchange_rules.h"
#include "tests/core/telic2_test.h"
#include "tests/core/wire_faults.h"

namespace qmzentrel::tests::matrix {

enum class Mode { kMaintained, kOnDemandStillOn, kOnDemandOff };

/// Such a box has to rest after a Box Status.
inline constexpr std::uint8_t kNoSignature = 0;

struct Case {
  const Command& command;
  std::shared_ptr<const Fault> fault;
  Where where;
  Mode mode;
  std::uint8_t signature;
};

std::ostream& operator<<(std::ostream& stream, const Case& one);

/// Every command that meets the box.
const std::vector<Command>& Commands();

/// All that can befall the wire within this command.
std::vector<Fault> FaultsOf(const Command& command);

/// Which steps a fault can befall by itself.
std::vector<Where> WheresOf(const Command& command, const Fault& fault);

class MatrixClient : public Telic2Test<ZentrelTest> {
 protected:
  /// Runs all of them, but for what is left after the first few that fail.
  template <class Cases, class RunOne>
  static void RunEach(const Cases& cases, RunOne run) {
    constexpr int kEnough = 10;
    int failed = 0;
    for (const auto& one : cases) {
      const int before = FailedParts();
      run(one);
      if (FailedParts() > before && ++failed == kEnough) {
        FAIL() << "and perhaps more";
      }
    }
  }
  void RunCase(const Case& one);

  // --- The port, and what befalls it ---

  virtual std::int32_t PortNumber() const { return kPort; }
  /// As new, and closed.
  virtual void ResetPort() { Port() = {}; }
  /// The fault comes into the world, and into what the rules know of it.
  virtual void Strike(Rules& rules) = 0;
  /// The fault is over. A port that was lost has to be opened again.
  virtual void Mend(Rules& rules) = 0;
  /// Whether the supply line is on; `otherwise` where nothing is wanted of it.
  virtual bool LineIs(bool otherwise) = 0;
  /// Runs after each command, for what is to be seen at the port alone.
  virtual void LookAtPort(const Outlook& /*wanted*/, Outlook& /*seen*/) {}

  // --- For these ---

  const Case& Present() const { return *case_; }
  bool IsMaintained() const { return case_->mode == Mode::kMaintained; }
  /// Behind the port is the box, as the fault lets it be.
  void Meet(const Rules& rules, const Fault& fault);
  void Reopen(Rules& rules, ZentrelStatus status);

  inline static const Fault kNoFault;
  bool own_supply_ = false;

 private:
  static constexpr std::int32_t kPowerTimeout = 3;
  // Longer than any supply stays on, and any byte is late.
  static constexpr Milliseconds kLongTime{61'000};

  static int FailedParts() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
  }
  bool MustRest() const { return case_->signature == kNoSignature; }
  void Prepare();
  void Compare(const char* which, const Outlook& wanted);
  ZentrelStatus RunCommand();
  Facts SeenFacts() const;
  void PassASecond(Rules& rules);
  void AwaitSupplyOff(Rules& rules);

  const Case* case_ = nullptr;
  Microseconds rests_until_{0};
};

}  // namespace qmzentrel::tests::matrix
