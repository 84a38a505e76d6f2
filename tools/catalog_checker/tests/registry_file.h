// Registry files as far as the sample catalog uses them.
#pragma once

#include <string>

namespace qmzentrel::catalog_checker::tests {

/// Puts keys, texts and 32-bit numbers of a REGEDIT4 file into the world of the test. Throws
/// std::runtime_error when the file cannot be read or holds anything else.
void ImportRegistryFile(const std::string& path);

}  // namespace qmzentrel::catalog_checker::tests
