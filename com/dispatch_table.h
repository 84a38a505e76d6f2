// The members of the class as late-bound clients see them.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "com/dispatch_argument.h"
#include "com/procedure.h"

namespace qmzentrel::com {

inline constexpr std::size_t kMostParameters = 3;

/// A method has only `method`; a property has `get`, `let` or both. What it has not is null.
struct Member {
  const wchar_t* name = nullptr;
  DISPID id = DISPID_UNKNOWN;
  const Procedure* method = nullptr;
  const Procedure* get = nullptr;
  const Procedure* let = nullptr;
  /// Of what the method or the get procedure answers and the let procedure takes.
  VARTYPE type = VT_EMPTY;
  /// Of the method or the get procedure; the rest have no name.
  std::array<Parameter, kMostParameters> parameters{};

  std::span<const Parameter> Parameters() const {
    std::size_t count = 0;
    while (count < parameters.size() && parameters[count].name != nullptr) ++count;
    return {parameters.data(), count};
  }
};

/// The member with that identifier, null when there is none.
const Member* FindMember(DISPID id);

/// The member with that name in any case of its letters, null when there is none.
const Member* FindMember(std::wstring_view name);

/// The place of a parameter of `member`, which is its dispatch identifier as well, or
/// DISPID_UNKNOWN.
DISPID FindParameter(const Member& member, std::wstring_view name);

}  // namespace qmzentrel::com
