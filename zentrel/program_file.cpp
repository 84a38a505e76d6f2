#include "zentrel/program_file.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/win32/handle.h"

namespace qmzentrel::program {
namespace {

// The part of the header of .NET that tells which processor it wants.
struct ClrFlags {
  DWORD size;
  WORD major;
  WORD minor;
  DWORD metadata[2];
  DWORD flags;
};
constexpr DWORD kIntermediateOnly = 0x1;
constexpr DWORD kRequires32Bit = 0x2;
constexpr DWORD kClrDirectory = 14;

// Reads structures out of a file; a place behind its end makes them zero.
class FileReader {
 public:
  explicit FileReader(const std::wstring& path)
      : file_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {}

  bool IsOpen() const { return file_.IsValid(); }

  template <class Part>
  Part At(DWORD offset) const {
    Part part{};
    DWORD read = 0;
    OVERLAPPED place{};
    place.Offset = offset;
    if (ReadFile(file_.Get(), &part, sizeof part, &read, &place) == FALSE || read != sizeof part) {
      return {};
    }
    return part;
  }

 private:
  platform::OwnedHandle file_;
};

// Where in the file the byte lies that is loaded at `address`; 0 when nowhere.
DWORD OffsetOf(const FileReader& file, DWORD headers, DWORD address) {
  const auto header = file.At<IMAGE_FILE_HEADER>(headers + sizeof(DWORD));
  DWORD place =
      headers + static_cast<DWORD>(sizeof(DWORD) + sizeof header) + header.SizeOfOptionalHeader;
  for (WORD i = 0; i < header.NumberOfSections; ++i, place += sizeof(IMAGE_SECTION_HEADER)) {
    const auto section = file.At<IMAGE_SECTION_HEADER>(place);
    if (address >= section.VirtualAddress &&
        address - section.VirtualAddress < section.SizeOfRawData) {
      return address - section.VirtualAddress + section.PointerToRawData;
    }
  }
  return 0;
}

bool IsForAnyProcessor(const FileReader& file, DWORD headers) {
  const auto optional = file.At<IMAGE_OPTIONAL_HEADER32>(
      headers + static_cast<DWORD>(sizeof(DWORD) + sizeof(IMAGE_FILE_HEADER)));
  const DWORD address = optional.DataDirectory[kClrDirectory].VirtualAddress;
  const DWORD offset = address == 0 ? 0 : OffsetOf(file, headers, address);
  if (offset == 0) return false;
  const auto clr = file.At<ClrFlags>(offset);
  return (clr.flags & kIntermediateOnly) != 0 && (clr.flags & kRequires32Bit) == 0;
}

// While it lives, the system's folder is the one of that name: 32-bit programs get theirs in its
// place.
class FoldersAsNamed {
 public:
  FoldersAsNamed() : switched_(Wow64DisableWow64FsRedirection(&before_) != FALSE) {}
  ~FoldersAsNamed() {
    if (switched_) Wow64RevertWow64FsRedirection(before_);
  }
  FoldersAsNamed(const FoldersAsNamed&) = delete;
  FoldersAsNamed& operator=(const FoldersAsNamed&) = delete;

 private:
  void* before_ = nullptr;
  bool switched_;
};

}  // namespace

FileKind KindOf(const std::wstring& path) {
  const FileReader file(path);
  if (!file.IsOpen()) return FileKind::kMissing;
  const auto dos = file.At<IMAGE_DOS_HEADER>(0);
  if (dos.e_magic != IMAGE_DOS_SIGNATURE) return FileKind::kOther;
  const auto headers = static_cast<DWORD>(dos.e_lfanew);
  if (file.At<DWORD>(headers) != IMAGE_NT_SIGNATURE) return FileKind::kOther;
  switch (file.At<IMAGE_FILE_HEADER>(headers + sizeof(DWORD)).Machine) {
    case IMAGE_FILE_MACHINE_I386:
      return IsForAnyProcessor(file, headers) ? FileKind::kEitherBit : FileKind::k32Bit;
    case IMAGE_FILE_MACHINE_AMD64:
    case IMAGE_FILE_MACHINE_ARM64:
    case IMAGE_FILE_MACHINE_IA64:
      return FileKind::k64Bit;
    default:
      return FileKind::kOther;
  }
}

bool IsNoLibraryOf32Bits(const std::wstring& path) {
  const FileKind kind = KindOf(path);
  return kind != FileKind::kMissing && kind != FileKind::k32Bit;
}

FileKind KindOfCaller(const std::wstring& path) {
  {
    const FoldersAsNamed as_named;
    const FileKind kind = KindOf(path);
    if (kind != FileKind::kMissing) return kind;
  }
  // A name that is for 32-bit programs only, such as Sysnative.
  return KindOf(path);
}

std::optional<Version> VersionOf(const std::wstring& path) {
  DWORD unused = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &unused);
  std::vector<BYTE> resource(size);
  void* fixed = nullptr;
  UINT length = 0;
  if (size == 0 || GetFileVersionInfoW(path.c_str(), 0, size, resource.data()) == FALSE ||
      VerQueryValueW(resource.data(), L"\\", &fixed, &length) == FALSE ||
      length < sizeof(VS_FIXEDFILEINFO)) {
    return std::nullopt;
  }
  const auto* const info = static_cast<const VS_FIXEDFILEINFO*>(fixed);
  return Version{HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                 HIWORD(info->dwFileVersionLS)};
}

Version ParseVersion(const std::string& text) {
  Version version{};
  std::size_t part = 0;
  for (const char letter : text) {
    if (letter == '.') {
      if (++part == version.size()) break;
    } else if (letter >= '0' && letter <= '9') {
      version[part] = version[part] * 10 + static_cast<std::uint32_t>(letter - '0');
    }
  }
  return version;
}

std::string VersionNumbers(const Version& version) {
  return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
         std::to_string(version[2]);
}

}  // namespace qmzentrel::program
