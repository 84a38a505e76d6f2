// A list control of a client's form, in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/late_bound.h"
#include "tests/fakes/fake_object.h"

namespace qmzentrel::tests {

/// Has the members of a combo box; a test takes members away, adds some, or makes them fail.
struct FakeListControl {
  /// Text and number of each item.
  using Items = std::vector<std::pair<std::string, std::int32_t>>;

  explicit FakeListControl(std::string type_name = "ComboBox") {
    object.type_name = std::move(type_name);
    using Arguments = fakes::FakeObject::Arguments;
    const auto number = [](const Arguments& arguments, std::size_t place) {
      return std::get<std::int32_t>(arguments.at(place));
    };
    const auto item = [this, number](const Arguments& arguments) -> Items::value_type& {
      return items.at(static_cast<std::size_t>(number(arguments, 0)));
    };
    object.methods["Clear"] = [this](const Arguments&) {
      ++changes;
      items.clear();
      selected = -1;
      return 0;
    };
    object.methods["AddItem"] = [this](const Arguments& arguments) {
      ++changes;
      new_index = at_the_front ? 0 : static_cast<std::int32_t>(items.size());
      items.emplace(items.begin() + new_index, std::get<std::string>(arguments.at(0)), 0);
      return 0;
    };
    object.gets["NewIndex"] = [this](const Arguments&) { return new_index; };
    object.gets["ListCount"] = [this](const Arguments&) {
      return static_cast<std::int32_t>(items.size());
    };
    object.gets["List"] = [item](const Arguments& arguments) { return item(arguments).first; };
    object.gets["ItemData"] = [item](const Arguments& arguments) { return item(arguments).second; };
    object.lets["ItemData"] = [this, item, number](const Arguments& arguments) {
      ++changes;
      item(arguments).second = number(arguments, 1);
      return 0;
    };
    object.default_value = [this]() -> platform::LateValue {
      return selected < 0 ? typed : items.at(static_cast<std::size_t>(selected)).first;
    };
    object.gets["ListIndex"] = [this](const Arguments&) { return selected; };
    object.lets["ListIndex"] = [this, number](const Arguments& arguments) {
      ++changes;
      selected = number(arguments, 0);
      return 0;
    };
  }
  FakeListControl(const FakeListControl&) = delete;
  FakeListControl& operator=(const FakeListControl&) = delete;

  LateBound Bound() { return LateBound(object.Handle()); }

  void Remove(const std::string& member) {
    object.methods.erase(member);
    object.gets.erase(member);
    object.lets.erase(member);
  }

  /// Every use of the member fails.
  void Refuse(const std::string& member, const platform::LateFailure& failure) {
    const auto fail = [failure](const auto&) -> platform::LateArgument { throw failure; };
    for (auto* members : {&object.methods, &object.gets, &object.lets}) {
      if (members->contains(member)) (*members)[member] = fail;
    }
  }

  std::string typed = "typed";  ///< in its edit box while nothing is selected
  Items items;
  std::int32_t selected = -1;
  std::int32_t new_index = -1;
  bool at_the_front = false;  ///< each item goes before all others, as a sorted box may have it
  int changes = 0;            ///< of the box, by whomever
  fakes::FakeObject object;
};

}  // namespace qmzentrel::tests
