#include "platform/text_file.h"

#include <windows.h>

#include "platform/text.h"
#include "platform/win32/handle.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {

struct TextFile::State {
  OwnedHandle file;
};

TextFile::TextFile() = default;
TextFile::~TextFile() = default;

bool TextFile::Open(const std::string& path, bool truncate) {
  Close();
  auto state = std::make_unique<State>();
  state->file = OwnedHandle(CreateFileW(Utf8ToWide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, truncate ? CREATE_ALWAYS : OPEN_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!state->file.IsValid()) return false;
  if (SetFilePointerEx(state->file.Get(), {}, nullptr, FILE_END) == FALSE) return false;
  state_ = std::move(state);
  return true;
}

bool TextFile::IsOpen() const {
  return state_ != nullptr;
}

std::uint64_t TextFile::Length() const {
  LARGE_INTEGER length;
  if (!state_ || GetFileSizeEx(state_->file.Get(), &length) == FALSE) return 0;
  return static_cast<std::uint64_t>(length.QuadPart);
}

bool TextFile::WriteLine(const std::string& text) {
  if (!state_) return false;
  const std::string line = ToAnsi(text) + "\r\n";
  const auto size = static_cast<DWORD>(line.size());
  DWORD written = 0;
  return WriteFile(state_->file.Get(), line.data(), size, &written, nullptr) != FALSE &&
         written == size;
}

void TextFile::Close() {
  state_.reset();
}

}  // namespace qmzentrel::platform
