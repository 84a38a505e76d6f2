// The operating system in memory, for tests: clocks that jump, a registry that can fail, serial
// ports with scripted devices behind them, and a journal of everything that the component did to
// the outside world, in order.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/fakes/fake_desktop.h"
#include "tests/fakes/fake_dialog.h"
#include "tests/fakes/fake_object.h"
#include "tests/fakes/fake_registry.h"
#include "tests/fakes/fake_reports.h"
#include "tests/fakes/fake_serial_port.h"
#include "tests/fakes/fake_system.h"
#include "tests/fakes/fake_text.h"
#include "tests/fakes/fake_time.h"

namespace qmzentrel::fakes {

/// What each part of it holds stands with that part; here is what all of them share.
struct World : FakeTime,
               FakePorts,
               FakeRegistry,
               FakeSystem,
               FakeDesktop,
               FakeDialogs,
               FakeRegionalSettings,
               FakeClasses,
               FakeReports {
  // --- The journal ---

  std::vector<std::string> journal;
  /// Without it nothing is noted: for tests that run many worlds a second, and never look.
  bool keeps_journal = true;
  /// `line` may be a function that makes the line.
  template <class Line>
  void Note(Line line) {
    if (!keeps_journal) return;
    if constexpr (std::is_invocable_v<Line>) {
      journal.push_back(line());
    } else {
      journal.push_back(std::move(line));
    }
  }
  /// The journal so far, and a fresh one from here on.
  std::vector<std::string> TakeJournal();

  // --- Faults ---

  /// Platform calls by name, such as "KillTimer", in which memory runs out.
  std::set<std::string> out_of_memory_in;
  /// Runs ahead of each of these calls and may raise what it likes. The beginning of a procedure
  /// counts as one, "procedure": the stack can end there before the first statement has run.
  std::function<void(const std::string& call)> before_call;
  /// Stands first in each call that can be made to fail so.
  void Enter(const std::string& call) const;
};

/// The world that the fakes act on.
World& TheWorld();

/// A fresh world, as every test starts with.
void ResetWorld();

}  // namespace qmzentrel::fakes
