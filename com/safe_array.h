// Arrays of OLE Automation, as clients hand them over.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

namespace qmzentrel::com {

/// Whether `array` has one dimension and holds elements of `type`, which are `element_size` bytes
/// each. An array made from a bare descriptor does not say what it holds; then its element size
/// speaks for the type.
bool HoldsElementsOf(VARTYPE type, ULONG element_size, SAFEARRAY* array);

/// The elements of an array while it is held in place.
template <class Element>
class HeldElements {
 public:
  explicit HeldElements(SAFEARRAY* array) : array_(array) {
    void* data = nullptr;
    held_ = SUCCEEDED(SafeArrayAccessData(array, &data));
    elements_ = static_cast<Element*>(data);
  }
  ~HeldElements() {
    if (held_) SafeArrayUnaccessData(array_);  // an array without elements is held as well
  }
  HeldElements(const HeldElements&) = delete;
  HeldElements& operator=(const HeldElements&) = delete;

  /// False when it could not be held, or has no elements.
  explicit operator bool() const { return elements_ != nullptr; }
  Element& operator[](ULONG index) const { return elements_[index]; }

 private:
  SAFEARRAY* array_;
  bool held_ = false;
  Element* elements_ = nullptr;
};

}  // namespace qmzentrel::com
