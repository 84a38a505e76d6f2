// Objects of a client in memory.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/late_bound.h"
#include "tests/fakes/fake_registry.h"

namespace qmzentrel::fakes {

/// An object whose members are functions of the test.
struct FakeObject {
  using Arguments = std::vector<platform::LateArgument>;
  /// Gets the arguments and for a let the value as the last; gives the value of a property. Throws
  /// a platform::LateFailure to fail.
  using Member = std::function<platform::LateArgument(const Arguments& arguments)>;

  std::string type_name;
  std::map<std::string, Member, NoCaseLess> methods;
  std::map<std::string, Member, NoCaseLess> gets;
  std::map<std::string, Member, NoCaseLess> lets;

  bool is_data_object = false;
  std::optional<std::vector<platform::LateValue>> members;
  /// Throws a platform::LateFailure to fail; without it the object has no default member.
  std::function<platform::LateValue()> default_value;

  platform::ClientObject Handle() { return {this}; }
};

struct FakeClasses {
  /// Classes that can be created, by programmatic identifier; null is a creation that fails.
  std::map<std::string, std::function<platform::HeldObject()>> classes;
};

}  // namespace qmzentrel::fakes
