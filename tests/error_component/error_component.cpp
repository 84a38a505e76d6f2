// The external error handler, played for tests: the class "QuenmoorCommunications.Error". It keeps
// what it is told for the test to ask: Count, Argument(report, place), Forget. With the environment
// variable QMZ_NO_ERROR_HANDLER it cannot be created, as where it is not installed; with
// QMZ_FAULTY_ERROR_HANDLER it has an exception of its own.
#include <windows.h>

// After it, which it needs.
#include <olectl.h>

#include <deque>
#include <string>
#include <vector>

#include "platform/win32/this_module.h"
#include "tests/automation/scripted_object.h"

namespace {

using qmzentrel::automation::ScriptedObject;
using Use = ScriptedObject::Use;

constexpr CLSID kClass = {
    0x7D0A3C52, 0x61E4, 0x4B0F, {0x9A, 0x35, 0x2F, 0xC8, 0x11, 0x5E, 0x70, 0xD4}};
constexpr wchar_t kClassText[] = L"{7D0A3C52-61E4-4B0F-9A35-2FC8115E70D4}";
constexpr wchar_t kProgrammaticIdentifier[] = L"QuenmoorCommunications.Error";

// A test of many thousand faults looks at the last ones.
constexpr std::size_t kMostKept = 100;
constexpr std::size_t kArguments = 10;

CRITICAL_SECTION g_section;  // faults come from every apartment

class Lock {
 public:
  Lock() { EnterCriticalSection(&g_section); }
  ~Lock() { LeaveCriticalSection(&g_section); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

using Report = std::vector<std::wstring>;
std::deque<Report> g_reports;
LONG g_forgotten = 0;  // of the count, no longer kept

std::wstring TextOf(VARIANT* value) {
  VARIANT text;
  VariantInit(&text);
  if (FAILED(VariantChangeType(&text, value, 0, VT_BSTR))) return L"?";
  std::wstring copy(V_BSTR(&text), SysStringLen(V_BSTR(&text)));
  VariantClear(&text);
  return copy;
}

HRESULT GiveLong(const Use& use, LONG number) {
  V_VT(use.result) = VT_I4;
  V_I4(use.result) = number;
  return S_OK;
}

bool IsSet(const wchar_t* variable) {
  return GetEnvironmentVariableW(variable, nullptr, 0) != 0;
}

HRESULT TakeReport(const Use& use) {
  if (IsSet(L"QMZ_FAULTY_ERROR_HANDLER")) RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
  if (use.arguments.size() != kArguments) return DISP_E_BADPARAMCOUNT;
  Report report;
  for (VARIANT* argument : use.arguments) report.push_back(TextOf(argument));
  const Lock lock;
  g_reports.push_back(std::move(report));
  if (g_reports.size() > kMostKept) {
    g_reports.pop_front();
    ++g_forgotten;
  }
  return S_OK;
}

// The reports count from 0, the arguments of each in their order from 0.
HRESULT GiveArgument(const Use& use) {
  if (use.arguments.size() != 2) return DISP_E_BADPARAMCOUNT;
  const Lock lock;
  const auto report = static_cast<std::size_t>(use.Number(0) - g_forgotten);
  const auto place = static_cast<std::size_t>(use.Number(1));
  if (report >= g_reports.size() || place >= kArguments) return DISP_E_BADINDEX;
  return use.GiveText(g_reports[report][place]);
}

ScriptedObject& Handler() {
  static ScriptedObject handler;
  if (handler.members.empty()) {
    handler.members = {
        {L"ErrorHandler", TakeReport},
        {L"Action", [](const Use& use) { return use.GiveText(L"Continue"); }},
        {L"Count",
         [](const Use& use) {
           const Lock lock;
           return GiveLong(use, g_forgotten + static_cast<LONG>(g_reports.size()));
         }},
        {L"Argument", GiveArgument},
        {L"Forget",
         [](const Use&) {
           const Lock lock;
           g_reports.clear();
           g_forgotten = 0;
           return S_OK;
         }},
    };
  }
  return handler;
}

class Factory : public IClassFactory {
 public:
  virtual ~Factory() = default;
  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory);
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    const Lock lock;
    return Handler().QueryInterface(riid, object);
  }
  STDMETHODIMP LockServer(BOOL /*lock*/) override { return S_OK; }
};

bool SetKey(const std::wstring& path, const wchar_t* name, const std::wstring& text) {
  const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetKeyValueW(HKEY_CLASSES_ROOT, path.c_str(), name, REG_SZ, text.c_str(), size) ==
         ERROR_SUCCESS;
}

std::wstring OwnPath() {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(qmzentrel::platform::ThisModule(), path, MAX_PATH);
  return {path, length};
}

std::wstring ClassKey() {
  return std::wstring(L"CLSID\\") + kClassText;
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) InitializeCriticalSection(&g_section);
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
  static Factory factory;
  *object = nullptr;
  const bool missing = IsSet(L"QMZ_NO_ERROR_HANDLER");
  if (missing || !IsEqualCLSID(clsid, kClass)) return CLASS_E_CLASSNOTAVAILABLE;
  return factory.QueryInterface(riid, object);
}

STDAPI DllCanUnloadNow() {
  return S_FALSE;  // what it keeps is asked for later
}

STDAPI DllRegisterServer() {
  const std::wstring server = ClassKey() + L"\\InprocServer32";
  const bool registered =
      SetKey(std::wstring(kProgrammaticIdentifier) + L"\\CLSID", nullptr, kClassText) &&
      SetKey(server, nullptr, OwnPath()) && SetKey(server, L"ThreadingModel", L"Both");
  return registered ? S_OK : SELFREG_E_CLASS;
}

STDAPI DllUnregisterServer() {
  for (const std::wstring& key : {std::wstring(kProgrammaticIdentifier), ClassKey()}) {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  }
  return S_OK;
}
