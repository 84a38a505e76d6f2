#include "tools/type_library/msft_edit.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <map>

namespace qmzentrel::type_library {
namespace {

Type& FindType(MsftFile& file, std::string_view name) {
  for (Type& type : file.types) {
    if (NameAt(file, Read32(type.info, type_info::kName)) == name) return type;
  }
  throw EditError("no type is named '" + std::string(name) + "'");
}

std::uint32_t KindOf(const Type& type) {
  return Read32(type.info, type_info::kKindAndIndex) & kKindMask;
}

// Adds a text to the string segment: its length as 16 bits, its characters, and filling bytes up to
// a multiple of four, eight at least. Returns its position.
std::uint32_t AddString(MsftFile& file, std::string_view text) {
  constexpr std::size_t kShortest = 8;
  constexpr std::uint8_t kFilling = 0x57;
  Bytes& strings = file.segments[kStrings];
  const std::size_t position = strings.size();
  // A name has 255 characters at most: its length fits.
  strings.push_back(static_cast<std::uint8_t>(text.size()));
  strings.push_back(static_cast<std::uint8_t>(text.size() >> 8));
  strings.insert(strings.end(), text.begin(), text.end());
  const std::size_t padded = (2 + text.size() + 3) / 4 * 4;
  strings.resize(position + std::max(padded, kShortest), kFilling);
  return static_cast<std::uint32_t>(position);
}

// Follows types to their new places. A reference to a type of the same library is the offset of its
// record; other references (to imported types, or none) have one of the two low bits set.
class Renumbering {
 public:
  void Move(std::size_t from, std::size_t to) { new_offsets_[Offset(from)] = Offset(to); }

  void Apply(Bytes& bytes, std::size_t position) const {
    const std::uint32_t reference = Read32(bytes, position);
    if ((reference & 3) != 0) return;
    const auto found = new_offsets_.find(reference);
    if (found == new_offsets_.end()) throw FormatError("a reference leads to no type");
    Write32(bytes, position, found->second);
  }

 private:
  static std::uint32_t Offset(std::size_t index) {
    return static_cast<std::uint32_t>(index * type_info::kSize);
  }

  std::map<std::uint32_t, std::uint32_t> new_offsets_;
};

void RenumberSegments(MsftFile& file, const Renumbering& renumbering) {
  constexpr std::size_t kGuidSize = 24;
  constexpr std::size_t kGuidReference = 16;
  for (std::size_t at = 0; at < file.segments[kGuids].size(); at += kGuidSize) {
    renumbering.Apply(file.segments[kGuids], at + kGuidReference);
  }

  constexpr std::size_t kReferenceSize = 16;
  for (std::size_t at = 0; at < file.segments[kReferences].size(); at += kReferenceSize) {
    renumbering.Apply(file.segments[kReferences], at);
  }

  constexpr std::size_t kDescriptionSize = 8;
  constexpr std::uint32_t kUserDefined = 29;  // VT_USERDEFINED
  Bytes& descriptions = file.segments[kTypeDescriptions];
  for (std::size_t at = 0; at < descriptions.size(); at += kDescriptionSize) {
    if ((Read32(descriptions, at) & 0xFFFF) == kUserDefined) {
      renumbering.Apply(descriptions, at + 4);
    }
  }

  Bytes& names = file.segments[kNames];
  for (std::size_t at = 0; at < names.size();) {
    renumbering.Apply(names, at + name::kType);
    const std::size_t length = Read32(names, at + name::kLength) & 0xFF;
    at += name::kCharacters + (length + 3) / 4 * 4;
  }
}

}  // namespace

void ReorderTypes(MsftFile& file, const std::vector<std::string>& names) {
  if (names.size() != file.types.size()) {
    throw EditError("the order must name each of the " + std::to_string(file.types.size()) +
                    " types once");
  }
  Renumbering renumbering;
  std::vector<Type> ordered;
  std::vector<const Type*> taken;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Type& type = FindType(file, names[i]);
    if (std::ranges::find(taken, &type) != taken.end()) {
      throw EditError("the order names '" + names[i] + "' twice");
    }
    taken.push_back(&type);
    renumbering.Move(static_cast<std::size_t>(&type - file.types.data()), i);
    ordered.push_back(type);
  }
  file.types = std::move(ordered);

  RenumberSegments(file, renumbering);
  renumbering.Apply(file.header, header::kDispatchReference);
  for (std::size_t i = 0; i < file.types.size(); ++i) {
    Type& type = file.types[i];
    const std::uint32_t kind_and_index = Read32(type.info, type_info::kKindAndIndex);
    Write32(type.info, type_info::kKindAndIndex,
            (kind_and_index & 0xFFFF) | static_cast<std::uint32_t>(i) << 16);
    // Of an interface this field is its base; of other kinds it is no reference to a type.
    if (KindOf(type) == kKindInterface || KindOf(type) == kKindDispatch) {
      renumbering.Apply(type.info, type_info::kReferredType);
    }
  }
}

void SetTypeVersion(MsftFile& file, std::string_view type, std::uint16_t major,
                    std::uint16_t minor) {
  Write32(FindType(file, type).info, type_info::kVersion,
          major | static_cast<std::uint32_t>(minor) << 16);
}

void SetTypeFlags(MsftFile& file, std::string_view type, std::uint32_t flags) {
  Write32(FindType(file, type).info, type_info::kFlags, flags);
}

void GiveEnumerationMembersTheirNamesAsHelp(MsftFile& file) {
  for (Type& type : file.types) {
    if (KindOf(type) != kKindEnumeration) continue;
    for (Member& member : type.members) {
      // The help fields are optional: a record without them ends before them.
      Bytes& record = member.record;
      if (record.size() <= variable::kHelpContext) Append32(record, 0);
      if (record.size() <= variable::kHelpString) Append32(record, kNone);
      Write32(record, variable::kHelpString, AddString(file, NameAt(file, member.name)));
      const std::uint32_t info = Read32(record, variable::kInfo);
      Write32(record, variable::kInfo,
              (info & 0xFFFF0000) | static_cast<std::uint32_t>(record.size()));
    }
  }
}

void RepeatLibraryHelpContextForWine(MsftFile& file) {
  Write32(file.header, header::kHelpContextForWine, Read32(file.header, header::kHelpContext));
}

void RepairMemberCapacities(MsftFile& file) {
  for (Type& type : file.types) {
    if (type.members.empty()) continue;
    const std::uint32_t size = Read32(type.info, type_info::kMemberSize);
    if (size > 1U << 31) throw FormatError("a type's members use too much memory");
    Write32(type.info, type_info::kMemberCapacity, std::bit_ceil(size));
  }
}

void DropLibraryCustomData(MsftFile& file) {
  Write32(file.header, header::kCustomData, kNone);
}

}  // namespace qmzentrel::type_library
