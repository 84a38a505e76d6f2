// What the checks of sub-device messages and of test messages have in common.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "interface/catalogs.h"
#include "tools/catalog_checker/catalog_key.h"

namespace qmzentrel::catalog_checker {

/// What identifies a message in a frame is one byte.
inline constexpr catalogs::Range kIdentifiers{0, 255};
/// What becomes of any other number.
inline constexpr const char* kLowestByteSent = "only the lowest byte of the number is sent";

// Data bytes of one message. The frame has four bytes beside them, and the identifier.
inline constexpr std::int32_t kMostDataBytes = 4;  ///< that are taken from or put into a value
inline constexpr std::int32_t kMostSent = 15;      ///< of the 20 bytes of a request
inline constexpr std::int32_t kMostRead = 28;      ///< of the 33 bytes of a reply

/// The number of a message, by the name of its key; nothing, after a fault, when it identifies
/// none.
std::optional<std::int32_t> IdentifierOf(const CatalogKey& message, const std::string& name);

/// Judges whether a message is within the range of those that are listed, where there is one.
void CheckIsListed(const CatalogKey& message, std::int32_t identifier,
                   const std::optional<catalogs::Range>& range);

}  // namespace qmzentrel::catalog_checker
