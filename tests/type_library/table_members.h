// What the component's own table of members says, in the form of the expected library, without the
// help: that stands in the type library only.
#pragma once

#include <vector>

#include "tests/type_library/expected_library.h"

namespace qmzentrel::type_library {

std::vector<ExpectedMember> MembersOfTheTable();

}  // namespace qmzentrel::type_library
