// Values of a known kind in the registry, with what stands for those that are missing. Any `key`
// may be one that could not be opened: it has no values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "support/modCOM_Registry.h"

namespace qmzentrel::registry {

/// A whole number, stored as one or as a text; nothing when it is missing, no number, or of a type
/// that the registry layer does not read.
std::optional<std::int32_t> Number(const modCOM_Registry::OpenKey& key, const std::string& name);

/// The same, or `absent`.
std::int32_t Number(const modCOM_Registry::OpenKey& key, const std::string& name,
                    std::int32_t absent);

/// A text; nothing when it is missing or no text. Of a type that the registry layer does not read
/// it is empty.
std::optional<std::string> Text(const modCOM_Registry::OpenKey& key, const std::string& name);

/// The same, or `absent`; `unread` for a type that the registry layer does not read.
std::string Text(const modCOM_Registry::OpenKey& key, const std::string& name,
                 const std::string& absent, const std::string& unread = "");

}  // namespace qmzentrel::registry
