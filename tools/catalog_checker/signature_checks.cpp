#include <set>

#include "interface/signatures.h"
#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"

namespace qmzentrel::catalog_checker {
namespace {

// What the simulator selects before anything was stored.
constexpr std::int32_t kNothingStored = 0;
constexpr std::int32_t kLastByte = 255;

void CheckEntry(const CatalogKey& key, const std::string& name, std::set<std::int32_t>& bytes) {
  const auto byte = catalogs::SignatureNumber(name);
  if (!byte) {
    key.Fault(name, "is not named by a hexadecimal number",
              "with the simulator on no object can be created (error 13)");
  } else if (*byte < 0 || *byte > kLastByte) {
    key.Fault(name, "is named by a number that is no byte",
              "a simulated read that has it chosen fails with error 6");
  } else if (!bytes.insert(*byte).second) {
    key.Fault(name, "names a byte that another value names, too",
              "only the first of them is ever selected again");
  }
  key.Name(name, Required("the list shows no proper text for it"));
}

void CheckList(const std::string& path, Findings& findings) {
  const CatalogKey key(path, findings);
  const std::vector<std::string> names = key.ValueNames();
  if (names.empty()) {
    key.Fault("", key.IsThere() ? "has no named values" : "is missing",
              "the simulator's list is empty, and its byte is 0");
    return;
  }
  std::set<std::int32_t> bytes;
  for (const std::string& name : names) CheckEntry(key, name, bytes);
  if (!bytes.contains(kNothingStored)) {
    key.Remark("00", "is missing", "nothing is selected until an answer has been stored");
  }
}

void CheckSupplyLine(const CatalogKey& box) {
  using namespace catalogs::supply_line;
  const auto line = box.Text(value_name::kSupplyLine, Optional("the supply is on DTR"));
  if (!line || IsOneOf(*line, {kDtr, kRts, kBoth})) return;
  box.Fault(value_name::kSupplyLine, "is none of DTR, RTS and BOTH: \"" + *line + "\"",
            "the supply is on DTR");
}

}  // namespace

void CheckSignatures(Findings& findings) {
  CheckList(catalogs::kBoxTypesKey, findings);
  CheckList(catalogs::kBoxModesKey, findings);
  CheckSupplyLine(CatalogKey(catalogs::kBoxKey, findings));
}

}  // namespace qmzentrel::catalog_checker
