#include "support/modCOM_FormHelpers.h"

#include <algorithm>

#include "support/error_frame.h"
#include "support/modCOM_Registry.h"
#include "support/registry_values.h"

namespace qmzentrel::modCOM_FormHelpers {
namespace {

using platform::WindowPlace;

constexpr ModuleFields kFields = NoFields("modCOM_FormHelpers");

std::string KeyOf(const std::string& section, const std::string& key_name) {
  std::string key = modCOM_Registry::kQuenmoorKey;
  if (!section.empty()) key += section + "\\";
  return key + key_name;
}

bool CanBeSized(const FormWindow& window) {
  return window.border == BorderStyle::kNone || window.border == BorderStyle::kSizable ||
         window.border == BorderStyle::kSizableToolWindow;
}

void Write(const std::string& key, const char* name, std::int32_t number) {
  modCOM_Registry::RegSetValue(platform::kLocalMachine, key, name, number);
}

bool IsWhollyOn(const platform::ScreenSize& screen, const WindowPlace& place) {
  return place.top >= 0 && place.left >= 0 &&
         std::int64_t{place.top} + place.height <= screen.height &&
         std::int64_t{place.left} + place.width <= screen.width;
}

}  // namespace

std::string DumpVariable(std::string_view name, const FormWindow&) {
  return DumpStructureParameter(name);
}

void Form_SaveState(const FormWindow& frm, bool blnSaveSize, const std::string& strSection,
                    const std::string& strKeyName) {
  std::string strKey;
  ErrorFrame frame(kFields, "Form_SaveState", PARAMETERS(frm, blnSaveSize, strSection, strKeyName),
                   LOCALS(strKey));
  frame.Run([&] {
    STEP strKey = KeyOf(strSection, strKeyName);
    STEP if (frm.state == WindowState::kNormal) {
      STEP Write(strKey, "Top", frm.place.top);
      STEP Write(strKey, "Left", frm.place.left);
      STEP if (blnSaveSize && CanBeSized(frm)) {
        STEP Write(strKey, "Width", frm.place.width);
        STEP Write(strKey, "Height", frm.place.height);
      }
    }
    STEP Write(strKey, "State", static_cast<std::int32_t>(frm.state));
  });
}

void Form_RestoreState(FormWindow& frm, const std::string& strSection,
                       const std::string& strKeyName) {
  std::string strKey;
  ErrorFrame frame(kFields, "Form_RestoreState", PARAMETERS(frm, strSection, strKeyName),
                   LOCALS(strKey));
  frame.Run([&] {
    STEP strKey = KeyOf(strSection, strKeyName);
    STEP const modCOM_Registry::OpenKey key(platform::kLocalMachine, strKey);
    WindowPlace& place = frm.place;
    STEP place.top = registry::Number(key, "Top", place.top);
    STEP place.left = registry::Number(key, "Left", place.left);
    STEP if (CanBeSized(frm)) {
      STEP place.height = registry::Number(key, "Height", place.height);
      STEP place.width = registry::Number(key, "Width", place.width);
    }
    STEP const platform::ScreenSize screen = platform::PrimaryScreen();
    STEP place.width = std::min(place.width, screen.width);
    STEP place.height = std::min(place.height, screen.height);
    STEP if (!IsWhollyOn(screen, place)) {
      STEP place.left = screen.width / 2 - place.width / 2;
      STEP place.top = screen.height / 2 - place.height / 2;
    }
    STEP frm.state = static_cast<WindowState>(
        registry::Number(key, "State", static_cast<std::int32_t>(frm.state)));
  });
}

}  // namespace qmzentrel::modCOM_FormHelpers
