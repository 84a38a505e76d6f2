// What a fuzzer says when the component does what it must not.
#pragma once

#include <string>

namespace qmzentrel::fuzz {

/// Ends the program when `holds` is false, so that the input is kept. `what` says what is wrong.
void Require(bool holds, const std::string& what);

}  // namespace qmzentrel::fuzz
