// Lists of sub-devices and their messages in a client's combo box.
#include "device/Zentrel.h"
#include "interface/combo_box.h"
#include "interface/telic2_catalog.h"
#include "interface/telic2_frame.h"
#include "support/modCOM_Hex.h"

namespace qmzentrel {
namespace {

// Stands first in every list of messages: sends nothing.
constexpr const char* kNoMessageText = "NOP";

catalogs::AddEntry AddMessageTo(ComboBox& box) {
  return [&box](std::int32_t message, const std::string& name) {
    box.AddItem(modCOM_Hex::HexPad(message, 2) + " " + name, message);
  };
}

}  // namespace

void Zentrel::TELIC2Device(const std::string& New_Value) {
  ErrorFrame frame(Fields(), "TELIC2Device", PARAMETERS(New_Value));
  frame.Run([&] {
    STEP m_strTELIC2Device = New_Value;
    STEP m_strTELIC2RegRoot = catalogs::DeviceKey(New_Value);
  });
}

bool Zentrel::TELIC2EnumDevices(const LateBound& cbo) const {
  std::vector<std::string> strDevices;
  ErrorFrame frame(Fields(), "TELIC2EnumDevices", PARAMETERS(cbo), LOCALS(strDevices));
  return frame.Run([&] {
    STEP if (!ComboBox::IsComboBox(cbo)) return false;
    STEP strDevices = catalogs::DeviceTypes();
    STEP ComboBox box(cbo);
    STEP box.Clear();
    STEP for (const std::string& device : strDevices) {
      STEP box.AddItem(device);
    }
    return !strDevices.empty();
  });
}

bool Zentrel::TELIC2EnumMessages(const LateBound& cbo, std::int32_t Default) const {
  ErrorFrame frame(Fields(), "TELIC2EnumMessages", PARAMETERS(cbo, Default));
  return frame.Run([&] {
    STEP if (!ComboBox::IsComboBox(cbo)) return false;
    STEP const catalogs::MessageList messages(m_strTELIC2Device.empty() ? "" : m_strTELIC2RegRoot);
    STEP ComboBox box(cbo);
    STEP box.Clear();
    STEP box.AddItem(kNoMessageText, telic2::kNoMessage);
    STEP messages.Offer(AddMessageTo(box));
    STEP modCOM_CboLstHelpers::SelectByItemData(box, Default);
    return true;
  });
}

bool Zentrel::TELIC2EnumTestMessages(const LateBound& cbo, std::int32_t Default) const {
  ErrorFrame frame(Fields(), "TELIC2EnumTestMessages", PARAMETERS(cbo, Default));
  return frame.Run([&] {
    STEP if (!ComboBox::IsComboBox(cbo)) return false;
    STEP const catalogs::TestMessageList messages(m_strTELIC2RegRoot);
    STEP ComboBox box(cbo);
    STEP box.Clear();
    STEP box.AddItem(kNoMessageText, telic2::kNoMessage);
    STEP messages.Offer(AddMessageTo(box));
    STEP box.AddItem("Invalid", catalogs::kInvalidTestMessage);
    STEP modCOM_CboLstHelpers::SelectByItemData(box, Default);
    return true;
  });
}

}  // namespace qmzentrel
