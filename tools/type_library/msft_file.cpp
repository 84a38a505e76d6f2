#include "tools/type_library/msft_file.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace qmzentrel::type_library {
namespace {

constexpr std::uint32_t kMagic = 0x5446534D;  // "MSFT"
constexpr std::uint32_t kFormatVersion = 0x00010002;
// With this flag the header is four bytes longer; widl sets it for libraries with a help-string
// DLL.
constexpr std::uint32_t kFlagHelpStringDll = 0x100;

constexpr std::size_t kDirectoryEntrySize = 16;
constexpr std::uint32_t kDirectoryUnused = 0xFFFFFFFF;
constexpr std::uint32_t kDirectoryMark = 0x0F;

// Info, type, flags, kind and value: the shortest record of a member.
constexpr std::size_t kShortestRecord = 0x14;

// The order in which the segments follow each other in the file.
constexpr std::array kFileOrder = {
    kTypeInfos,         kGuidHash,   kGuids,          kReferences, kImportedTypes,
    kImportedFiles,     kNameHash,   kNames,          kStrings,    kTypeDescriptions,
    kArrayDescriptions, kCustomData, kCustomDataGuids};

std::span<const std::uint8_t> Slice(std::span<const std::uint8_t> bytes, std::size_t offset,
                                    std::size_t length, std::string_view what) {
  if (offset > bytes.size() || length > bytes.size() - offset) {
    throw FormatError(std::string(what) + " lies outside the file");
  }
  return bytes.subspan(offset, length);
}

Bytes Copy(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

void Append(Bytes& bytes, std::span<const std::uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

std::uint32_t Size32(std::size_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max())
    throw FormatError("the file grows too long");
  return static_cast<std::uint32_t>(size);
}

// The low word of the field counts functions, the high word variables.
std::size_t MemberCount(const Bytes& info) {
  const std::uint32_t counts = Read32(info, type_info::kMemberCounts);
  return (counts & 0xFFFF) + (counts >> 16);
}

// The members of one type: the length of all records, the records, then three tables: identifiers,
// names, and where each record begins.
std::vector<Member> ParseMembers(std::span<const std::uint8_t> bytes, const Bytes& info) {
  const std::size_t count = MemberCount(info);
  if (count == 0) return {};

  const std::size_t position = Read32(info, type_info::kMembersPosition);
  const std::size_t length = Read32(Slice(bytes, position, 4, "a member list"), 0);
  const auto records = Slice(bytes, position + 4, length, "a member list");
  const auto tables = Slice(bytes, position + 4 + length, 12 * count, "a member list");

  std::vector<Member> members;
  members.reserve(count);
  std::size_t total = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t begin = Read32(tables, 8 * count + 4 * i);
    const std::size_t size = Read32(Slice(records, begin, 4, "a member"), 0) & 0xFFFF;
    total += size;
    if (size < kShortestRecord || size % 4 != 0 || total > length) {
      throw FormatError("a member's length is wrong");
    }
    members.push_back({.id = Read32(tables, 4 * i),
                       .name = Read32(tables, 4 * count + 4 * i),
                       .record = Copy(Slice(records, begin, size, "a member"))});
  }
  return members;
}

void AppendMembers(Bytes& bytes, const std::vector<Member>& members) {
  if (members.empty()) return;
  std::size_t length = 0;
  for (const Member& member : members) length += member.record.size();
  Append32(bytes, Size32(length));
  for (const Member& member : members) Append(bytes, member.record);
  for (const Member& member : members) Append32(bytes, member.id);
  for (const Member& member : members) Append32(bytes, member.name);
  std::size_t begin = 0;
  for (const Member& member : members) {
    Append32(bytes, Size32(begin));
    begin += member.record.size();
  }
}

}  // namespace

std::uint32_t Read32(std::span<const std::uint8_t> bytes, std::size_t offset) {
  if (offset > bytes.size() || bytes.size() - offset < 4) {
    throw FormatError("a number lies outside its place");
  }
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = value << 8 | bytes[offset + i];
  return value;
}

void Write32(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t value) {
  if (offset > bytes.size() || bytes.size() - offset < 4) {
    throw FormatError("a number lies outside its place");
  }
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

void Append32(Bytes& bytes, std::uint32_t value) {
  bytes.resize(bytes.size() + 4);
  Write32(bytes, bytes.size() - 4, value);
}

MsftFile ParseMsft(std::span<const std::uint8_t> bytes) {
  MsftFile file;
  file.header = Copy(Slice(bytes, 0, header::kSize, "the header"));
  if (Read32(bytes, 0) != kMagic || Read32(bytes, 4) != kFormatVersion) {
    throw FormatError("not an MSFT type library");
  }
  if ((Read32(bytes, header::kFlags) & kFlagHelpStringDll) != 0) {
    throw FormatError("a library with a help-string DLL is not handled");
  }

  const std::size_t type_count = Read32(bytes, header::kTypeCount);
  if (type_count > bytes.size() / type_info::kSize) throw FormatError("too many types");
  const auto directory = Slice(bytes, header::kSize + 4 * type_count,
                               kDirectoryEntrySize * kSegmentCount, "the directory");
  for (std::size_t i = 0; i < kSegmentCount; ++i) {
    const std::size_t length = Read32(directory, kDirectoryEntrySize * i + 4);
    if (length == 0) continue;
    file.segments[i] =
        Copy(Slice(bytes, Read32(directory, kDirectoryEntrySize * i), length, "a segment"));
  }

  const Bytes infos = std::move(file.segments[kTypeInfos]);
  file.segments[kTypeInfos].clear();
  for (std::size_t i = 0; i < type_count; ++i) {
    Bytes info = Copy(Slice(infos, i * type_info::kSize, type_info::kSize, "a type"));
    std::vector<Member> members = ParseMembers(bytes, info);
    file.types.push_back({.info = std::move(info), .members = std::move(members)});
  }

  if (!std::ranges::equal(SerialiseMsft(file), bytes)) {
    throw FormatError("the file is laid out in a way that is not understood");
  }
  return file;
}

Bytes SerialiseMsft(const MsftFile& file) {
  const std::size_t type_count = file.types.size();
  const auto size_of = [&](Segment segment) {
    return segment == kTypeInfos ? type_count * type_info::kSize : file.segments[segment].size();
  };

  Bytes directory(kDirectoryEntrySize * kSegmentCount);
  for (std::size_t i = 0; i < kSegmentCount; ++i) {
    const auto entry = std::span(directory).subspan(kDirectoryEntrySize * i, kDirectoryEntrySize);
    Write32(entry, 0, kDirectoryUnused);
    Write32(entry, 4, Size32(size_of(static_cast<Segment>(i))));
    Write32(entry, 8, kDirectoryUnused);
    Write32(entry, 12, kDirectoryMark);
  }
  std::size_t position = header::kSize + 4 * type_count + directory.size();
  for (const Segment segment : kFileOrder) {
    if (size_of(segment) == 0) continue;
    Write32(directory, kDirectoryEntrySize * segment, Size32(position));
    position += size_of(segment);
  }

  Bytes infos;
  Bytes members;
  for (const Type& type : file.types) {
    Bytes info = type.info;
    Write32(info, type_info::kMembersPosition, Size32(position + members.size()));
    Append(infos, info);
    AppendMembers(members, type.members);
  }

  Bytes bytes = file.header;
  for (std::size_t i = 0; i < type_count; ++i) Append32(bytes, Size32(i * type_info::kSize));
  Append(bytes, directory);
  for (const Segment segment : kFileOrder) {
    Append(bytes, segment == kTypeInfos ? infos : file.segments[segment]);
  }
  Append(bytes, members);
  return bytes;
}

std::string NameAt(const MsftFile& file, std::uint32_t position) {
  const Bytes& names = file.segments[kNames];
  const auto head = Slice(names, position, name::kCharacters, "a name");
  const std::size_t length = Read32(head, name::kLength) & 0xFF;
  const auto characters = Slice(names, position + std::size_t{name::kCharacters}, length, "a name");
  return {characters.begin(), characters.end()};
}

}  // namespace qmzentrel::type_library
