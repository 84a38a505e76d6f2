// A client's combo box, which may be a control of any library, a script's object, or a wrapper.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/late_bound.h"
#include "support/modCOM_CboLstHelpers.h"

namespace qmzentrel {

/// What the client's object refuses is raised with the number that it gives.
class ComboBox : public modCOM_CboLstHelpers::ItemList {
 public:
  /// Whether the object is a combo box. The name of its type decides; a name that ends neither in
  /// "ComboBox" nor in "ListBox" leaves it to the members, of which only a list box has "Selected".
  static bool IsComboBox(const LateBound& object);

  explicit ComboBox(const LateBound& object) : object_(object) {}

  void Clear() { object_.Call("Clear"); }
  void AddItem(const std::string& text) { object_.Call("AddItem", {text}); }
  void AddItem(const std::string& text, std::int32_t data);

  std::int32_t ListCount() const override { return object_.Number("ListCount"); }
  std::string List(std::int32_t index) const override { return object_.Text("List", {index}); }
  std::int32_t ItemData(std::int32_t index) const override {
    return object_.Number("ItemData", {index});
  }
  void ListIndex(std::int32_t index) override { object_.Let("ListIndex", {}, index); }
  std::string Dump(std::string_view name) const override { return DumpVariable(name, object_); }

 private:
  LateBound object_;
};

}  // namespace qmzentrel
