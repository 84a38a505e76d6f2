#include "tests/shell/port_openings.h"

#include <stdexcept>

namespace qmzentrel::shell {
namespace {

template <class Part>
Part* At(HMODULE library, DWORD offset) {
  return reinterpret_cast<Part*>(reinterpret_cast<char*>(library) + offset);
}

// The slots of `library` that the loader has filled with the addresses of foreign functions.
FARPROC* FindImport(HMODULE library, const FARPROC function) {
  const auto* const dos = At<IMAGE_DOS_HEADER>(library, 0);
  const auto* const header = At<IMAGE_NT_HEADERS>(library, static_cast<DWORD>(dos->e_lfanew));
  const auto& imports = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(library, imports.VirtualAddress); entry->Name != 0;
       ++entry) {
    for (auto* slot = At<FARPROC>(library, entry->FirstThunk); *slot != nullptr; ++slot) {
      if (*slot == function) return slot;
    }
  }
  throw std::runtime_error("the library does not import CreateFileW");
}

template <class Function>
void Put(Function* slot, Function function) {
  DWORD protection = 0;
  VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
  *slot = function;
  VirtualProtect(slot, sizeof *slot, protection, &protection);
}

}  // namespace

PortOpenings* PortOpenings::current_ = nullptr;

PortOpenings::PortOpenings(HMODULE library) {
  const FARPROC system = GetProcAddress(GetModuleHandleW(L"kernel32"), "CreateFileW");
  import_ = reinterpret_cast<OpenFunction*>(FindImport(library, system));
  system_ = *import_;
  current_ = this;
  Put(import_, &PortOpenings::Open);
}

PortOpenings::~PortOpenings() {
  Put(import_, system_);
  current_ = nullptr;
}

HANDLE WINAPI PortOpenings::Open(LPCWSTR name, DWORD access, DWORD share_mode,
                                 SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                 HANDLE pattern) {
  current_->seen.push_back({name, share_mode});
  if (current_->refusal_ != ERROR_SUCCESS) {
    SetLastError(current_->refusal_);
    return INVALID_HANDLE_VALUE;
  }
  return current_->system_(name, access, share_mode, security, disposition, flags, pattern);
}

}  // namespace qmzentrel::shell
