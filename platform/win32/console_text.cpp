#include "platform/win32/console_text.h"

#include <windows.h>

#include "platform/win32/wide.h"

namespace qmzentrel::platform {

std::string ConsoleText(std::string_view utf8) {
  const UINT console = GetConsoleOutputCP();
  const UINT code_page = console != 0 ? console : CP_ACP;
  const std::wstring wide = Utf8ToWide(utf8);
  const int length = static_cast<int>(wide.size());
  const int size =
      WideCharToMultiByte(code_page, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(code_page, 0, wide.data(), length, text.data(), size, nullptr, nullptr);
  return text;
}

}  // namespace qmzentrel::platform
