// The texts of the reference (interface/reference/), for tests that hold the class against them.
#pragma once

#include <string>

namespace qmzentrel::tests {

/// All of a page, such as "times".
std::string ReferenceText(const std::string& page);

}  // namespace qmzentrel::tests
