// What the file of a program or a DLL says of itself.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace qmzentrel::program {

enum class FileKind {
  kMissing,    ///< there is none, or it cannot be read
  kOther,      ///< neither a program nor a DLL
  k32Bit,      ///< runs as a 32-bit process
  k64Bit,      ///< runs as a 64-bit process
  kEitherBit,  ///< .NET for any processor: as a 64-bit process where the system is one
};

/// As 32-bit programs find it.
FileKind KindOf(const std::wstring& path);
/// A file that is there, and that no 32-bit program can load.
bool IsNoLibraryOf32Bits(const std::wstring& path);
/// As the system finds a program that somebody names: its own folder is not replaced.
FileKind KindOfCaller(const std::wstring& path);

/// Major, minor, revision; compared in that order.
using Version = std::array<std::uint32_t, 3>;

/// The version in the file's resources.
std::optional<Version> VersionOf(const std::wstring& path);

/// Of "6.2.0".
Version ParseVersion(const std::string& text);
/// "6.2.0".
std::string VersionNumbers(const Version& version);

}  // namespace qmzentrel::program
