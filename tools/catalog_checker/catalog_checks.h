// The whole examination: every entry of the catalog that the component would ignore, replace by a
// default, or fail on.
#pragma once

#include "tools/catalog_checker/finding.h"

namespace qmzentrel::catalog_checker {

/// Reads the catalog below HKEY_LOCAL_MACHINE\SOFTWARE\QuenmoorComms; writes nothing.
Findings CheckCatalog();

}  // namespace qmzentrel::catalog_checker
