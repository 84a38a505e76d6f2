// Files of programs that this machine cannot build: headers and nothing behind them.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace qmzentrel::program_tests {

/// A file that is gone with its owner.
class CraftedFile {
 public:
  /// `clr_flags`: a program of .NET with these flags in its header.
  explicit CraftedFile(WORD machine, std::optional<DWORD> clr_flags = std::nullopt);
  /// With any contents.
  explicit CraftedFile(const std::string& contents);
  ~CraftedFile();
  CraftedFile(const CraftedFile&) = delete;
  CraftedFile& operator=(const CraftedFile&) = delete;

  const std::wstring& Path() const { return path_; }

 private:
  std::wstring path_;
};

}  // namespace qmzentrel::program_tests
