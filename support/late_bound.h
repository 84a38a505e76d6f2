// Calls to objects of the client by the names of their members. A call that the object refuses is
// raised with the number that the object gives, as an error of the calling procedure's own.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/late_bound.h"

namespace qmzentrel {

/// Refers to an object that somebody else holds.
class LateBound {
 public:
  using Arguments = std::initializer_list<platform::LateArgument>;

  explicit LateBound(platform::ClientObject object) : object_(object) {}

  /// Every call on nothing is error 91.
  bool IsNothing() const { return object_.object == nullptr; }
  /// Empty when the object has no type information.
  std::string TypeName() const;
  bool HasMember(std::string_view name) const;

  void Call(std::string_view name, Arguments arguments = {}) const;
  std::int32_t Number(std::string_view name, Arguments arguments = {}) const;
  std::string Text(std::string_view name, Arguments arguments = {}) const;
  void Let(std::string_view name, Arguments indices, const platform::LateArgument& value) const;

  /// The object without a claim to it.
  platform::HeldObject Unowned() const;

 private:
  platform::ClientObject Object() const;

  platform::ClientObject object_;
};

/// For the error report.
std::string DumpVariable(std::string_view name, const LateBound& value);

}  // namespace qmzentrel
