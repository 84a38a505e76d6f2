// The user's regional settings.
#pragma once

#include <string>

namespace qmzentrel::fakes {

struct FakeRegionalSettings {
  std::string decimal_separator = ".";
};

}  // namespace qmzentrel::fakes
