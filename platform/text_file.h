// A text file that is only ever written, line by line, in the ANSI code page.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace qmzentrel::platform {

class TextFile {
 public:
  TextFile();
  ~TextFile();
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  /// Opens `path` (UTF-8) for writing: afresh when `truncate`, else at its end. The folder must
  /// exist. Others may read the file meanwhile. False when it cannot be opened.
  bool Open(const std::string& path, bool truncate);

  bool IsOpen() const;

  /// Length in bytes, 0 when closed.
  std::uint64_t Length() const;

  /// Appends `text` (UTF-8) and a carriage return with line feed; it is in the file when this
  /// returns. False when the file is closed or the disk refuses.
  bool WriteLine(const std::string& text);

  void Close();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qmzentrel::platform
