// The changes to a compiled type library that its source language cannot express.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/type_library/msft_file.h"

namespace qmzentrel::type_library {

/// A change asks for something that the library does not have; what() names it.
class EditError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Lists the types in the order of `names`, which must name every type exactly once.
void ReorderTypes(MsftFile& file, const std::vector<std::string>& names);

void SetTypeVersion(MsftFile& file, std::string_view type, std::uint16_t major,
                    std::uint16_t minor);

/// `flags` (the operating system's TYPEFLAGS) replace those that are there.
void SetTypeFlags(MsftFile& file, std::string_view type, std::uint32_t flags);

/// Every member of every enumeration gets its own name as help string.
void GiveEnumerationMembersTheirNamesAsHelp(MsftFile& file);

/// Stores the library's help context a second time, where Wine looks for it.
void RepeatLibraryHelpContextForWine(MsftFile& file);

/// Sets the memory that a type's members claim when loaded back to the next power of two above what
/// they use. The compiler doubles it with every function, so that many functions claim hundreds of
/// megabytes, or overflow to nothing.
void RepairMemberCapacities(MsftFile& file);

/// Unlinks the library's custom data (the compiler's signature and build time).
void DropLibraryCustomData(MsftFile& file);

}  // namespace qmzentrel::type_library
