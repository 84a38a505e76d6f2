#include <windows.h>

#include <memory>
#include <vector>

#include "support/XTimer.h"
#include "support/modCOM_XTimerSupport.h"
#include "tests/faults/kinds.h"

namespace qmzentrel::faults {
namespace {

constexpr std::uint32_t kAccessViolation = EXCEPTION_ACCESS_VIOLATION;

// The fault in the procedure's own statement, without a function between.
void Written() {
  std::int32_t lngBefore = 0;
  std::int32_t lngRead = -1;
  ErrorFrame frame(Fields(), "Written", PARAMETERS(), LOCALS(lngBefore, lngRead));
  frame.Run([&] {
    STEP lngBefore = 41;
    STEP lngBefore += 1;
    g_expected = {"Probe", "Written", __LINE__ + 2,
                  "<lngBefore>42</lngBefore>\r\n<lngRead>-1</lngRead>\r\n"};
    STEP lngRead = *g_null;
    STEP lngBefore = 43;
  });
}

void Outer() {
  std::int32_t lngOuter = 1;
  ErrorFrame frame(Fields(), "Outer", PARAMETERS(), LOCALS(lngOuter));
  frame.Run([&] {
    STEP lngOuter = 2;
    STEP Procedure(ReadNull);
    STEP lngOuter = 3;
  });
}

// The inner procedure ends well; the fault after it is the outer one's.
void OuterAlone() {
  std::int32_t lngOuter = 1;
  ErrorFrame frame(Fields(), "OuterAlone", PARAMETERS(), LOCALS(lngOuter));
  frame.Run([&] {
    STEP Procedure([] {});
    STEP lngOuter = 2;
    g_expected = {"Probe", "OuterAlone", __LINE__ + 1, "<lngOuter>2</lngOuter>\r\n"};
    STEP ReadNull();
    STEP lngOuter = 3;
  });
}

// The overflow begins in a procedure that calls itself.
void (*volatile g_procedure)() = nullptr;

[[gnu::noinline]] void RecursingProcedure() {
  ErrorFrame frame(Fields(), "RecursingProcedure");
  frame.Run([&] {
    g_expected = {"Probe", "RecursingProcedure", __LINE__ + 1, ""};
    STEP g_procedure();
    STEP g_expected.procedure = "none";
  });
}

class FaultingFields {
 public:
  FaultingFields() { g_faulting_fields = true; }
  ~FaultingFields() { g_faulting_fields = false; }
  FaultingFields(const FaultingFields&) = delete;
  FaultingFields& operator=(const FaultingFields&) = delete;
};

constexpr DWORD kPatience = 10'000;  // milliseconds
constexpr DWORD kSeveralTicks = 30;

void DispatchMessagesFor(DWORD milliseconds, const volatile int& until_not_zero) {
  const DWORD begin = GetTickCount();
  while (until_not_zero == 0) {
    const DWORD gone = GetTickCount() - begin;
    if (gone >= milliseconds) return;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, milliseconds - gone, QS_ALLINPUT);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) DispatchMessageW(&message);
  }
}

// A timer whose tick fails ticks once.
void InTimer(void (*tick)()) {
  volatile int ticks = 0;
  const auto timer = XTimer::Create();
  timer->Tick([&] {
    ticks = ticks + 1;
    tick();
  });
  timer->Interval(1);
  timer->Enabled(true);
  DispatchMessagesFor(kPatience, ticks);
  constexpr int kNever = 0;
  DispatchMessagesFor(kSeveralTicks, kNever);
  timer->Enabled(false);
}

}  // namespace

std::vector<Kind> ReportKinds() {
  return {
      {"in the procedure's own statement", kAccessViolation, Way::kRaised, Written},
      {"in an inner procedure", kAccessViolation, Way::kRaised, Outer},
      {"after an inner procedure", kAccessViolation, Way::kRaised, OuterAlone},
      {"in the procedure of a timer", kAccessViolation, Way::kSwallowed,
       [] { InTimer([] { Procedure(ReadNull); }); }},
      {"in the tick of a timer", kAccessViolation, Way::kSwallowed,
       [] {
         g_expected = {"XTimer", "RaiseTick", -1, ""};
         InTimer(ReadNull);
       }},
      {"while another error is being reported", kAccessViolation, Way::kRaised,
       [] {
         const FaultingFields faulting;
         Procedure(ReadNull);
       }},
      {"in procedures that call one another without end", EXCEPTION_STACK_OVERFLOW, Way::kCutBack,
       [] {
         g_procedure = RecursingProcedure;
         RecursingProcedure();
       }},
  };
}

}  // namespace qmzentrel::faults
