// A client whose own exceptions come from the shared C++ runtime: the library, which carries a
// runtime of its own, must find its handlers all the same. Loads and unloads the library a hundred
// times, then provokes a hundred errors in it; throws and catches itself in between, also from an
// event of the library past it. Ends with 0 when every error arrived.
//
// Built without anything of the project but the interface, as a client would be.
#include <windows.h>

// After it, which it needs.
#include <olectl.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
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

_Zentrel* NewObject(HMODULE library, int round) {
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
  return zentrel;
}

void ProvokeError(HMODULE library, int round) {
  _Zentrel* const zentrel = NewObject(library, round);
  LONG signature = 0;
  Require(zentrel->get_ZentrelSignature(5, &signature) == kReportedFault, "no error", round);
  Require(zentrel->get_Util(reinterpret_cast<LONG*>(0x10)) == kReportedFault, "no fault", round);
  Require(ThrowAndCatch(), "the host lost its own exception", round);
  Require(zentrel->Release() == 0, "the object stays", round);
}

// --- Exceptions of the host that leave the library's event ---

int g_exceptions = 0;

struct CountedException : std::exception {
  CountedException() { ++g_exceptions; }
  CountedException(const CountedException& other) : std::exception(other) { ++g_exceptions; }
  ~CountedException() override { --g_exceptions; }
};

class Sink final : public IDispatch {
 public:
  std::function<void()> on_event;
  int events = 0;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    const bool answers = riid == IID_IUnknown || riid == IID_IDispatch || riid == DIID___Zentrel;
    *object = answers ? static_cast<IDispatch*>(this) : nullptr;
    return answers ? S_OK : E_NOINTERFACE;
  }
  // It lives on the stack.
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    ++events;
    const auto action = on_event;  // which may set another one
    action();
    return S_OK;
  }
};

// An object that the library asks for its members as if it were a combo box.
class Box final : public IDispatch {
 public:
  enum Member { kQueryInterface, kGetTypeInfo, kGetIDsOfNames, kInvoke, kMembers };

  explicit Box(Member throwing) : throwing_(throwing) {}

  ULONG references = 1;

  STDMETHODIMP QueryInterface(REFIID, void** object) override {
    *object = nullptr;
    return Answer(kQueryInterface, E_NOINTERFACE);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override {
    return Answer(kGetTypeInfo, E_NOTIMPL);
  }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids = 1;
    const bool of_list = std::wstring(names[0]) == L"Selected";
    return Answer(kGetIDsOfNames, of_list ? DISP_E_UNKNOWNNAME : S_OK);
  }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    return Answer(kInvoke, S_OK);
  }

 private:
  HRESULT Answer(Member member, HRESULT answer) const {
    if (member == throwing_) throw CountedException();
    return answer;
  }

  Member throwing_;
};

IConnectionPoint* PointOf(_Zentrel* zentrel) {
  IConnectionPointContainer* container = nullptr;
  IConnectionPoint* point = nullptr;
  zentrel->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container));
  container->FindConnectionPoint(DIID___Zentrel, &point);
  container->Release();
  return point;
}

void RaiseEvent(_Zentrel* zentrel) {
  zentrel->put_Power(VARIANT_TRUE);
}

// As a script does, which gets there through more of the library.
void RaiseEventLate(_Zentrel* zentrel) {
  VARIANT on;
  VariantInit(&on);
  V_VT(&on) = VT_I4;  // to be converted
  V_I4(&on) = 1;
  DISPID named = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&on, &named, 1, 1};
  constexpr DISPID kPower = 0x68030006;
  zentrel->Invoke(kPower, IID_NULL, 0, DISPATCH_PROPERTYPUT, &parameters, nullptr, nullptr,
                  nullptr);
}

bool IsCaughtOutside(const std::function<void()>& call, int exceptions = 1) {
  try {
    call();
    return false;
  } catch (const CountedException&) {
    return g_exceptions == exceptions && std::uncaught_exceptions() == 0;
  }
}

// The exception of the event goes past the library while the host handles one outside already.
void ThrowWithinHandler(_Zentrel* zentrel, Sink& sink, int round) {
  std::exception_ptr outer;
  const std::function<void()> ways[] = {[] { throw CountedException(); }, [] { throw; },
                                        [&] { std::rethrow_exception(outer); }};
  const int exceptions[] = {2, 1, 1};
  for (int way = 0; way < 3; ++way) {
    sink.on_event = ways[way];
    bool arrived = false;
    try {
      // One more, which the list of the outer handler's exceptions leads on to.
      throw std::runtime_error("outermost");
    } catch (...) {
      const std::exception_ptr outermost = std::current_exception();
      try {
        try {
          throw CountedException();
        } catch (...) {
          outer = std::current_exception();
          Require(IsCaughtOutside([&] { RaiseEvent(zentrel); }, exceptions[way]),
                  "an exception stays in the library within a handler", round);
          Require(std::current_exception() == outer, "the handler has lost its exception", round);
          outer = nullptr;
          throw;
        }
      } catch (const CountedException&) {
        arrived = g_exceptions == 1;
      }
      Require(std::current_exception() == outermost, "the outermost handler has lost its exception",
              round);
    }
    Require(arrived, "the handler cannot raise its exception again", round);
    Require(std::current_exception() == nullptr, "a handler is never over", round);
    Require(g_exceptions == 0, "an exception handled outside is never destroyed", round);
    Require(std::uncaught_exceptions() == 0, "exceptions within a handler are not counted", round);
  }
}

// The library can ask only a runtime that is a library to handle an exception.
bool IsRuntimeShared() {
  return GetModuleHandleA("libstdc++-6.dll") != nullptr;
}

// What the first exception makes the library do raises the event once more, which throws, too.
void OvertakeException(HMODULE library) {
  _Zentrel* const zentrel = NewObject(library, 0);
  Sink sink;
  IConnectionPoint* const point = PointOf(zentrel);
  DWORD cookie = 0;
  point->Advise(&sink, &cookie);
  // The first event tells of the supply that is switched on for good.
  sink.on_event = [&sink] {
    if (sink.events > 1) throw CountedException();
  };
  constexpr LONG kNoPort = 250;
  ZentrelStatus status{};
  int exceptions = 0;
  int uncaught = 0;
  try {
    zentrel->DeviceOpen(kNoPort, VARIANT_TRUE, &status);
  } catch (const CountedException&) {
    exceptions = g_exceptions;
    uncaught = std::uncaught_exceptions();
  }
  Require(sink.events == 3, "nothing has overtaken the exception", 0);
  Require(exceptions == 1, "an exception that has been overtaken is never destroyed", 0);
  Require(g_exceptions == 0, "what has overtaken an exception is never destroyed", 0);
  // Nothing leads to the count of a runtime that is linked in.
  Require(uncaught == (IsRuntimeShared() ? 0 : 1), "the overtaken exception stays counted", 0);
  point->Unadvise(cookie);
  point->Release();
  Require(zentrel->Release() == 0, "the object stays after an overtaken exception", 0);
}

constexpr int kEndedByHost = 57;

// Does not return: nobody handles the exception.
void ThrowUnhandled(HMODULE library) {
  _Zentrel* const zentrel = NewObject(library, 0);
  Sink sink;
  DWORD cookie = 0;
  PointOf(zentrel)->Advise(&sink, &cookie);
  sink.on_event = [] { throw CountedException(); };
  std::set_terminate([] {
    ExitProcess(std::current_exception() != nullptr || !IsRuntimeShared() ? kEndedByHost : 2);
  });
  RaiseEvent(zentrel);
}

bool EndsAsTheHostHasSet() {
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  std::string command = "\"" + std::string(program) + "\" unhandled";
  STARTUPINFOA start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                      &process)) {
    return false;
  }
  WaitForSingleObject(process.hProcess, 60'000);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  TerminateProcess(process.hProcess, 1);
  return code == kEndedByHost;
}

void ThrowPastTheLibrary(HMODULE library, int round) {
  _Zentrel* const zentrel = NewObject(library, round);
  Sink sink;
  IConnectionPoint* const point = PointOf(zentrel);
  DWORD cookie = 0;
  Require(SUCCEEDED(point->Advise(&sink, &cookie)), "no events", round);
  const std::function<void()> ways[] = {[] { throw CountedException(); },
                                        [] {
                                          try {
                                            throw CountedException();
                                          } catch (...) {
                                            throw;
                                          }
                                        },
                                        [] {
                                          std::exception_ptr caught;
                                          try {
                                            throw CountedException();
                                          } catch (...) {
                                            caught = std::current_exception();
                                          }
                                          std::rethrow_exception(caught);
                                        },
                                        // From the event within the event.
                                        [&] {
                                          sink.on_event = [] { throw CountedException(); };
                                          RaiseEventLate(zentrel);
                                        }};
  for (auto* const raise : {RaiseEvent, RaiseEventLate}) {
    for (const auto& way : ways) {
      sink.on_event = way;
      Require(IsCaughtOutside([&] { raise(zentrel); }), "the host's exception stays in the library",
              round);
      Require(g_exceptions == 0, "the host's exception is never destroyed", round);
      Require(std::current_exception() == nullptr, "the host's exception is never over", round);
      Require(std::uncaught_exceptions() == 0, "the host's exceptions are not counted", round);
    }
  }
  ThrowWithinHandler(zentrel, sink, round);
  Box no_sink(Box::kQueryInterface);
  DWORD none = 0;
  Require(IsCaughtOutside([&] { point->Advise(&no_sink, &none); }),
          "the exception of what should be a sink stays in the library", round);
  for (int member = 0; member < Box::kMembers; ++member) {
    Box box(static_cast<Box::Member>(member));
    IDispatch* object = &box;
    VARIANT_BOOL filled = VARIANT_FALSE;
    const auto fill = [&] { zentrel->TELIC2EnumMessages(&object, -1, &filled); };
    Require(IsCaughtOutside(fill), "the exception of a combo box stays in the library", round);
    Require(g_exceptions == 0 && box.references == 1, "a combo box is kept", round);
  }
  LONG signature = 0;
  Require(zentrel->get_ZentrelSignature(5, &signature) == kReportedFault, "no error", round);
  sink.on_event = [] {};
  const int events = sink.events;
  RaiseEvent(zentrel);
  Require(sink.events == events + 1, "no event after the exceptions", round);
  point->Unadvise(cookie);
  point->Release();
  Require(zentrel->Release() == 0, "the object stays after the exceptions", round);
}

}  // namespace

// For a host that has loaded the library before it brings the runtime.
extern "C" __declspec(dllexport) HRESULT STDAPICALLTYPE ThrowFromPlugin(IUnknown* first) {
  const HMODULE library = GetModuleHandleA("QmZentrel.dll");
  if (library == nullptr) return E_FAIL;
  // That of the host goes on working.
  if (first != nullptr) {
    auto* const zentrel = static_cast<_Zentrel*>(first);
    Sink sink;
    IConnectionPoint* const point = PointOf(zentrel);
    DWORD cookie = 0;
    point->Advise(&sink, &cookie);
    sink.on_event = [] { throw CountedException(); };
    Require(IsCaughtOutside([&] { RaiseEvent(zentrel); }), "no exception from an earlier object",
            0);
    point->Unadvise(cookie);
    point->Release();
  }
  ThrowPastTheLibrary(library, 0);
  return S_OK;
}

int main(int argument_count, char** arguments) {
  if (GetModuleHandleA("libgcc_s_dw2-1.dll") == nullptr) {
    std::puts("this host is meant to use the shared runtime");
    return 1;
  }
  const char* variable = std::getenv("QMZ_DLL");
  if (variable == nullptr || FAILED(CoInitialize(nullptr))) return 1;
  // The build machine's path, as Windows programs see it under Wine.
  const std::string path = (*variable == '/' ? "Z:" : "") + std::string(variable);
  if (argument_count > 1 && std::string(arguments[1]) == "unhandled") {
    ThrowUnhandled(Load(path, 0));
    return 1;
  }
  Require(EndsAsTheHostHasSet(), "the host's own end of the process is not asked", 0);
  for (int round = 1; round <= kRounds; ++round) {
    const HMODULE library = Load(path, round);
    Require(FreeLibrary(library), "cannot unload", round);
    Require(!IsLoaded(), "still loaded", round);
    Require(ThrowAndCatch(), "the host lost its own exception", round);
  }
  for (int round = 1; round <= kRounds; ++round) {
    const HMODULE library = Load(path, round);
    if (round == 1) ThrowPastTheLibrary(library, round);  // before any error of its own
    ProvokeError(library, round);
    ThrowPastTheLibrary(library, round);
    Require(FreeLibrary(library), "cannot unload", round);
    // With its first object it has put a filter for exceptions into the process.
    Require(IsLoaded(), "gone with its filter", round);
    Require(ThrowAndCatch(), "the host lost its own exception", round);
  }
  OvertakeException(GetModuleHandleA("QmZentrel.dll"));
  CoUninitialize();
  std::printf("%d rounds\n", kRounds);
  return 0;
}
