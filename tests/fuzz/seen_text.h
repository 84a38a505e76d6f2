// What was seen as text, for a finding.
#pragma once

#include <string>
#include <vector>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

std::string Name(Kind kind);
/// In seconds.
std::string TimeText(Time time);
std::string Text(const Bytes& bytes);
std::string Text(const Shown& shown);
/// All lines up to `place`, which is marked, and a few beyond.
std::string Text(const std::vector<Seen>& seen, std::size_t place);

}  // namespace qmzentrel::fuzz
