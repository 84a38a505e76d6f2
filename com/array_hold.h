// Keeping a client's array in place while the component works on it.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

namespace qmzentrel::com {

/// Whether the client holds the array in place. What the component holds itself does not count:
/// one array may stand for two parameters, and an event may use it in another call.
bool IsLockedByClient(const SAFEARRAY* array);

/// As long as it lives the client can neither free nor resize the array, not even from within an
/// event of the command.
class ArrayHold {
 public:
  /// Throws std::bad_alloc when the array cannot be held.
  explicit ArrayHold(SAFEARRAY* array);
  ~ArrayHold();
  ArrayHold(const ArrayHold&) = delete;
  ArrayHold& operator=(const ArrayHold&) = delete;

  SAFEARRAY* Array() const { return array_; }

 private:
  friend bool IsLockedByClient(const SAFEARRAY* array);

  SAFEARRAY* array_;
  ArrayHold* next_;
};

}  // namespace qmzentrel::com
