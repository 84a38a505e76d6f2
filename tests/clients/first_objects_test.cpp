// The first objects of a process, made by several apartments in the same instant.
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/client_process.h"
#include "tests/clients/registered_library.h"

namespace qmzentrel::clients {
namespace {

constexpr int kApartments = 4;
constexpr int kProcesses = 8;

// Where all threads wait for the last one, then go on within some nanoseconds of each other.
std::atomic<int> g_arrived{0};
std::atomic<int> g_made{0};

__attribute__((force_align_arg_pointer)) DWORD WINAPI MakeFirstObject(void* kind) {
  const auto apartment = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(kind));
  if (FAILED(CoInitializeEx(nullptr, apartment))) return 1;
  ++g_arrived;
  while (g_arrived < kApartments) SwitchToThread();
  {
    const auto object = CreatedZentrel();
    BSTR text = nullptr;
    LONG number = 0;
    if (object && object->Status(S_TIMEOUT, &text) == S_OK && Taken(text) == L"Timeout" &&
        FAILED(object->get_ZentrelSignature(5, &number))) {
      ++g_made;
    }
  }
  CoUninitialize();
  return 0;
}

int PlayFirstObjects(const std::vector<std::string>& arguments) {
  const DWORD kind =
      arguments.front() == "multithreaded" ? COINIT_MULTITHREADED : COINIT_APARTMENTTHREADED;
  HANDLE threads[kApartments];
  for (HANDLE& thread : threads) {
    thread = CreateThread(nullptr, 0, MakeFirstObject,
                          reinterpret_cast<void*>(static_cast<std::uintptr_t>(kind)), 0, nullptr);
  }
  WaitForMultipleObjects(kApartments, threads, TRUE, INFINITE);
  return g_made;
}
const ClientPart kFirstObjects("first-objects", PlayFirstObjects);

class FirstObjects : public WithRegisteredLibrary {
 protected:
  static void ExpectAll(const char* kind) {
    std::vector<std::unique_ptr<ClientProcess>> processes;
    for (int i = 0; i < kProcesses; ++i) {
      processes.push_back(
          std::make_unique<ClientProcess>("first-objects", std::vector<std::string>{kind}));
    }
    for (const auto& process : processes) {
      EXPECT_EQ(process->ExitCode(), static_cast<DWORD>(kApartments));
    }
  }
};

TEST_F(FirstObjects, OfSingleThreadedApartmentsAreMadeInTheSameInstant) {
  ExpectAll("single-threaded");
}

TEST_F(FirstObjects, OfTheMultithreadedApartmentAreMadeInTheSameInstant) {
  ExpectAll("multithreaded");
}

}  // namespace
}  // namespace qmzentrel::clients
