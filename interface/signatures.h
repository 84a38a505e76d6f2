// The entries of the lists of box types and box modes, which are the two bytes of a box's
// signature.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "support/variant.h"

namespace qmzentrel::catalogs {

/// The number that an entry stands for: its name, read as a hexadecimal one; nothing when it is
/// none. It may be more than a byte.
std::optional<std::int32_t> SignatureNumber(const std::string& name);

/// The text that an entry with this data is shown as; empty when it is no text or number.
std::string SignatureText(const Variant& data);

}  // namespace qmzentrel::catalogs
