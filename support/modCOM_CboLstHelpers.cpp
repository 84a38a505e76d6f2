#include "support/modCOM_CboLstHelpers.h"

#include "platform/text.h"
#include "support/error_frame.h"

namespace qmzentrel::modCOM_CboLstHelpers {
namespace {

constexpr ModuleFields kFields = NoFields("modCOM_CboLstHelpers");

}  // namespace

std::string DumpVariable(std::string_view name, const ItemList& list) {
  return list.Dump(name);
}

bool SelectByItemData(ItemList& list, std::int32_t lngData) {
  std::int32_t lngIndex = 0;
  std::int32_t lngCount = 0;
  ErrorFrame frame(kFields, "SelectByItemData", PARAMETERS(list, lngData),
                   LOCALS(lngIndex, lngCount));
  return frame.Run([&] {
    STEP lngCount = list.ListCount();
    STEP for (; lngIndex < lngCount; ++lngIndex) {
      STEP if (list.ItemData(lngIndex) != lngData) continue;
      STEP list.ListIndex(lngIndex);
      return true;
    }
    return false;
  });
}

bool SelectByText(ItemList& list, const std::string& strText) {
  std::int32_t lngIndex = 0;
  std::int32_t lngCount = 0;
  ErrorFrame frame(kFields, "SelectByText", PARAMETERS(list, strText), LOCALS(lngIndex, lngCount));
  return frame.Run([&] {
    STEP lngCount = list.ListCount();
    STEP for (; lngIndex < lngCount; ++lngIndex) {
      STEP if (platform::CompareTextNoCase(list.List(lngIndex), strText) != 0) continue;
      STEP list.ListIndex(lngIndex);
      return true;
    }
    STEP list.ListIndex(-1);
    return false;
  });
}

}  // namespace qmzentrel::modCOM_CboLstHelpers
