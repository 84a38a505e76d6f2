// A client whose own exceptions come from the shared C++ runtime: the library, which carries a
// runtime of its own, must find its handlers all the same. Loads and unloads the library a hundred
// times, then provokes a hundred errors in it; throws and catches itself in between. Ends with 0
// when every error arrived.
//
// Built without anything of the project but the interface, as a client would be.
#include <windows.h>

// After it, which it needs.
#include <ole2.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

// Defines the identifiers that the header declares.
#include <initguid.h>

#include "QmZentrel_h.h"

namespace {

constexpr int kRounds = 100;
constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);

void Require(bool condition, const char* what, int round) {
  if (condition) return;
  std::printf("round %d: %s\n", round, what);
  std::exit(1);
}

// The host's own exceptions still work beside the library's.
bool ThrowAndCatch() {
  try {
    throw std::runtime_error("host");
  } catch (const std::runtime_error&) {
    return true;
  }
}

// For a library without objects: it is free to go.
HMODULE Load(const std::string& path, int round) {
  const HMODULE library = LoadLibraryA(path.c_str());
  Require(library != nullptr, "cannot load", round);
  using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();
  const auto can_unload_now = reinterpret_cast<CanUnloadNow>(
      reinterpret_cast<void*>(GetProcAddress(library, "DllCanUnloadNow")));
  Require(can_unload_now != nullptr && can_unload_now() == S_OK, "in use", round);
  return library;
}

bool IsLoaded() {
  return GetModuleHandleA("QmZentrel.dll") != nullptr;
}

void ProvokeError(HMODULE library, int round) {
  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
  const auto get_class_object = reinterpret_cast<GetClassObject>(
      reinterpret_cast<void*>(GetProcAddress(library, "DllGetClassObject")));
  Require(get_class_object != nullptr, "no DllGetClassObject", round);
  IClassFactory* factory = nullptr;
  Require(SUCCEEDED(get_class_object(CLSID_Zentrel, IID_IClassFactory,
                                     reinterpret_cast<void**>(&factory))),
          "no class object", round);
  _Zentrel* zentrel = nullptr;
  Require(
      SUCCEEDED(factory->CreateInstance(nullptr, IID__Zentrel, reinterpret_cast<void**>(&zentrel))),
      "no object", round);
  factory->Release();
  LONG signature = 0;
  Require(zentrel->get_ZentrelSignature(5, &signature) == kReportedFault, "no error", round);
  Require(zentrel->get_Util(reinterpret_cast<LONG*>(0x10)) == kReportedFault, "no fault", round);
  Require(ThrowAndCatch(), "the host lost its own exception", round);
  Require(zentrel->Release() == 0, "the object stays", round);
}

}  // namespace

int main() {
  if (GetModuleHandleA("libgcc_s_dw2-1.dll") == nullptr) {
    std::puts("this host is meant to use the shared runtime");
    return 1;
  }
  const char* variable = std::getenv("QMZ_DLL");
  if (variable == nullptr || FAILED(CoInitialize(nullptr))) return 1;
  // The build machine's path, as Windows programs see it under Wine.
  const std::string path = (*variable == '/' ? "Z:" : "") + std::string(variable);
  for (int round = 1; round <= kRounds; ++round) {
    const HMODULE library = Load(path, round);
    Require(FreeLibrary(library), "cannot unload", round);
    Require(!IsLoaded(), "still loaded", round);
    Require(ThrowAndCatch(), "the host lost its own exception", round);
  }
  for (int round = 1; round <= kRounds; ++round) {
    const HMODULE library = Load(path, round);
    ProvokeError(library, round);
    Require(FreeLibrary(library), "cannot unload", round);
    // With its first object it has put a filter for exceptions into the process.
    Require(IsLoaded(), "gone with its filter", round);
    Require(ThrowAndCatch(), "the host lost its own exception", round);
  }
  CoUninitialize();
  std::printf("%d rounds\n", kRounds);
  return 0;
}
