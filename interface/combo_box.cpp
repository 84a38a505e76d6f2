#include "interface/combo_box.h"

#include <algorithm>

namespace qmzentrel {

bool ComboBox::IsComboBox(const LateBound& object) {
  if (object.IsNothing()) return false;
  const std::string type_name = object.TypeName();
  if (type_name.ends_with("ComboBox")) return true;
  if (type_name.ends_with("ListBox")) return false;
  const auto has = [&object](const char* name) { return object.HasMember(name); };
  constexpr const char* kMembers[] = {"Clear", "AddItem", "NewIndex", "ItemData"};
  return std::ranges::all_of(kMembers, has) && !has("Selected");
}

void ComboBox::AddItem(const std::string& text, std::int32_t data) {
  AddItem(text);
  object_.Let("ItemData", {object_.Number("NewIndex")}, data);  // a sorted box has its own order
}

}  // namespace qmzentrel
