// An array parameter of the dual interface.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <cstdint>
#include <optional>
#include <span>

#include "com/array_hold.h"
#include "com/error_info.h"
#include "com/safe_array.h"
#include "interface/long_array.h"

namespace qmzentrel::com {

/// Holds the client's array in place while a command works on it.
class ClientArray {
 public:
  /// E_POINTER without an array variable, DISP_E_TYPEMISMATCH for anything but a one-dimensional
  /// array of 32-bit numbers. An array without dimensions is none.
  explicit ClientArray(SAFEARRAY** variable) {
    if (variable == nullptr) throw ComError{E_POINTER, "An array is missing"};
    SAFEARRAY* const array = *variable;
    if (array == nullptr) return;
    if (!HoldsElementsOf(VT_I4, sizeof(LONG), array)) {
      throw ComError{DISP_E_TYPEMISMATCH, "An array must hold 32-bit numbers in one dimension"};
    }
    const SAFEARRAYBOUND& bound = array->rgsabound[0];
    const bool locked = IsLockedByClient(array);
    hold_.emplace(array);
    static_assert(sizeof(LONG) == sizeof(std::int32_t));
    auto* const first = static_cast<std::int32_t*>(array->pvData);
    view_ = LongArray({first, first != nullptr ? bound.cElements : 0}, bound.lLbound, locked);
  }

  const LongArray& View() const { return view_; }

 private:
  std::optional<ArrayHold> hold_;
  LongArray view_;
};

}  // namespace qmzentrel::com
