#include "support/variables.h"

#include <algorithm>

namespace qmzentrel {

std::string DumpVariables(std::string_view names, const DumpFunction* functions,
                          const void* const* addresses) {
  constexpr std::string_view kSeparator = ", ";
  std::string text;
  for (std::size_t i = 0; functions[i] != nullptr; ++i) {
    const std::size_t end = std::min(names.find(kSeparator), names.size());
    text += functions[i](names.substr(0, end), addresses[i]);
    names.remove_prefix(std::min(end + kSeparator.size(), names.size()));
  }
  return text;
}

std::string VariableList::Dump() const {
  if (functions_ == nullptr) return {};
  return DumpVariables(names_, functions_, addresses_.data());
}

}  // namespace qmzentrel
