#include "com/registration.h"

#include <array>
#include <string>

#include "QmZentrel_h.h"
#include "com/error_info.h"
#include "com/module_path.h"
#include "com/type_information.h"
#include "platform/win32/com_pointer.h"

namespace qmzentrel::com {
namespace {

constexpr const wchar_t* kProgrammaticIdentifier = L"QmZentrel.Zentrel";
constexpr const wchar_t* kLibraryVersion = L"1.3";
constexpr WORD kLibraryMajorVersion = 1;
constexpr WORD kLibraryMinorVersion = 3;
constexpr LCID kLibraryLocale = 0x0409;

// The marshaller of automation, which carries dual interfaces between apartments. Registering the
// library names it for the present interfaces.
constexpr const wchar_t* kAutomationMarshaller = L"{00020424-0000-0000-C000-000000000046}";

// An earlier name of the interface. To the marshaller it is a pointer to the present one: the name
// itself is an alias without procedures of its own, so it must not be led to the type library.
struct EarlierName {
  const IID& identifier;
  const wchar_t* name;
};

const std::array<EarlierName, 3> kEarlierNames{{
    {IID_Zentrel___v0, L"Zentrel___v0"},
    {IID_Zentrel___v1, L"Zentrel___v1"},
    {IID_Zentrel___v2, L"Zentrel___v2"},
}};

std::wstring GuidText(REFGUID guid) {
  std::array<wchar_t, 39> text{};  // 38 characters and the zero
  StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

std::wstring ClassKey() {
  return L"CLSID\\" + GuidText(CLSID_Zentrel);
}

std::wstring InterfaceKey(REFIID identifier) {
  return L"Interface\\" + GuidText(identifier);
}

void Require(LSTATUS result) {
  if (result == ERROR_SUCCESS) return;
  throw ComError{HRESULT_FROM_WIN32(static_cast<DWORD>(result)),
                 result == ERROR_ACCESS_DENIED ? "Registering needs the rights of an administrator"
                                               : "The registry refuses an entry of the component"};
}

void Require(HRESULT result, const char* description) {
  if (FAILED(result)) throw ComError{result, description};
}

void WriteText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  Require(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(), bytes));
}

void WriteClass() {
  const std::wstring key = ClassKey();
  WriteText(key, nullptr, kProgrammaticIdentifier);
  WriteText(key + L"\\InprocServer32", nullptr, ModulePath());
  WriteText(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
  WriteText(key + L"\\ProgID", nullptr, kProgrammaticIdentifier);
  WriteText(key + L"\\TypeLib", nullptr, GuidText(LIBID_QmZentrel));
  WriteText(key + L"\\Version", nullptr, kLibraryVersion);
  WriteText(kProgrammaticIdentifier, nullptr, kProgrammaticIdentifier);
  WriteText(std::wstring(kProgrammaticIdentifier) + L"\\CLSID", nullptr, GuidText(CLSID_Zentrel));
}

void WriteEarlierNames() {
  for (const EarlierName& earlier : kEarlierNames) {
    const std::wstring key = InterfaceKey(earlier.identifier);
    WriteText(key, nullptr, earlier.name);
    WriteText(key + L"\\ProxyStubClsid32", nullptr, kAutomationMarshaller);
    WriteText(key + L"\\Forward", nullptr, GuidText(IID__Zentrel));
  }
}

std::wstring LibraryKey() {
  return L"TypeLib\\" + GuidText(LIBID_QmZentrel) + L"\\" + kLibraryVersion;
}

// The library is registered under its own locale; this entry is for those who ask for it in none,
// as a marshaller between apartments may.
std::wstring NeutralLibraryKey() {
  return LibraryKey() + L"\\0";
}

void RegisterUnderOwnLocale() {
  platform::ComPointer<ITypeLib> library;
  std::wstring path = ModulePath();
  Require(LoadOwnTypeLibrary(library.Receive()), "The library has lost its type library");
  Require(RegisterTypeLib(library.Get(), path.data(), nullptr),
          "The type library cannot be registered");
}

void RegisterLibrary() {
  RegisterUnderOwnLocale();
  WriteText(NeutralLibraryKey() + L"\\win32", nullptr, ModulePath());
}

bool KeyExists(const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(opened);
  return true;
}

void RemoveKey(const std::wstring& key) {
  const LSTATUS result = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  if (result != ERROR_FILE_NOT_FOUND) Require(result);
}

void UnregisterLibrary() {
  const bool registered = KeyExists(LibraryKey()) || KeyExists(InterfaceKey(IID__Zentrel)) ||
                          KeyExists(InterfaceKey(DIID___Zentrel));
  if (!registered) return;
  // The system finds what to remove by reading the library where it is registered, and that file
  // may have been moved or deleted since: this one takes its place first.
  RegisterUnderOwnLocale();
  RemoveKey(NeutralLibraryKey());
  Require(UnRegisterTypeLib(LIBID_QmZentrel, kLibraryMajorVersion, kLibraryMinorVersion,
                            kLibraryLocale, SYS_WIN32),
          "The type library cannot be unregistered");
}

}  // namespace

HRESULT RegisterComponent() noexcept {
  try {
    WriteClass();
    WriteEarlierNames();
    RegisterLibrary();
    return S_OK;
  } catch (...) {
    UnregisterComponent();
    return ReportErrorInProgress();  // after it, so that the error info tells the first error
  }
}

HRESULT UnregisterComponent() noexcept {
  HRESULT result = S_OK;
  const auto attempt = [&result](auto step) {
    try {
      step();
    } catch (...) {
      result = ReportErrorInProgress();
    }
  };
  // Each step runs whatever became of the others: what can go, goes.
  attempt(UnregisterLibrary);
  for (const EarlierName& earlier : kEarlierNames) {
    attempt([&] { RemoveKey(InterfaceKey(earlier.identifier)); });
  }
  attempt([] { RemoveKey(ClassKey()); });
  attempt([] { RemoveKey(kProgrammaticIdentifier); });
  return result;
}

}  // namespace qmzentrel::com
