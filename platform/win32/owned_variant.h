// A variant of automation, owned.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

namespace qmzentrel::platform {

/// Empty at first; cleared with its owner.
class OwnedVariant {
 public:
  OwnedVariant() = default;
  ~OwnedVariant() { VariantClear(&value_); }
  OwnedVariant(OwnedVariant&& other) noexcept : value_(other.value_) { VariantInit(&other.value_); }
  OwnedVariant& operator=(OwnedVariant&&) = delete;

  VARIANT* Get() { return &value_; }

 private:
  VARIANT value_{};
};

}  // namespace qmzentrel::platform
