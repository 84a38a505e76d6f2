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

  /// Without an object every other call is error 91.
  bool IsNothing() const { return object_.object == nullptr; }
  /// The name of its class or interface; empty when the object has no type information.
  std::string TypeName() const;
  /// In any case of its letters.
  bool HasMember(std::string_view name) const;

  /// Calls a method; what it returns is dropped.
  void Call(std::string_view name, Arguments arguments = {}) const;
  /// Read a property, converted as automation does.
  std::int32_t Number(std::string_view name, Arguments arguments = {}) const;
  std::string Text(std::string_view name, Arguments arguments = {}) const;
  /// Sets a property.
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
