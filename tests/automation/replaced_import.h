// A function of the operating system that a module imports, replaced in that module for a while.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace qmzentrel::automation {

/// The slot of `module` that the loader has filled with the address of kernel32's `name`. Throws
/// std::runtime_error when the module does not import it.
inline FARPROC* FindImport(HMODULE module, const char* name) {
  const auto at = [module](DWORD offset) { return reinterpret_cast<char*>(module) + offset; };
  const FARPROC system = GetProcAddress(GetModuleHandleW(L"kernel32"), name);
  const auto* const dos = reinterpret_cast<IMAGE_DOS_HEADER*>(at(0));
  const auto* const header =
      reinterpret_cast<IMAGE_NT_HEADERS*>(at(static_cast<DWORD>(dos->e_lfanew)));
  const auto& imports = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(at(imports.VirtualAddress));
       entry->Name != 0; ++entry) {
    for (auto* slot = reinterpret_cast<FARPROC*>(at(entry->FirstThunk)); *slot != nullptr; ++slot) {
      if (*slot == system) return slot;
    }
  }
  throw std::runtime_error(std::string("the module does not import ") + name);
}

/// `Function` is a pointer to a function, as in decltype(&CreateFileW).
template <class Function>
class ReplacedImport {
 public:
  /// `module` is loaded and stays so.
  ReplacedImport(HMODULE module, const char* name, Function replacement)
      : slot_(reinterpret_cast<Function*>(FindImport(module, name))), system_(*slot_) {
    Put(replacement);
  }
  ~ReplacedImport() { Put(system_); }
  ReplacedImport(const ReplacedImport&) = delete;
  ReplacedImport& operator=(const ReplacedImport&) = delete;

  /// What stood there before.
  Function System() const { return system_; }

 private:
  void Put(Function function) {
    DWORD protection = 0;
    VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &protection);
    *slot_ = function;
    VirtualProtect(slot_, sizeof *slot_, protection, &protection);
  }

  Function* slot_;
  Function system_;
};

}  // namespace qmzentrel::automation
