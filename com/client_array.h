// An array of 32-bit numbers that a client hands over by reference.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <cstdint>
#include <optional>

#include "com/error_info.h"
#include "com/safe_array.h"
#include "interface/long_array.h"

namespace qmzentrel::com {

/// Holds the client's array in place while a command works on it.
class ClientArray {
 public:
  /// Throws ComError: E_POINTER without an array variable, DISP_E_TYPEMISMATCH for anything but a
  /// one-dimensional array of 32-bit numbers, automation's code when it cannot be held. An array
  /// without dimensions is none.
  explicit ClientArray(SAFEARRAY** variable) {
    if (variable == nullptr) throw ComError{E_POINTER, "An array is missing"};
    SAFEARRAY* const array = *variable;
    if (array == nullptr) return;
    if (!HoldsElementsOf(VT_I4, sizeof(LONG), array)) {
      throw ComError{DISP_E_TYPEMISMATCH, "An array must hold 32-bit numbers in one dimension"};
    }
    lock_.emplace(array);
    static_assert(sizeof(LONG) == sizeof(std::int32_t));
    view_ = LongArray(lock_->Elements<std::int32_t>(), lock_->LowerBound());
  }

  /// `held` must outlive this.
  explicit ClientArray(const LongArray& held) : view_(held) {}

  const LongArray& View() const { return view_; }

 private:
  std::optional<ArrayLock> lock_;
  LongArray view_;
};

}  // namespace qmzentrel::com
