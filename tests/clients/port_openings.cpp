#include "tests/clients/port_openings.h"

namespace qmzentrel::clients {

PortOpenings* PortOpenings::current_ = nullptr;

PortOpenings::PortOpenings(HMODULE library)
    : import_(library, L"kernel32", "CreateFileW", &PortOpenings::Open) {
  current_ = this;
}

PortOpenings::~PortOpenings() {
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
  return current_->import_.System()(name, access, share_mode, security, disposition, flags,
                                    pattern);
}

}  // namespace qmzentrel::clients
