// The first objects of a process, made by several apartments in the same instant.
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "tests/clients/box_client.h"
#include "tests/clients/client_process.h"
#include "tests/clients/error_reports.h"
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

// All indices of the process that are free but for some, as long as it lives.
class TakenThreadIndices {
 public:
  explicit TakenThreadIndices(std::size_t left_free) {
    for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc()) {
      indices_.push_back(index);
    }
    for (std::size_t i = 0; i < left_free; ++i) FreeOne();
  }
  ~TakenThreadIndices() {
    while (!indices_.empty()) FreeOne();
  }
  TakenThreadIndices(const TakenThreadIndices&) = delete;
  TakenThreadIndices& operator=(const TakenThreadIndices&) = delete;

 private:
  void FreeOne() {
    TlsFree(indices_.back());
    indices_.pop_back();
  }

  std::vector<DWORD> indices_;
};

enum Outcome : int { kNoneMade = 20, kMadeAndWorks, kSomethingElse };

DWORD WINAPI EndAtOnce(void* /*unused*/) {
  return 0;
}

// The library is told, and looks for what it keeps for that thread.
void EndAThread() {
  const HANDLE thread = CreateThread(nullptr, 0, EndAtOnce, nullptr, 0, nullptr);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

/// Whether a fault has its description, and a count-down its timer.
bool KeepsWhatItNeeds(_Zentrel& object) {
  LONG number = 0;
  ComPointer<IErrorInfo> info;
  return FAILED(object.get_ZentrelSignature(5, &number)) &&
         GetErrorInfo(0, info.Receive()) == S_OK && object.put_Power(VARIANT_TRUE) == S_OK &&
         object.put_Power(VARIANT_FALSE) == S_OK;
}

Outcome OutcomeOfCreation(IClassFactory& factory) {
  ComPointer<_Zentrel> object;
  const HRESULT result = factory.CreateInstance(nullptr, IID__Zentrel, object.ReceiveVoid());
  if (result == E_OUTOFMEMORY) return kNoneMade;
  return result == S_OK && KeepsWhatItNeeds(*object.Get()) ? kMadeAndWorks : kSomethingElse;
}

// With so many free as the argument says, then with all.
int PlayThreadIndices(const std::vector<std::string>& arguments) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  int outcome = kSomethingElse;
  {
    ComPointer<IClassFactory> factory;
    CoGetClassObject(CLSID_Zentrel, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                     factory.ReceiveVoid());
    try {
      throw 0;  // this program's own run-time library must not be what is short of one
    } catch (int) {
    }
    // Nor the handler of errors, with what of the system it needs.
    ErrorReports reports;
    reports.Count();
    {
      const TakenThreadIndices taken(std::stoul(arguments.front()));
      EndAThread();
      outcome = OutcomeOfCreation(*factory.Get());
    }
    if (OutcomeOfCreation(*factory.Get()) != kMadeAndWorks) outcome = kSomethingElse;
  }
  CoUninitialize();
  return outcome;
}
const ClientPart kThreadIndices("thread-indices", PlayThreadIndices);

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

// Where other libraries hold them all. It is no reason to end the host.
TEST_F(FirstObjects, AreMadeOrRefusedWhereFewIndicesOfThreadsAreFreeAndMadeOnceTheyAre) {
  for (const int free : {0, 1, 2, 3, 4, 5, 6, 7, 10}) {
    ClientProcess process("thread-indices", {std::to_string(free)});
    EXPECT_EQ(process.ExitCode(), static_cast<DWORD>(free < 5 ? kNoneMade : kMadeAndWorks)) << free;
  }
}

TEST_F(FirstObjects, OfTheMultithreadedApartmentAreMadeInTheSameInstant) {
  ExpectAll("multithreaded");
}

}  // namespace
}  // namespace qmzentrel::clients
