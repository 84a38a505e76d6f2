// A type library in the MSFT file format, taken apart so that it can be edited and put together
// again. Only what one compiler (widl) writes is understood: a file that does not come out of
// SerialiseMsft byte for byte as it went in is refused, so that nothing is ever lost in silence.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace qmzentrel::type_library {

using Bytes = std::vector<std::uint8_t>;

/// The bytes are not a library that this tool understands; what() says where they go wrong.
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Little-endian access. An access outside `bytes` is a FormatError.
std::uint32_t Read32(std::span<const std::uint8_t> bytes, std::size_t offset);
void Write32(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t value);
void Append32(Bytes& bytes, std::uint32_t value);

/// The segments, numbered as the file's directory lists them.
enum Segment : std::size_t {
  kTypeInfos,
  kImportedTypes,
  kImportedFiles,
  kReferences,
  kGuidHash,
  kGuids,
  kNameHash,
  kNames,
  kStrings,
  kTypeDescriptions,
  kArrayDescriptions,
  kCustomData,
  kCustomDataGuids,
  kReserved1,
  kReserved2,
  kSegmentCount
};

/// Offsets of the fields used here, in the file's header ...
namespace header {
inline constexpr std::size_t kFlags = 0x14;
inline constexpr std::size_t kTypeCount = 0x20;
inline constexpr std::size_t kHelpContextForWine = 0x28;
inline constexpr std::size_t kHelpContext = 0x2C;
inline constexpr std::size_t kCustomData = 0x40;
inline constexpr std::size_t kDispatchReference = 0x4C;
inline constexpr std::size_t kSize = 0x54;
}  // namespace header

/// ... in the record of a type ...
namespace type_info {
inline constexpr std::size_t kKindAndIndex = 0x00;
inline constexpr std::size_t kMembersPosition = 0x04;
inline constexpr std::size_t kMemberCapacity = 0x08;  ///< bytes that members are given when loaded
inline constexpr std::size_t kMemberSize = 0x0C;      ///< bytes of those in use
inline constexpr std::size_t kMemberCounts = 0x18;
inline constexpr std::size_t kFlags = 0x30;
inline constexpr std::size_t kName = 0x34;
inline constexpr std::size_t kVersion = 0x38;
inline constexpr std::size_t kReferredType = 0x54;
inline constexpr std::size_t kSize = 0x64;
}  // namespace type_info

/// ... in an entry of the name segment, which is filled up to a multiple of four bytes ...
namespace name {
inline constexpr std::size_t kType = 0x00;
inline constexpr std::size_t kLength = 0x08;  ///< low byte
inline constexpr std::size_t kCharacters = 0x0C;
}  // namespace name

/// ... and in the record of a variable (an enumeration's member is one).
namespace variable {
inline constexpr std::size_t kInfo = 0x00;  ///< low word: length of the record
inline constexpr std::size_t kHelpContext = 0x14;
inline constexpr std::size_t kHelpString = 0x18;
}  // namespace variable

/// In a position of the file: nothing there.
inline constexpr std::uint32_t kNone = 0xFFFFFFFF;

/// The kinds of types that are treated specially, as the low four bits of kKindAndIndex hold them
/// (the operating system's TYPEKIND).
inline constexpr std::uint32_t kKindMask = 0x0F;
inline constexpr std::uint32_t kKindEnumeration = 0;
inline constexpr std::uint32_t kKindInterface = 3;
inline constexpr std::uint32_t kKindDispatch = 4;

/// A function or variable of a type.
struct Member {
  std::uint32_t id;    ///< DISPID
  std::uint32_t name;  ///< position in the name segment
  Bytes record;
};

struct Type {
  Bytes info;                   ///< type_info::kSize bytes
  std::vector<Member> members;  ///< functions first, then variables
};

struct MsftFile {
  Bytes header;                               ///< header::kSize bytes
  std::array<Bytes, kSegmentCount> segments;  ///< kTypeInfos stays empty: see `types`
  std::vector<Type> types;
};

/// Throws FormatError for anything but a library that SerialiseMsft reproduces byte for byte.
MsftFile ParseMsft(std::span<const std::uint8_t> bytes);

/// Positions, lengths and counts are computed afresh from what `file` holds.
Bytes SerialiseMsft(const MsftFile& file);

/// The name at a position of the name segment. FormatError if there is none.
std::string NameAt(const MsftFile& file, std::uint32_t position);

}  // namespace qmzentrel::type_library
