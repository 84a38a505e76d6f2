// The parts of the examination, one for each part of the catalog.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "interface/catalogs.h"
#include "tools/catalog_checker/catalog_key.h"

namespace qmzentrel::catalog_checker {

/// Meter interfaces, their versions, and the MSI descriptions that they name.
void CheckInterfaces(Findings& findings);

/// The versions of meter interface `number`; `without` says what it means that there are none.
void CheckVersions(const CatalogKey& interface_key, std::int32_t number, const Absence& without);

/// The MSI descriptions that interfaces name, and the keys beside them that none names.
void CheckMsi(const std::vector<std::string>& names, Findings& findings);

void CheckIntervals(Findings& findings);

/// Sub-device messages. Returns their range; nothing when it is empty.
std::optional<catalogs::Range> CheckMessages(Findings& findings);

/// Sub-device types. `messages` is the range of messages that "Commands" has bits for.
void CheckDeviceTypes(const std::optional<catalogs::Range>& messages, Findings& findings);

/// The simulator's lists for the box signature, and the supply line beside them.
void CheckSignatures(Findings& findings);

}  // namespace qmzentrel::catalog_checker
