// What an automation object says of a call that has failed, owned.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <utility>

namespace qmzentrel::platform {

/// Frees the texts with their owner.
class OwnedFailure {
 public:
  OwnedFailure() = default;
  ~OwnedFailure() {
    SysFreeString(info_.bstrSource);
    SysFreeString(info_.bstrDescription);
    SysFreeString(info_.bstrHelpFile);
  }
  OwnedFailure(const OwnedFailure&) = delete;
  OwnedFailure& operator=(const OwnedFailure&) = delete;

  EXCEPINFO* Get() { return &info_; }

  /// Gives the texts away.
  EXCEPINFO Detach() { return std::exchange(info_, {}); }

 private:
  EXCEPINFO info_{};
};

}  // namespace qmzentrel::platform
