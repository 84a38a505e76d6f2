// An array of 32-bit numbers handed over by reference, whatever form the client's language gives
// it.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <optional>

#include "com/array_hold.h"

namespace qmzentrel::com {

/// An array of 32-bit numbers goes to the procedure as it is. An array of variants, which is all
/// that script languages have, goes there as a converted copy and is written back afterwards.
class ArrayArgument {
 public:
  ArrayArgument() = default;
  ~ArrayArgument();
  ArrayArgument(const ArrayArgument&) = delete;
  ArrayArgument& operator=(const ArrayArgument&) = delete;

  /// `given` holds the array or a reference to it. Elements are converted in the client's locale.
  /// DISP_E_TYPEMISMATCH when it holds anything but a one-dimensional array of these two kinds.
  HRESULT Bind(VARIANTARG& given, LCID lcid);

  /// What the procedure takes.
  SAFEARRAY** Get() const { return numbers_; }

  /// After the call: the elements as the procedure left them, into the client's array.
  HRESULT WriteBack();

 private:
  HRESULT ConvertElements(SAFEARRAY* array, LCID lcid);

  SAFEARRAY** numbers_ = nullptr;
  SAFEARRAY* converted_ = nullptr;
  std::optional<ArrayHold> variants_;  // the client's array that was converted
};

}  // namespace qmzentrel::com
