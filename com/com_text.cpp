#include "com/com_text.h"

#include <new>
#include <string>

#include "platform/hardware_faults.h"
#include "platform/win32/bstr.h"
#include "platform/win32/wide.h"

namespace qmzentrel::com {

std::string TextOf(BSTR text) {
  const std::wstring_view view = platform::CallOut([text] { return platform::ViewOf(text); });
  // Memory that is not there is found here, before anything is made of it.
  constexpr std::size_t kPage = 4096 / sizeof(wchar_t);
  for (std::size_t i = 0; i < view.size(); i += kPage) {
    static_cast<void>(*static_cast<const volatile wchar_t*>(&view[i]));
  }
  if (!view.empty()) static_cast<void>(*static_cast<const volatile wchar_t*>(&view.back()));
  return platform::WideToUtf8(view);
}

BSTR NewBstr(std::string_view utf8) {
  const std::wstring wide = platform::Utf8ToWide(utf8);
  BSTR text = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

}  // namespace qmzentrel::com
