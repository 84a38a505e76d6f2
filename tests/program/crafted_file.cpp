#include "tests/program/crafted_file.h"

#include <array>
#include <cstring>

#include "platform/win32/handle.h"

namespace qmzentrel::program_tests {
namespace {

// Where things lie in the file, and where the loader would put the only section.
constexpr DWORD kHeaders = 0x80;
constexpr DWORD kClrInFile = 0x300;
constexpr DWORD kSectionAddress = 0x2000;
constexpr DWORD kSectionInFile = 0x200;
constexpr DWORD kSectionSize = 0x200;

template <class Part>
void Put(std::string& file, DWORD place, const Part& part) {
  std::memcpy(file.data() + place, &part, sizeof part);
}

std::string Image(WORD machine, std::optional<DWORD> clr_flags) {
  std::string file(kSectionInFile + kSectionSize, '\0');
  IMAGE_DOS_HEADER dos{};
  dos.e_magic = IMAGE_DOS_SIGNATURE;
  dos.e_lfanew = kHeaders;
  Put(file, 0, dos);
  IMAGE_NT_HEADERS32 headers{};
  headers.Signature = IMAGE_NT_SIGNATURE;
  headers.FileHeader.Machine = machine;
  headers.FileHeader.NumberOfSections = 1;
  headers.FileHeader.SizeOfOptionalHeader = sizeof headers.OptionalHeader;
  if (clr_flags) {
    constexpr DWORD kClrDirectory = 14;
    headers.OptionalHeader.DataDirectory[kClrDirectory].VirtualAddress =
        kSectionAddress + kClrInFile - kSectionInFile;
    Put(file, kClrInFile + 16, *clr_flags);
  }
  Put(file, kHeaders, headers);
  IMAGE_SECTION_HEADER section{};
  section.VirtualAddress = kSectionAddress;
  section.PointerToRawData = kSectionInFile;
  section.SizeOfRawData = kSectionSize;
  Put(file, kHeaders + sizeof headers, section);
  return file;
}

std::wstring Written(const std::string& contents) {
  std::array<wchar_t, MAX_PATH> folder{};
  std::array<wchar_t, MAX_PATH> path{};
  GetTempPathW(MAX_PATH, folder.data());
  GetTempFileNameW(folder.data(), L"zen", 0, path.data());
  const platform::OwnedHandle file(
      CreateFileW(path.data(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  DWORD written = 0;
  WriteFile(file.Get(), contents.data(), static_cast<DWORD>(contents.size()), &written, nullptr);
  return path.data();
}

}  // namespace

CraftedFile::CraftedFile(WORD machine, std::optional<DWORD> clr_flags)
    : path_(Written(Image(machine, clr_flags))) {}

CraftedFile::CraftedFile(const std::string& contents) : path_(Written(contents)) {}

CraftedFile::~CraftedFile() {
  DeleteFileW(path_.c_str());
}

}  // namespace qmzentrel::program_tests
