// The members of the class as late-bound clients see them.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "com/dispatch_argument.h"

namespace qmzentrel::com {

class ZentrelObject;

/// One procedure of a member: a method, or the get or let procedure of a property.
struct Procedure {
  /// Calls the procedure. `result` has room for a value of `result_type`.
  HRESULT (*call)(ZentrelObject& object, const BoundArgument* arguments, VARIANT& result) = nullptr;
  VARTYPE result_type = VT_EMPTY;

  explicit operator bool() const { return call != nullptr; }
};

inline constexpr std::size_t kMostParameters = 3;

/// A method has only `method`; a property has `get`, `let` or both.
struct Member {
  const wchar_t* name;
  DISPID id;
  Procedure method;
  Procedure get;
  Procedure let;
  /// Of the method or the get procedure.
  std::array<Parameter, kMostParameters> parameters;
  std::size_t parameter_count;
  Parameter let_value;

  std::span<const Parameter> Parameters() const { return {parameters.data(), parameter_count}; }
};

/// The member with that identifier, null when there is none.
const Member* FindMember(DISPID id);

/// The member with that name in any case of its letters, null when there is none.
const Member* FindMember(std::wstring_view name);

/// The place of a parameter of `member`, which is its dispatch identifier as well, or
/// DISPID_UNKNOWN.
DISPID FindParameter(const Member& member, std::wstring_view name);

}  // namespace qmzentrel::com
