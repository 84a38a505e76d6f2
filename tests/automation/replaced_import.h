// Functions of the system as a loaded library calls them, with something else in their place.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace qmzentrel::automation {

namespace internal {

template <class Part>
Part* At(HMODULE library, DWORD offset) {
  return reinterpret_cast<Part*>(reinterpret_cast<char*>(library) + offset);
}

// The slot of `library` that the loader has filled with the address of `function`.
inline FARPROC* FindImport(HMODULE library, FARPROC function) {
  const auto* const dos = At<IMAGE_DOS_HEADER>(library, 0);
  const auto* const header = At<IMAGE_NT_HEADERS>(library, static_cast<DWORD>(dos->e_lfanew));
  const auto& imports = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(library, imports.VirtualAddress); entry->Name != 0;
       ++entry) {
    for (auto* slot = At<FARPROC>(library, entry->FirstThunk); *slot != nullptr; ++slot) {
      if (*slot == function) return slot;
    }
  }
  return nullptr;
}

}  // namespace internal

/// While it lives, `library` calls another function in the place of one that it imports.
template <class Function>
class ReplacedImport {
 public:
  /// `library` is loaded and stays so, and imports `name` from the library `system`; else throws.
  ReplacedImport(HMODULE library, const wchar_t* system, const char* name, Function replacement) {
    const FARPROC function = GetProcAddress(GetModuleHandleW(system), name);
    import_ = reinterpret_cast<Function*>(internal::FindImport(library, function));
    if (import_ == nullptr) {
      throw std::runtime_error("the library does not import " + std::string(name));
    }
    system_ = *import_;
    Put(replacement);
  }
  ~ReplacedImport() { Put(system_); }
  ReplacedImport(const ReplacedImport&) = delete;
  ReplacedImport& operator=(const ReplacedImport&) = delete;

  /// The system's own.
  Function System() const { return system_; }

 private:
  void Put(Function function) {
    DWORD protection = 0;
    VirtualProtect(import_, sizeof *import_, PAGE_READWRITE, &protection);
    *import_ = function;
    VirtualProtect(import_, sizeof *import_, protection, &protection);
  }

  Function* import_;  // the slot through which the library calls
  Function system_;
};

}  // namespace qmzentrel::automation
