#include "com/com_text.h"

#include <new>
#include <string>

#include "platform/win32/bstr.h"
#include "platform/win32/wide.h"

namespace qmzentrel::com {

std::string TextOf(BSTR text) {
  return platform::WideToUtf8(platform::ViewOf(text));
}

BSTR NewBstr(std::string_view utf8) {
  const std::wstring wide = platform::Utf8ToWide(utf8);
  BSTR text = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

}  // namespace qmzentrel::com
