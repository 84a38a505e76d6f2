#include "tools/catalog_checker/catalog_checks.h"

#include "tools/catalog_checker/catalog_parts.h"

namespace qmzentrel::catalog_checker {

Findings CheckCatalog() {
  Findings findings;
  const CatalogKey root(modCOM_Registry::kQuenmoorKey, findings);
  if (!root.IsThere()) {
    root.Fault("", "is missing in the 32-bit view of the registry",
               "no names, no lists, no lengths of sub-device messages");
    return findings;
  }
  CheckInterfaces(findings);
  CheckIntervals(findings);
  CheckSignatures(findings);
  CheckDeviceTypes(CheckMessages(findings), findings);
  return findings;
}

}  // namespace qmzentrel::catalog_checker
