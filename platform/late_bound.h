// Automation objects whose members are known by name only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/late_value.h"

namespace qmzentrel::platform {

/// An automation object that somebody else holds for as long as it is used here; null is nothing.
struct ClientObject {
  void* object = nullptr;  ///< an IDispatch of the operating system
};

/// What an object is given, in the order of the member's parameters. Text is UTF-8.
using LateArgument = std::variant<std::int32_t, std::string>;
using LateArguments = std::span<const LateArgument>;

/// Why a member could not be called or failed: a classic automation number where there is one, else
/// the operating system's result code. The texts are the object's own and may be empty.
struct LateFailure {
  std::int32_t number;
  std::string source;
  std::string description;
};

/// The name of the object's class where it tells one, else of its interface; empty when it has no
/// type information.
std::string LateTypeName(ClientObject object);

/// Whether the object knows the name, in any case of its letters.
bool LateHasMember(ClientObject object, std::string_view name);

/// Calls a method and lets go of what it returns.
std::optional<LateFailure> LateCall(ClientObject object, std::string_view name,
                                    LateArguments arguments);

/// Reads a property as a 32-bit number, converted as automation does.
std::optional<LateFailure> LateGet(ClientObject object, std::string_view name,
                                   LateArguments arguments, std::int32_t& value);

/// Reads a property as text, converted as automation does.
std::optional<LateFailure> LateGet(ClientObject object, std::string_view name,
                                   LateArguments arguments, std::string& value);

/// Sets a property, `arguments` being its indices.
std::optional<LateFailure> LateLet(ClientObject object, std::string_view name,
                                   LateArguments arguments, const LateArgument& value);

/// A new object of the class that is registered under `programmatic_identifier`; null when there is
/// none or it cannot be made.
HeldObject CreateLateObject(std::string_view programmatic_identifier);

/// Whether the object carries data to be pasted or dropped.
bool IsDataObject(ClientObject object);

/// More members than anybody reads in a report; a list longer than this is taken for endless.
inline constexpr std::size_t kMostLateMembers = 10'000;

/// The members of an object that can be enumerated, nothing when it cannot. More than
/// kMostLateMembers are error 7.
std::optional<LateFailure> LateMembers(ClientObject object,
                                       std::optional<std::vector<LateValue>>& members);

/// The value of an object's default member; error 438 when it has none.
std::optional<LateFailure> LateDefault(ClientObject object, LateValue& value);

}  // namespace qmzentrel::platform
