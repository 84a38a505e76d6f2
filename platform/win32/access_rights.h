// Who may use an object of the operating system that is made.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <sddl.h>

namespace qmzentrel::platform {

/// The rights that a text of the security descriptor definition language gives, for a call that
/// makes something with them. Where the system does not take the text, what is made has the rights
/// that it would have without.
class AccessRights {
 public:
  explicit AccessRights(const wchar_t* description) {
    ConvertStringSecurityDescriptorToSecurityDescriptorW(
        description, SDDL_REVISION_1, &attributes_.lpSecurityDescriptor, nullptr);
  }
  ~AccessRights() { LocalFree(attributes_.lpSecurityDescriptor); }
  AccessRights(const AccessRights&) = delete;
  AccessRights& operator=(const AccessRights&) = delete;

  SECURITY_ATTRIBUTES* Get() { return &attributes_; }

 private:
  SECURITY_ATTRIBUTES attributes_{sizeof attributes_, nullptr, FALSE};
};

}  // namespace qmzentrel::platform
