#include <algorithm>
#include <cstdlib>

#include "interface/telic2_catalog.h"
#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"
#include "tools/catalog_checker/sub_device_messages.h"

namespace qmzentrel::catalog_checker {
namespace {

using catalogs::Range;

constexpr const char* kNoneListed = "only NOP is listed";
constexpr const char* kRefused = "a command with it is refused: S_BAD_PARAMETER";

void CheckLength(const CatalogKey& key) {
  const auto bytes = key.Number(value_name::kBytes, Required(kRefused));
  if (!bytes) return;
  const std::int64_t length = std::abs(std::int64_t{*bytes});
  const std::string is = "is " + std::to_string(*bytes) + ", ";
  if (length == 0) {
    key.Fault(value_name::kBytes, "is 0", kRefused);
  } else if (length > kMostSent) {
    key.Fault(value_name::kBytes, is + "more than a frame carries",
              "a command with it is refused: S_MSG_TOO_LONG");
  } else if (length > kMostDataBytes) {
    key.Fault(value_name::kBytes, is + "more than four bytes",
              "only four travel; what follows them stands in the wrong place");
  }
}

void CheckMessage(const CatalogKey& key) {
  key.Name("", Required("it is listed as \"Invalid\""));
  CheckLength(key);
  CheckValueNames(key, {value_name::kBytes});
}

void CheckNames(const CatalogKey& messages, const std::optional<Range>& range) {
  for (const std::string& name : messages.SubKeyNames()) {
    const CatalogKey message = messages.SubKey(name);
    const auto identifier = IdentifierOf(message, name);
    if (!identifier) continue;
    CheckIsListed(message, *identifier, range);
    CheckMessage(message);
  }
}

}  // namespace

std::optional<Range> CheckMessages(Findings& findings) {
  const CatalogKey key(catalogs::kMessagesKey, findings);
  if (!key.IsThere()) {
    key.Fault("", "is missing", "commands with sub-device messages are refused: S_BAD_PARAMETER");
    return std::nullopt;
  }
  CheckValueNames(key, {value_name::kMin, value_name::kMax});
  const auto range = CheckRange(key, kNoneListed);
  CheckNames(key, range);
  if (!range) return std::nullopt;
  CheckBitRange(key, *range);
  if (range->last > HighestBit()) {
    key.Fault(value_name::kMax,
              "is " + std::to_string(range->last) + ", above " + std::to_string(HighestBit()),
              "TELIC2EnumMessages fails with error 65535");
  }
  for (std::int32_t n = std::max(range->first, 0); n <= std::min(range->last, HighestBit()); ++n) {
    const CatalogKey message = key.SubKey(std::to_string(n));
    if (!message.IsThere()) {
      message.Fault("", "is missing", std::string("it is listed as \"Invalid\", and ") + kRefused);
    }
  }
  return range;
}

}  // namespace qmzentrel::catalog_checker
