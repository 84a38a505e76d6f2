// Selecting in list and combo boxes by data or text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmzentrel::modCOM_CboLstHelpers {

/// A list or combo box: items counted from 0, each with a text and a number.
class ItemList {
 public:
  virtual ~ItemList() = default;
  virtual std::int32_t ListCount() const = 0;
  virtual std::string List(std::int32_t index) const = 0;
  virtual std::int32_t ItemData(std::int32_t index) const = 0;
  /// Selects an item; -1 selects none.
  virtual void ListIndex(std::int32_t index) = 0;
  /// The box by its default member, for the error report.
  virtual std::string Dump(std::string_view name) const = 0;
};

/// For the error report.
std::string DumpVariable(std::string_view name, const ItemList& list);

/// Selects the first item with that number. False when there is none; then the selection stays.
bool SelectByItemData(ItemList& list, std::int32_t lngData);

/// Selects the first item with that text, in any case of its letters. False when there is none;
/// then nothing is selected.
bool SelectByText(ItemList& list, const std::string& strText);

}  // namespace qmzentrel::modCOM_CboLstHelpers
