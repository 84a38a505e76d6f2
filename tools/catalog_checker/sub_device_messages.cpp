#include "tools/catalog_checker/sub_device_messages.h"

#include "tools/catalog_checker/shared_checks.h"

namespace qmzentrel::catalog_checker {

std::optional<std::int32_t> IdentifierOf(const CatalogKey& message, const std::string& name) {
  const auto number = PlainNumber(name);
  if (!number) {
    message.Fault("", "is not named by a number in plain decimal", "nothing reads it");
    return std::nullopt;
  }
  if (IsWithin(kIdentifiers, *number)) return number;
  message.Fault("", "is no byte", kLowestByteSent);
  return std::nullopt;
}

void CheckIsListed(const CatalogKey& message, std::int32_t identifier,
                   const std::optional<catalogs::Range>& range) {
  if (!range || IsWithin(*range, identifier)) return;
  message.Remark("", "lies outside Min to Max", "it is not listed, but can be sent");
}

}  // namespace qmzentrel::catalog_checker
