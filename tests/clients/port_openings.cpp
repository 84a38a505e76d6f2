#include "tests/clients/port_openings.h"

namespace qmzentrel::clients {

PortOpenings* PortOpenings::the_only = nullptr;

PortOpenings::PortOpenings(HMODULE library)
    : import_(library, L"kernel32", "CreateFileW", &PortOpenings::Open) {
  the_only = this;
}

PortOpenings::~PortOpenings() {
  the_only = nullptr;
}

HANDLE WINAPI PortOpenings::Open(LPCWSTR name, DWORD access, DWORD share_mode,
                                 SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                 HANDLE pattern) {
  the_only->seen.push_back({name, share_mode});
  if (the_only->refusal_ != ERROR_SUCCESS) {
    SetLastError(the_only->refusal_);
    return INVALID_HANDLE_VALUE;
  }
  return the_only->import_.System()(name, access, share_mode, security, disposition, flags,
                                    pattern);
}

}  // namespace qmzentrel::clients
