// Showing the simulator's form: the stored values, the buttons, and the place of the window.
#include "platform/message_loop.h"
#include "platform/number.h"
#include "simulator/frmZentrelSim.h"
#include "simulator/simulator_values.h"
#include "support/conversion.h"
#include "support/run_time_error.h"

namespace qmzentrel::simulator {
namespace {

using platform::DialogButton;
using platform::DialogList;
using platform::DialogText;

// Stored values and what stands for a missing one.
constexpr std::int32_t kNeverStored = -1;  // the interface byte with every bit set
constexpr std::int32_t kUtil = 60;
constexpr const char* kXpdrVersion = "4.0";
constexpr const char* kZentrelVersion = "1.3";
constexpr const char* kBattery = "5.20";

// Name of the window's place among the component's keys.
constexpr const char* kPlaceName = "Simulator";

constexpr const char* kUnsavedNotice =
    "The values cannot be stored: access to the registry is denied. They hold until the program "
    "ends, and the next one starts from what was stored before.";

// A text that is no number is shown as it is.
std::string Formatted(const std::string& text, const char* format) {
  const auto number = NumericValue(text);
  return number ? platform::FormatNumber(*number, format) : text;
}

// The user may point and choose while the dialog is up; the command is at work again afterwards.
class PointerAtDialog {
 public:
  PointerAtDialog() { platform::SetPointer(platform::PointerShape::kArrow); }
  ~PointerAtDialog() { platform::SetPointer(platform::PointerShape::kHourglass); }
  PointerAtDialog(const PointerAtDialog&) = delete;
  PointerAtDialog& operator=(const PointerAtDialog&) = delete;
};

}  // namespace

void frmZentrelSim::ShowRead() {
  ErrorFrame frame(fields_, "ShowRead");
  frame.Run([&] {
    STEP ShowStoredValues();
    STEP Show("Zentrel Simulator - Read");
    STEP platform::YieldingWait().Turn(0);
  });
}

void frmZentrelSim::ShowFactoryTest() {
  ErrorFrame frame(fields_, "ShowFactoryTest");
  frame.Run([&] { STEP Show("Zentrel Simulator - Factory Test"); });
}

void frmZentrelSim::ShowWrite() {
  ErrorFrame frame(fields_, "ShowWrite");
  frame.Run([&] { STEP Show("Zentrel Simulator - Write"); });
}

void frmZentrelSim::Show(const char* caption) {
  if (!box_texts_shown_) ShowBoxTexts();  // a write before any read finds a number there
  content_.caption = caption;
  content_.notice = SimulatorValuesAreStored() ? "" : kUnsavedNotice;
  const PointerAtDialog pointer;
  const bool shown = platform::ShowSimulatorDialog(content_, *this);
  if (!shown)
    throw RunTimeError{kErrorInvalidCall, "The simulator needs a desktop to show its window"};
}

void frmZentrelSim::ShowStoredValues() {
  Reading(ReadSimulatorNumber("Reading", 0));
  Tamper(ReadSimulatorNumber("Tamper", 0));
  Threshold(ReadSimulatorNumber("Threshold", 0));
  Util(ReadSimulatorNumber("Util", kUtil));
  Xpdr(ReadSimulatorNumber("Xpdr", 0));
  const std::int32_t mif = ReadSimulatorNumber("MIF", kNeverStored);
  MIF(mif & MIF_MASK_TYPE);
  MIFSelect((mif & MIF_MASK_2IF) != 0);
  IDToggle((mif & MIF_MASK_IDT) != 0);
  TXI(ReadSimulatorNumber("TXI", 0));
  MSI(ReadSimulatorNumber("MSI", 0));
  FormList versions(*this, DialogList::cboVersion);
  modCOM_CboLstHelpers::SelectByText(versions, ReadSimulatorText("XpdrVersion", kXpdrVersion));
  SelectData(DialogList::cboSignature0, ReadSimulatorNumber("Signature0", 0));
  SelectData(DialogList::cboSignature1, ReadSimulatorNumber("Signature1", 0));
  ShowBoxTexts();
}

void frmZentrelSim::ShowBoxTexts() {
  const auto show = [this](DialogText text, const std::string& shown) {
    content_.Of(text) = shown;
  };
  show(DialogText::txtZentrelVersion,
       Formatted(ReadSimulatorText("Version", kZentrelVersion), "0.0"));
  show(DialogText::txtBattery, Formatted(ReadSimulatorText("Battery", kBattery), "0.00"));
  box_texts_shown_ = true;
}

// --- Buttons ---

void frmZentrelSim::ButtonPressed(DialogButton button) {
  switch (button) {
    case DialogButton::cmdOK:
      return cmdOK_Click();
    case DialogButton::cmdNoXpdr:
      return cmdNoXpdr_Click();
    case DialogButton::cmdNoZentrel:
      return cmdNoZentrel_Click();
  }
}

void frmZentrelSim::cmdOK_Click() {
  ErrorFrame frame(fields_, "cmdOK_Click");
  frame.Run([&] {
    STEP WriteSimulatorValue("Reading", Reading());
    STEP WriteSimulatorValue("Tamper", Tamper());
    STEP WriteSimulatorValue("Threshold", Threshold());
    STEP WriteSimulatorValue("Util", Util());
    STEP WriteSimulatorValue("Xpdr", Xpdr());
    STEP WriteSimulatorValue("MIF", (MIF() & MIF_MASK_TYPE) | (IDToggle() ? MIF_MASK_IDT : 0) |
                                        (MIFSelect() ? MIF_MASK_2IF : 0));
    STEP WriteSimulatorValue("TXI", TXI());
    STEP WriteSimulatorValue("MSI", MSI());
    STEP WriteSimulatorValue("XpdrVersion", XpdrVersion());
    STEP StoreBoxValues();
    // Never restored: the box keeps what it showed last, and testers count on that.
    STEP WriteSimulatorValue("EOL", std::int32_t{EOL() ? 1 : 0});
    STEP Answer(S_OKAY, S_OKAY);
  });
}

void frmZentrelSim::cmdNoXpdr_Click() {
  ErrorFrame frame(fields_, "cmdNoXpdr_Click");
  frame.Run([&] {
    STEP StoreBoxValues();
    STEP Answer(S_TIMEOUT, S_OKAY);
  });
}

void frmZentrelSim::cmdNoZentrel_Click() {
  ErrorFrame frame(fields_, "cmdNoZentrel_Click");
  frame.Run([&] { STEP Answer(S_TIMEOUT, S_TIMEOUT); });
}

void frmZentrelSim::StoreBoxValues() const {
  WriteSimulatorValue("Signature0", Signature(0));
  WriteSimulatorValue("Signature1", Signature(1));
  WriteSimulatorValue("Version", ZentrelVersion());
  WriteSimulatorValue("Battery", Battery());
}

void frmZentrelSim::Answer(ZentrelStatus status, ZentrelStatus next_status) {
  m_Status = status;
  m_NextStatus = next_status;
  platform::HideSimulatorDialog();
}

// --- The window's place ---

void frmZentrelSim::Placing(platform::WindowPlace& place) {
  if (window_) {
    place.left = window_->place.left;
    place.top = window_->place.top;
  } else {
    window_.emplace().place = place;
    modCOM_FormHelpers::Form_RestoreState(*window_, "", kPlaceName);
    place = window_->place;
  }
  // Since then a screen may have gone, or a bar has come to its edge.
  place = platform::MovedInto(platform::WorkAreaNearest(place), place);
}

void frmZentrelSim::Hiding(const platform::WindowPlace& place) {
  window_.emplace().place = place;
}

void frmZentrelSim::Form_Unload() {
  ErrorFrame frame(fields_, "Form_Unload");
  frame.Run([&] {
    STEP if (window_) modCOM_FormHelpers::Form_SaveState(*window_, true, "", kPlaceName);
  });
}

// --- For the error report ---

std::string frmZentrelSim::DumpFields() const {
  const auto status = [](const char* name, ZentrelStatus value) {
    return DumpVariable(name, static_cast<std::int32_t>(value));
  };
  return DumpVariables(VARIABLES(g_strKeyZentrelSim, m_lngMIFsAvailable, m_lngSelectedMIF)) +
         status("m_Status", m_Status) + status("m_NextStatus", m_NextStatus);
}

}  // namespace qmzentrel::simulator
