#include "bench/holdings.h"

#include <windows.h>

// After it, which they need.
#include <tlhelp32.h>
#include <winternl.h>

#include <cstdint>
#include <vector>

#include "bench/measure.h"
#include "tests/faults/memory_use.h"

namespace qmzentrel::bench {
namespace {

// The list of all handles of the machine, which neither header has.
constexpr auto kAllHandles = static_cast<SYSTEM_INFORMATION_CLASS>(16);
struct HandleEntry {
  ULONG process;
  BYTE type;
  BYTE flags;
  USHORT value;
  void* object;
  ULONG access;
};

long Handles() {
  std::vector<std::uint32_t> list(1U << 20U);
  const auto size = static_cast<ULONG>(list.size() * sizeof list[0]);
  Require(NtQuerySystemInformation(kAllHandles, list.data(), size, nullptr) == 0, "the handles");
  const auto* const entries = reinterpret_cast<const HandleEntry*>(list.data() + 1);
  long count = 0;
  for (std::uint32_t i = 0; i < list[0]; ++i) {
    if (entries[i].process == GetCurrentProcessId()) ++count;
  }
  return count;
}

// The table that the system shares with each process, as Wine lays it out.
struct DrawingEntry {
  std::uint64_t object;
  std::uint32_t owner;
  std::uint16_t unique;
  std::uint8_t type;
  std::uint8_t flags;
  std::uint64_t user;
};

long DrawingObjects() {
  const DWORD known = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  if (known != 0) return static_cast<long>(known);
  constexpr std::size_t kTableInProcessBlock = 0x94;
  constexpr int kEntries = 0x4000;
  PROCESS_BASIC_INFORMATION process{};
  NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof process,
                            nullptr);
  const auto* const block = reinterpret_cast<const char*>(process.PebBaseAddress);
  const auto* const table =
      *reinterpret_cast<const DrawingEntry* const*>(block + kTableInProcessBlock);
  long count = 0;
  for (int i = 0; table != nullptr && i < kEntries; ++i) {
    if (table[i].type != 0) ++count;
  }
  return count;
}

long Windows() {
  long count = 0;
  for (const HWND parent : {static_cast<HWND>(nullptr), HWND_MESSAGE}) {
    HWND window = nullptr;
    while ((window = FindWindowExW(parent, window, nullptr, nullptr)) != nullptr) {
      DWORD process = 0;
      GetWindowThreadProcessId(window, &process);
      if (process == GetCurrentProcessId()) ++count;
    }
  }
  return count;
}

long Threads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  long count = 0;
  for (BOOL found = Thread32First(snapshot, &entry); found != FALSE;
       found = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(snapshot);
  return count;
}

}  // namespace

Holdings Held(const clients::RunningTimers& timers) {
  return {.heap = static_cast<long>(HeapUse()),
          .committed = static_cast<long>(PrivateUse()),
          .handles = Handles(),
          .gdi = DrawingObjects(),
          .windows = Windows(),
          .threads = Threads(),
          .timers = timers.Count()};
}

}  // namespace qmzentrel::bench
