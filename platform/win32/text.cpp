#include "platform/text.h"

#include <windows.h>

#include "platform/win32/bstr.h"
#include "platform/win32/locale.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {

std::string ToAnsi(std::string_view utf8) {
  const std::wstring wide = Utf8ToWide(utf8);
  const int length = static_cast<int>(wide.size());
  if (length == 0) return {};
  const int size =
      WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string ansi(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), length, ansi.data(), size, nullptr, nullptr);
  return ansi;
}

std::string FromAnsi(std::string_view ansi) {
  const int length = static_cast<int>(ansi.size());
  if (length == 0) return {};
  const int size = MultiByteToWideChar(CP_ACP, 0, ansi.data(), length, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_ACP, 0, ansi.data(), length, wide.data(), size);
  return WideToUtf8(wide);
}

int CompareTextNoCase(std::string_view left, std::string_view right) {
  const OwnedBstr left_text(Utf8ToWide(left));
  const OwnedBstr right_text(Utf8ToWide(right));
  const HRESULT order =
      VarBstrCmp(left_text.Get(), right_text.Get(), kComponentLocale, NORM_IGNORECASE);
  return order - VARCMP_EQ;
}

}  // namespace qmzentrel::platform
