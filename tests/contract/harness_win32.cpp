// The harness over the operating system; the serial port is another file's.
#include <windows.h>

// After it, which it needs.
#include <olectl.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#include "platform/win32/bstr.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/handle.h"
#include "platform/win32/wide.h"
#include "tests/automation/read_only_key.h"
#include "tests/automation/scripted_object.h"
#include "tests/automation/system_scenes.h"
#include "tests/clients/client_exceptions.h"
#include "tests/contract/harness.h"

namespace qmzentrel::contract {
namespace {

using platform::OwnedHandle;

constexpr UINT kCallMessage = WM_APP;

using Call = std::function<void()>;

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM call) {
  if (message != kCallMessage) return DefWindowProcW(window, message, wide, call);
  (*std::unique_ptr<Call>(reinterpret_cast<Call*>(call)))();
  return 0;
}

// The window of the thread that runs the tests.
HWND CallWindow() {
  static const HWND window = [] {
    WNDCLASSW window_class{};
    window_class.lpfnWndProc = OnMessage;
    window_class.hInstance = GetModuleHandleW(nullptr);
    window_class.lpszClassName = L"QmZentrelContractTest";
    RegisterClassW(&window_class);
    return CreateWindowExW(0, window_class.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                           window_class.hInstance, nullptr);
  }();
  return window;
}

// Whoever gets the message owns the call.
void Post(HWND window, std::unique_ptr<Call> call) {
  PostMessageW(window, kCallMessage, 0, reinterpret_cast<LPARAM>(call.release()));
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): takes a number for no owner

struct LaterCall {
  HWND window;
  DWORD in_ms;
  std::unique_ptr<Call> call;
};

DWORD WINAPI PostLater(void* parameter) {
  const std::unique_ptr<LaterCall> later(static_cast<LaterCall*>(parameter));
  Sleep(later->in_ms);
  Post(later->window, std::move(later->call));
  return 0;
}

std::vector<std::wstring>& FilesToRemove() {
  static std::vector<std::wstring> files;
  return files;
}

}  // namespace

void BeginTest() {
  CallWindow();
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
    if (message.message == kCallMessage) delete reinterpret_cast<Call*>(message.lParam);
  }
}

void EndTest() {
  for (const std::wstring& file : FilesToRemove()) DeleteFileW(file.c_str());
  FilesToRemove().clear();
}

double MonotonicMs() {
  LARGE_INTEGER frequency;
  LARGE_INTEGER count;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&count);
  return static_cast<double>(count.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

void PostCall(std::function<void()> call) {
  Post(CallWindow(), std::make_unique<Call>(std::move(call)));
}

void PostCallLater(std::int32_t in_ms, std::function<void()> call) {
  auto later = std::make_unique<LaterCall>(
      LaterCall{CallWindow(), static_cast<DWORD>(in_ms), std::make_unique<Call>(std::move(call))});
  const OwnedHandle thread(CreateThread(nullptr, 0, PostLater, later.release(), 0, nullptr));
}

void PostQuit(int code) {
  PostQuitMessage(code);
}

std::optional<int> TakeQuit() {
  MSG message;
  if (PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) == FALSE) return std::nullopt;
  return static_cast<int>(message.wParam);
}

void PutRegistryValue(const std::string& path, const std::string& name, std::uint32_t type,
                      std::string_view bytes) {
  HKEY key = nullptr;
  if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key,
                      nullptr) != ERROR_SUCCESS) {
    throw std::runtime_error("cannot create " + path);
  }
  RegSetValueExA(key, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                 static_cast<DWORD>(bytes.size()));
  RegCloseKey(key);
}

void WithReadOnlyTestKey(const std::function<void()>& body) {
  const automation::ReadOnlyKey read_only(platform::Utf8ToWide(std::string(kTestKey)));
  body();
}

void RemoveTestKey() {
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, std::string(kTestKey).c_str());
}

namespace {

// A type library in memory that knows one interface, "TestList".
platform::ComPointer<ITypeInfo> TestListType() {
  const std::wstring path = platform::Utf8ToWide(FreshFilePath("test_list.tlb"));
  platform::ComPointer<ICreateTypeLib2> library;
  platform::ComPointer<ICreateTypeInfo> creation;
  platform::ComPointer<ITypeInfo> info;
  wchar_t name[] = L"TestList";
  if (FAILED(CreateTypeLib2(SYS_WIN32, path.c_str(), library.Receive())) ||
      FAILED(library->CreateTypeInfo(name, TKIND_INTERFACE, creation.Receive())) ||
      FAILED(creation->QueryInterface(IID_ITypeInfo, info.ReceiveVoid()))) {
    throw std::runtime_error("the test cannot make a type");
  }
  return info;
}

}  // namespace

void WithTestObject(bool has_type,
                    const std::function<void(platform::ClientObject object,
                                             std::vector<std::string>& noted)>& body) {
  using Use = automation::ScriptedObject::Use;
  std::vector<std::string> noted;
  const auto note = [&noted](const Use& use) {
    std::string line;
    for (VARIANT* const argument : use.arguments) {
      if (!line.empty()) line += ", ";
      VARIANT text;
      VariantInit(&text);
      if (FAILED(VariantChangeType(&text, argument, 0, VT_BSTR))) return DISP_E_TYPEMISMATCH;
      line += platform::WideToUtf8(platform::ViewOf(V_BSTR(&text)));
      VariantClear(&text);
    }
    noted.push_back(line);
    return S_OK;
  };
  automation::ScriptedObject object;
  platform::ComPointer<ITypeInfo> type;
  if (has_type) type = TestListType();
  object.type_info = type.Get();
  object.members = {{L"Note", note},
                    {L"Refuse",
                     [](const Use& use) {
                       return use.Fail(CTL_E_INVALIDPROPERTYVALUE, L"TestList", L"Not here");
                     }},
                    {L"Last",
                     [&noted, note](const Use& use) {
                       if (use.IsLet()) return note(use);
                       return use.GiveText(platform::Utf8ToWide(noted.back()));
                     }},
                    {L"Item", [note](const Use& use) {
                       if (use.IsLet()) return note(use);
                       return use.GiveShort(use.Number(0) * 10);
                     }}};
  body({static_cast<IDispatch*>(&object)}, noted);
  if (object.references != 1) throw std::runtime_error("a reference to the object is kept");
}

namespace {

// Enumerates texts.
class TextEnumerator : public IEnumVARIANT {
 public:
  explicit TextEnumerator(const std::vector<std::string>& texts) : texts_(texts) {}
  virtual ~TextEnumerator() = default;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    const bool known = riid == IID_IUnknown || riid == IID_IEnumVARIANT;
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP Next(ULONG /*count*/, VARIANT* member, ULONG* fetched) override {
    *fetched = next_ < texts_.size() ? 1 : 0;
    if (*fetched == 0) return S_FALSE;
    V_VT(member) = VT_BSTR;
    V_BSTR(member) = platform::OwnedBstr(platform::Utf8ToWide(texts_[next_++])).Detach();
    return S_OK;
  }
  STDMETHODIMP Skip(ULONG /*count*/) override { return E_NOTIMPL; }
  STDMETHODIMP Reset() override { return E_NOTIMPL; }
  STDMETHODIMP Clone(IEnumVARIANT** /*copy*/) override { return E_NOTIMPL; }

 private:
  const std::vector<std::string>& texts_;
  std::size_t next_ = 0;
};

// Says that it carries data, and carries none.
class DataObject : public automation::ScriptedObject {
 public:
  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    if (riid != IID_IDataObject) return ScriptedObject::QueryInterface(riid, object);
    *object = this;  // nobody calls a member of it
    AddRef();
    return S_OK;
  }
};

// The one class of WithTestClass, for the thread that asks.
class Factory : public IClassFactory {
 public:
  explicit Factory(automation::ScriptedObject& object) : object_(object) {}
  virtual ~Factory() = default;
  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    const bool known = riid == IID_IUnknown || riid == IID_IClassFactory;
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown* /*outer*/, REFIID riid, void** object) override {
    return object_.QueryInterface(riid, object);
  }
  STDMETHODIMP LockServer(BOOL /*lock*/) override { return S_OK; }

 private:
  automation::ScriptedObject& object_;
};

}  // namespace

void WithShownObject(const ShownObject& shown,
                     const std::function<void(platform::ClientObject object)>& body) {
  using Use = automation::ScriptedObject::Use;
  const std::vector<std::string> none;
  TextEnumerator enumerator(shown.members ? *shown.members : none);
  automation::ScriptedObject plain;
  DataObject data;
  automation::ScriptedObject& object = shown.is_data_object ? data : plain;
  if (shown.default_text) {
    object.default_member = [&shown](const Use& use) {
      return use.GiveText(platform::Utf8ToWide(*shown.default_text));
    };
  }
  if (shown.members) {
    object.enumerator = [&enumerator](const Use& use) {
      V_VT(use.result) = VT_UNKNOWN;
      V_UNKNOWN(use.result) = &enumerator;
      return S_OK;
    };
  }
  body({static_cast<IDispatch*>(&object)});
  if (object.references != 1) throw std::runtime_error("a reference to the object is kept");
}

void WithTestClass(const std::string& programmatic_identifier, const std::function<void()>& body) {
  const std::wstring key = platform::Utf8ToWide(programmatic_identifier);
  constexpr wchar_t kIdentifier[] = L"{2C7E3B58-8E0D-4E0A-8E6A-5C5E0F4D9A11}";
  CLSID identifier{};
  CLSIDFromString(kIdentifier, &identifier);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  RegSetKeyValueW(HKEY_CLASSES_ROOT, (key + L"\\CLSID").c_str(), nullptr, REG_SZ, kIdentifier,
                  sizeof kIdentifier);
  automation::ScriptedObject object;
  object.members = {{L"Note", [](const auto&) { return S_OK; }}};
  Factory factory(object);
  DWORD registration = 0;
  CoRegisterClassObject(identifier, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                        &registration);
  body();
  CoRevokeClassObject(registration);
  RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  CoUninitialize();
  if (object.references != 1) throw std::runtime_error("a reference to the object is kept");
}

namespace {

std::atomic<int> g_faults_left{0};

// The one that was installed before the component's.
LONG WINAPI LeftToOthers(EXCEPTION_POINTERS* /*exception*/) {
  ++g_faults_left;
  return EXCEPTION_CONTINUE_EXECUTION;
}

[[maybe_unused]] const auto kFilterBefore = SetUnhandledExceptionFilter(LeftToOthers);

}  // namespace

bool RaiseFault(std::uint32_t code) {
  const int left = g_faults_left;
  RaiseException(code, 0, 0, nullptr);
  return g_faults_left == left;
}

bool LeftByClientException(const std::function<void()>& body) {
  return CatchClientException(
             [](void* argument) { (*static_cast<const std::function<void()>*>(argument))(); },
             const_cast<std::function<void()>*>(&body)) != 0;
}

void RaiseClientException() {
  ::RaiseClientException(CLIENT_EXCEPTION);
  std::abort();
}

std::string FreshFilePath(const std::string& name) {
  wchar_t folder[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH + 1, folder);
  const std::wstring path = folder + (L"qmz_contract_" + std::to_wstring(GetCurrentProcessId())) +
                            L'_' + platform::Utf8ToWide(name);
  DeleteFileW(path.c_str());
  FilesToRemove().push_back(path);
  return platform::WideToUtf8(path);
}

std::string PathInMissingFolder() {
  return FreshFilePath("missing_folder") + "\\file.log";
}

std::optional<std::string> FileBytes(const std::string& path) {
  const OwnedHandle file(CreateFileW(platform::Utf8ToWide(path).c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.IsValid()) return std::nullopt;
  std::string bytes(GetFileSize(file.Get(), nullptr), '\0');
  DWORD count = 0;
  ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
  bytes.resize(count);
  return bytes;
}

std::vector<std::string> DebuggerLinesOf(const std::function<void()>& body) {
  return automation::DebuggerLinesOf(body);
}

}  // namespace qmzentrel::contract
