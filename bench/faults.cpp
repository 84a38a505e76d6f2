// What the error frame costs while nothing fails, and what a fault costs.
#include <windows.h>

// After it, which it needs.
#include <psapi.h>

#include <cstdio>
#include <string>

#include "bench/measure.h"
#include "platform/win32/com_pointer.h"
#include "support/error_frame.h"
#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"
#include "tests/clients/com_client.h"

namespace {

using namespace qmzentrel;
using bench::kMicroseconds;
using bench::kNanoseconds;
using bench::Measure;
using bench::Repeated;
using bench::Require;

constexpr int kRounds = 200;
constexpr unsigned kFast = 100'000;
constexpr unsigned kSlow = 200;
constexpr int kFaults = 10'000;
constexpr short kNoSuchSignature = 5;
constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);

volatile int g_sink = 0;
int* volatile g_null = nullptr;

constexpr ModuleFields kFields = NoFields("Bench");

[[gnu::noinline]] void Plain(std::int32_t Index) {
  g_sink = Index;
}

[[gnu::noinline]] void Framed(std::int32_t Index) {
  ErrorFrame frame(kFields, "Framed");
  frame.Run([&] { STEP g_sink = Index; });
}

[[gnu::noinline]] void FramedWithVariables(std::int32_t Index, std::int32_t Count) {
  std::int32_t lngStatus = 0;
  ErrorFrame frame(kFields, "FramedWithVariables", PARAMETERS(Index, Count), LOCALS(lngStatus));
  frame.Run([&] {
    STEP lngStatus = Index;
    STEP lngStatus += Count;
    STEP g_sink = lngStatus;
  });
}

// Whatever leaves `body` ends here.
template <class Body>
void Survive(Body body) {
  bool raised = false;
  try {
    body();
  } catch (const RunTimeError&) {
    raised = true;
  }
  Require(raised, "a fault that does not happen");
}

std::size_t MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
}

void MeasureFrame() {
  Measure({.title = "The error frame while nothing fails",
           .unit = kNanoseconds,
           .rounds = kRounds,
           .ways = {Repeated("without", kFast, [] { Plain(1); }),
                    Repeated("frame, one statement", kFast, [] { Framed(1); }),
                    Repeated("frame, three variables, three statements", kFast,
                             [] { FramedWithVariables(1, 2); })}});
  std::printf("Bytes of a frame: %u\n\n", static_cast<unsigned>(sizeof(ErrorFrame)));
}

void MeasureRaising() {
  modErrorReportSupport::InitErrorReporting();
  const modErrorReportSupport::ReportsWithheld not_reported;
  Measure(
      {.title = "A fault, raised and caught, without its report",
       .unit = kMicroseconds,
       .rounds = kRounds,
       .ways = {Repeated("an error", kSlow, [] { Survive([] { RaiseError(kErrorOverflow); }); }),
                Repeated("an access violation", kSlow,
                         [] { Survive([] { platform::RaisingFaults([] { *g_null = 1; }); }); })}});
}

// Whole: described, handed to the error handler, and told to the client.
void MeasureReporting() {
  const auto zentrel = clients::NewZentrel();
  const auto fail = [&] {
    LONG signature = 0;
    Require(zentrel->get_ZentrelSignature(kNoSuchSignature, &signature) == kReportedFault,
            "ZentrelSignature");
  };
  for (int i = 0; i < kFaults / 10; ++i) fail();
  const std::size_t before = MemoryInUse();
  const double start = bench::NowNanoseconds();
  for (int i = 0; i < kFaults; ++i) fail();
  const double seconds = (bench::NowNanoseconds() - start) / 1e9;
  const std::size_t after = MemoryInUse();
  std::printf("Reported faults: %d in %.2f s, %.0f a second; memory %u kB before, %u kB after\n\n",
              kFaults, seconds, kFaults / seconds, static_cast<unsigned>(before / 1024),
              static_cast<unsigned>(after / 1024));
}

}  // namespace

int main() {
  MeasureFrame();
  MeasureRaising();
  MeasureReporting();
}
