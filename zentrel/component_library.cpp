#include "zentrel/component_library.h"

#include "platform/win32/this_module.h"

namespace qmzentrel::program {
namespace {

// The longest that the file system has, with the zero behind it.
constexpr std::size_t kLongestPath = 0x8000;

HRESULT LastError() {
  return HRESULT_FROM_WIN32(GetLastError());
}

bool IsThere(const std::wstring& file) {
  return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// As COM loads it: what the library needs is looked for beside it and in the system first. It stays
// loaded until the program ends, so that nothing is called that has gone.
HRESULT Load(const std::wstring& file, HMODULE& library) {
  // A file that is no library is a sentence of ours, and no message box that a script waits for.
  DWORD mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS, &mode);
  library = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  const HRESULT result = library == nullptr ? LastError() : S_OK;
  SetThreadErrorMode(mode, nullptr);
  return FAILED(result) && !IsThere(file) ? REGDB_E_CLASSNOTREG : result;
}

}  // namespace

std::wstring LibraryBeside() {
  std::wstring path(kLongestPath, L'\0');
  path.resize(GetModuleFileNameW(platform::ThisModule(), path.data(), kLongestPath));
  path.resize(path.rfind(L'\\') + 1);
  return path + L"QmZentrel.dll";
}

HRESULT MakeByLibraryBeside(platform::ComPointer<_Zentrel>& object) {
  HMODULE library = nullptr;
  HRESULT result = Load(LibraryBeside(), library);
  if (FAILED(result)) return result;
  const auto get_class_object = reinterpret_cast<LPFNGETCLASSOBJECT>(
      reinterpret_cast<void*>(GetProcAddress(library, "DllGetClassObject")));
  if (get_class_object == nullptr) return LastError();
  platform::ComPointer<IClassFactory> factory;
  result = get_class_object(CLSID_Zentrel, IID_IClassFactory, factory.ReceiveVoid());
  if (FAILED(result)) return result;
  return factory->CreateInstance(nullptr, IID__Zentrel, object.ReceiveVoid());
}

}  // namespace qmzentrel::program
