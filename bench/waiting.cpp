// The processor time that the component's long waits cost, and those of a raw program that waits as
// long in the same way.
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <string>

#include "bench/box_link.h"
#include "bench/measure.h"
#include "bench/opened_device.h"
#include "bench/raw_port.h"
#include "tests/clients/com_client.h"

namespace {

using namespace qmzentrel::bench;

constexpr DWORD kVerifyDelayMs = 4000;  // of the component, unless set otherwise
constexpr DWORD kAttemptMs = 500;
constexpr DWORD kRemainderMs = 12500;
// Sendings of one exchange with an electric box that stays silent; the exchange after it is
// answered.
constexpr int kAttempts = 26;

using Reply = std::array<std::uint8_t, 19>;
constexpr std::array<std::uint8_t, 1> kReadBlock1 = {0x40};

// User and kernel time of this process, in milliseconds. It counts in ticks of the scheduler, 10 or
// 16 ms.
double ProcessorMs() {
  FILETIME created;
  FILETIME exited;
  FILETIME kernel;
  FILETIME user;
  Require(GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user) != FALSE,
          "no process times");
  const auto ticks = [](const FILETIME& time) {
    return static_cast<double>((std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime);
  };
  return (ticks(kernel) + ticks(user)) / 1e4;
}

struct Cost {
  double processor_ms;
  double elapsed_ms;
};

Cost CostOf(const std::function<void()>& wait) {
  const double processor = ProcessorMs();
  const double start = NowNanoseconds();
  wait();
  return {ProcessorMs() - processor, (NowNanoseconds() - start) / 1e6};
}

void Print(const char* name, const Cost& cost) {
  std::printf("  %-44s %8.1f s %8.1f ms %8.3f %%\n", name, cost.elapsed_ms / 1000,
              cost.processor_ms, 100 * cost.processor_ms / cost.elapsed_ms);
  std::fflush(stdout);
}

void PrintHead(const char* title) {
  std::printf("\n%s\n  %-44s %10s %11s %10s\n", title, "", "elapsed", "processor", "share");
}

// `use` gets an object with the port open that knows the kind of the box.
Cost CostThroughTheDll(const std::function<void(_Zentrel*)>& use) {
  const auto zentrel = qmzentrel::clients::NewZentrel();
  const OpenedDevice device(zentrel.Get(), BoxPort());
  MustSucceed(zentrel.Get(), &_Zentrel::DeviceInit, "DeviceInit");
  return CostOf([&] { use(zentrel.Get()); });
}

bool SendAndWait(RawPort& port, std::span<const std::uint8_t> command, Reply& reply) {
  port.Purge();
  port.Write(command);
  if (!port.Read(std::span(reply).first(1), kAttemptMs)) return false;
  Require(port.Read(std::span(reply).subspan(1), kRemainderMs) && HasRightSum(reply),
          "raw exchange");
  return true;
}

// The same with system calls only: `use` gets the open port.
Cost CostOfRaw(const std::function<void(RawPort&)>& use) {
  RawPort port(BoxPort());
  return CostOf([&] { use(port); });
}

void RawRead(RawPort& port, Reply& record) {
  Require(SendAndWait(port, kReadBlock1, record), "raw read");
}

// A write frame is the head of the reply to a read, with 0 in place of the version.
void RawWriteBack(RawPort& port, const Reply& record) {
  std::array<std::uint8_t, 12> frame{};
  std::copy_n(record.begin(), frame.size() - 1, frame.begin());
  Reply reply{};
  Require(SendAndWait(port, frame, reply), "raw write");
}

void MeasureVerifyDelay() {
  PrintHead("A read, a write, and the read that waits for the verify delay of the write");
  Print("raw program, Sleep", CostOfRaw([](RawPort& port) {
          Reply record{};
          RawRead(port, record);
          RawWriteBack(port, record);
          Sleep(kVerifyDelayMs);
          RawRead(port, record);
        }));
  Print("component: ReadXpdr, WriteXpdr, ReadXpdr", CostThroughTheDll([](_Zentrel* zentrel) {
          MustSucceed(zentrel, &_Zentrel::ReadXpdr, "ReadXpdr");
          MustSucceed(zentrel, &_Zentrel::WriteXpdr, "WriteXpdr");
          MustSucceed(zentrel, &_Zentrel::ReadXpdr, "ReadXpdr");
        }));
}

void MeasureWakeUp(BoxLink& box) {
  const std::string silence = "silence " + std::to_string(kAttempts);
  PrintHead("A sleeping electric box: 26 sendings in vain, the next one is answered");
  box.Do(silence);
  Print("raw program, overlapped reads", CostOfRaw([](RawPort& port) {
          Reply reply{};
          int attempts = 0;
          while (!SendAndWait(port, kReadBlock1, reply)) ++attempts;
          Require(attempts == kAttempts, "another number of attempts");
        }));
  Print("component: ReadXpdr", CostThroughTheDll([&](_Zentrel* zentrel) {
          box.Do(silence);
          MustSucceed(zentrel, &_Zentrel::ReadXpdr, "ReadXpdr");
        }));
}

// What not waiting in the system would cost, and the sign that the figures above are no accident of
// the counter.
void MeasurePolling() {
  PrintHead("To compare");
  Print("raw program, polling the clock", CostOf([] {
          const double end = NowNanoseconds() + 1e9;
          while (NowNanoseconds() < end) {
          }
        }));
}

}  // namespace

int main() {
  BoxLink box;
  // A transponder of this version has no block 2: one write is one delay, one read one exchange.
  box.Do("set pace 1 version 5.0");
  MeasureVerifyDelay();
  MeasureWakeUp(box);
  MeasurePolling();
}
