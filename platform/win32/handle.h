// A handle of the kernel, owned.
#pragma once

#include <windows.h>

#include <utility>

namespace qmzentrel::platform {

/// Closes its handle when it goes. Holds null or INVALID_HANDLE_VALUE for none: the operating
/// system uses one or the other, depending on the call.
class OwnedHandle {
 public:
  OwnedHandle() = default;
  explicit OwnedHandle(HANDLE handle) : handle_(handle) {}
  ~OwnedHandle() {
    if (IsValid()) CloseHandle(handle_);
  }
  OwnedHandle(OwnedHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  OwnedHandle& operator=(OwnedHandle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }

  bool IsValid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace qmzentrel::platform
