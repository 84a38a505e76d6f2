// Arrays of OLE Automation, as clients hand them over.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <span>

namespace qmzentrel::com {

/// Whether `array` has one dimension and holds elements of `type`, which are `element_size` bytes
/// each. An array made from a bare descriptor does not say what it holds; then its element size
/// speaks for the type.
bool HoldsElementsOf(VARTYPE type, ULONG element_size, SAFEARRAY* array);

/// As long as it lives the client can neither free nor resize the array, not even from within an
/// event of the command. Whether the client holds locks of its own does not matter.
class ArrayLock {
 public:
  /// Throws ComError with automation's code when it refuses, as it does after 65,535 locks.
  explicit ArrayLock(SAFEARRAY* array);
  ~ArrayLock() { SafeArrayUnlock(array_); }
  ArrayLock(const ArrayLock&) = delete;
  ArrayLock& operator=(const ArrayLock&) = delete;

  /// Those of an array of one dimension that holds them.
  template <class Element>
  std::span<Element> Elements() const {
    auto* const first = static_cast<Element*>(array_->pvData);
    return {first, first != nullptr ? array_->rgsabound[0].cElements : 0};
  }
  LONG LowerBound() const { return array_->rgsabound[0].lLbound; }

 private:
  SAFEARRAY* array_;
};

}  // namespace qmzentrel::com
