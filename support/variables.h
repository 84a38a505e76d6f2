// Variables of whatever types with their names, as text for the error report.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "support/dump_variable.h"

/// Variables that the report shows in this order, by these names.
#define VARIABLES(...) ::qmzentrel::Variables(#__VA_ARGS__ __VA_OPT__(, ) __VA_ARGS__)

namespace qmzentrel {

/// Renders one variable, whose type it knows.
using DumpFunction = std::string (*)(std::string_view name, const void* variable);

namespace internal {

template <class T>
std::string DumpAt(std::string_view name, const void* variable) {
  return DumpVariable(name, *static_cast<const T*>(variable));
}

// One for each, and a null.
template <class... T>
inline constexpr std::array<DumpFunction, sizeof...(T) + 1> kDumpFunctions{DumpAt<T>...};

}  // namespace internal

/// Refers to the variables. `names` are those that the report shows: "lngFirst, lngLast".
template <class... T>
struct Variables {
  explicit Variables(const char* listed, const T&... variables)
      : names(listed), addresses{&variables...} {}

  const char* names;
  std::array<const void*, sizeof...(T)> addresses;
};

/// The same, whatever the types. It has room for the longest list of a procedure and writes only
/// what it refers to, so that a frame costs no more than its procedure shows.
// NOLINTBEGIN(cppcoreguidelines-pro-type-member-init)
class VariableList {
 public:
  static constexpr std::size_t kMost = 8;

  VariableList() = default;
  template <class... T>
  explicit VariableList(const Variables<T...>& variables)
      : names_(variables.names), functions_(internal::kDumpFunctions<T...>.data()) {
    static_assert(sizeof...(T) <= kMost);
    for (std::size_t i = 0; i < sizeof...(T); ++i) addresses_[i] = variables.addresses[i];
  }
  VariableList(const VariableList&) = delete;
  VariableList& operator=(const VariableList&) = delete;

  /// An entry for each.
  std::string Dump() const;

 private:
  const char* names_;
  const DumpFunction* functions_ = nullptr;  // null: there are no variables
  std::array<const void*, kMost> addresses_;
};
// NOLINTEND(cppcoreguidelines-pro-type-member-init)

/// An entry for each variable, as many as there are functions before the null.
std::string DumpVariables(std::string_view names, const DumpFunction* functions,
                          const void* const* addresses);

template <class... T>
std::string DumpVariables(const Variables<T...>& variables) {
  return DumpVariables(variables.names, internal::kDumpFunctions<T...>.data(),
                       variables.addresses.data());
}

}  // namespace qmzentrel
