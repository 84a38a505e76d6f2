// The string type of OLE Automation, owned.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <new>
#include <string_view>
#include <utility>

namespace qmzentrel::platform {

/// The characters of a BSTR, which may be null.
inline std::wstring_view ViewOf(BSTR text) {
  return text == nullptr ? std::wstring_view() : std::wstring_view(text, SysStringLen(text));
}

/// A BSTR that is freed with its owner. Null stands for the empty text, as everywhere in
/// automation.
class OwnedBstr {
 public:
  OwnedBstr() = default;
  /// Throws std::bad_alloc.
  explicit OwnedBstr(std::wstring_view text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (text_ == nullptr) throw std::bad_alloc();
  }
  ~OwnedBstr() { SysFreeString(text_); }
  OwnedBstr(const OwnedBstr&) = delete;
  OwnedBstr& operator=(const OwnedBstr&) = delete;

  BSTR Get() const { return text_; }
  std::wstring_view View() const { return ViewOf(text_); }

  /// Gives the text away.
  BSTR Detach() { return std::exchange(text_, nullptr); }

  /// For a call that hands a BSTR out. Only while this one is null.
  BSTR* Receive() { return &text_; }

 private:
  BSTR text_ = nullptr;
};

}  // namespace qmzentrel::platform
