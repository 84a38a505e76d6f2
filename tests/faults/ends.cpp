#include "tests/faults/ends.h"

#include <exception>

#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"
#include "tests/faults/kinds.h"

namespace qmzentrel::faults {
namespace {

using modErrorReportSupport::HardwareFault;

[[gnu::noinline]] void RaisesNothing() noexcept {
  RaiseError(kErrorOverflow);
}

[[gnu::noinline]] void RaisesNothingAndOwns() noexcept {
  const Witness witness;
  RaiseError(kErrorOverflow);
}

[[gnu::noinline]] void RaisesNothingAndCatches() noexcept {
  try {
    RaiseError(kErrorOverflow);
  } catch (const HardwareFault&) {
    Witness::alive = 0;
  }
}

[[gnu::noinline]] void FaultsAndRaisesNothing() noexcept {
  ReadNull();
}

// Leaves the handler of one fault by way of another one.
void FaultInHandler() {
  try {
    Procedure([] {
      try {
        ReadNull();
      } catch (const HardwareFault&) {
        FaultsAndRaisesNothing();
      }
    });
  } catch (const ReportedError&) {
  }
}

void (*volatile g_ordinary)() = RaisesNothing;
void (*volatile g_owning)() = RaisesNothingAndOwns;
void (*volatile g_catching)() = RaisesNothingAndCatches;

void AfterFault(void (*end)()) {
  try {
    ReadNull();
  } catch (const HardwareFault&) {
  }
  end();
}

constexpr End kEnds[] = {
    {"an ordinary error leaves a function that raises nothing",
     [] { Procedure([] { g_ordinary(); }); }},
    {"the same from one that owns something", [] { Procedure([] { g_owning(); }); }},
    {"the same from one that catches something else", [] { Procedure([] { g_catching(); }); }},
    {"the same outside every procedure", [] { g_ordinary(); }},
    {"the same after a fault", [] { Procedure([] { AfterFault(g_ordinary); }); }},
    {"the same after a fault, from one that owns something",
     [] { Procedure([] { AfterFault(g_owning); }); }},
    {"the same after a fault in the handler of a fault",
     [] {
       FaultInHandler();
       Procedure([] { g_ordinary(); });
     }},
    {"the same then, from one that catches something else",
     [] {
       FaultInHandler();
       Procedure([] { g_catching(); });
     }},
    {"std::terminate after a fault in the handler of a fault",
     [] {
       FaultInHandler();
       Procedure([] { std::terminate(); });
     }},
    {"std::terminate", [] { Procedure([] { std::terminate(); }); }},
    {"std::terminate after a fault", [] { Procedure([] { AfterFault(std::terminate); }); }},
};

}  // namespace

std::span<const End> Ends() {
  return kEnds;
}

}  // namespace qmzentrel::faults
