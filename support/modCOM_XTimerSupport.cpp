#include "support/modCOM_XTimerSupport.h"

#include <algorithm>
#include <atomic>
#include <vector>

#include "platform/timer.h"
#include "support/XTimer.h"
#include "support/error_frame.h"
#include "support/ignoring_errors.h"
#include "support/modErrorReportSupport.h"
#include "support/per_apartment.h"
#include "support/run_time_error.h"

namespace qmzentrel::modCOM_XTimerSupport {
namespace {

constexpr std::int16_t kGrowth = 5;

struct Slot {
  std::shared_ptr<XTimer> xt;
  std::int32_t id = 0;  // 0: free
};

struct ModuleState {
  std::vector<Slot> maxti;  // slots 1 to mintMaxTimers, at index 0 and up
  std::int16_t mintMaxTimers = 0;
};

std::atomic<std::int32_t> g_running_timers{0};

using StateOfApartment = PerApartment<ModuleState>;

// Null when no slot of this thread has that identifier.
Slot* FindSlot(std::int32_t id) {
  ModuleState* state = StateOfApartment::Existing();
  if (!state) return nullptr;
  const auto slot = std::ranges::find(state->maxti, id, &Slot::id);
  return slot == state->maxti.end() ? nullptr : &*slot;
}

Slot& FreeSlot() {
  if (Slot* slot = FindSlot(0)) return *slot;
  ModuleState& state = StateOfApartment::Provide();
  const auto used = state.maxti.size();
  state.maxti.resize(used + kGrowth);
  state.mintMaxTimers = static_cast<std::int16_t>(state.mintMaxTimers + kGrowth);
  return state.maxti[used];
}

const modErrorReportSupport::GlobalVariables kVariables(DumpFields);

constexpr ModuleFields kFields{"modCOM_XTimerSupport", nullptr,
                               [](const void*) { return DumpFields(); }};

}  // namespace

std::int32_t BeginTimer(const std::shared_ptr<XTimer>& xt, std::int32_t interval) {
  const std::int32_t id = platform::StartTimer(interval, TimerProc);
  // Without a frame of its own: the property that was being set reports this.
  if (id == 0) throw RunTimeError{kErrorNoTimers, "No timers available"};
  Slot& slot = FreeSlot();
  slot.xt = xt;
  slot.id = id;
  ++g_running_timers;
  return id;
}

void EndTimer(const XTimer& xt) {
  std::int32_t id = 0;
  ErrorFrame frame(kFields, "EndTimer", PARAMETERS(), LOCALS(id));
  frame.Run([&] {
    STEP id = xt.TimerID();
    STEP if (id == 0) return;
    STEP Slot* slot = FindSlot(id);
    STEP if (!slot) return;
    STEP platform::KillTimer(id);
    STEP slot->id = 0;
    STEP g_running_timers -= 1;
    STEP slot->xt.reset();
  });
}

void TimerProc(std::int32_t hWnd, std::int32_t uMsg, std::int32_t idEvent,
               std::int32_t lngSysTime) {
  try {
    ErrorFrame frame(kFields, "TimerProc", PARAMETERS(hWnd, uMsg, idEvent, lngSysTime));
    frame.Run([&] {
      STEP const Slot* slot = FindSlot(idEvent);
      STEP if (!slot || idEvent == 0) {     // 0 would find a free slot
        STEP platform::KillTimer(idEvent);  // a stray timer never fires twice
        return;
      }
      // The tick may stop the timer and start others, which moves the table.
      STEP const std::shared_ptr<XTimer> xt = slot->xt;
      STEP xt->RaiseTick();
    });
  } catch (const platform::ClientUnwinding&) {
    throw;  // the timer was not at fault, and runs on
  } catch (...) {
    IgnoringErrors([idEvent] { platform::KillTimer(idEvent); });
  }
}

std::int32_t RunningTimers() {
  return g_running_timers;
}

std::string DumpFields() {
  return DumpVariable("maxti", StructureArray()) + DumpVariable("mintMaxTimers", SlotCount());
}

std::int16_t SlotCount() {
  const ModuleState* state = StateOfApartment::Existing();
  return state ? state->mintMaxTimers : std::int16_t{0};
}

void ReleaseThread() {
  const ModuleState* state = StateOfApartment::Existing();
  const auto runs = [](const Slot& slot) { return slot.id != 0; };
  if (!state || std::ranges::any_of(state->maxti, runs)) return;
  StateOfApartment::ReleaseThread();
}

}  // namespace qmzentrel::modCOM_XTimerSupport
