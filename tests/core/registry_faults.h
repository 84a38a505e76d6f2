// Requests to the registry that fail, and those that were made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/contract/registry_codes.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::tests {

/// Makes every `call` fail with `code`.
inline void FailRegistry(const std::string& call, std::int32_t code = kAccessDenied) {
  fakes::TheWorld().registry_fault = [=](const std::string& made, const std::string&) {
    return made == call ? std::optional(code) : std::nullopt;
  };
}

/// Makes `call` about `subject` fail with `code` for the next `times` times.
inline void FailRegistry(const std::string& call, const std::string& subject, std::int32_t code,
                         int times = 1) {
  fakes::TheWorld().registry_fault =
      [=, left = times](const std::string& made,
                        const std::string& about) mutable -> std::optional<std::int32_t> {
    if (made != call || about != subject || left == 0) return std::nullopt;
    --left;
    return code;
  };
}

/// What the calls of this name were about, in their order.
inline std::vector<std::string> RegistryCallsOf(const std::string& call) {
  std::vector<std::string> subjects;
  for (const std::string& line : fakes::TheWorld().registry_calls) {
    if (line.starts_with(call + " ")) subjects.push_back(line.substr(call.size() + 1));
  }
  return subjects;
}

}  // namespace qmzentrel::tests
