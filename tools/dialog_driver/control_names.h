// The controls of the simulator's dialog by name, for a command line.
#pragma once

#include <span>
#include <string_view>

namespace qmzentrel::dialog_driver {

enum class ControlKind { kList, kCheck, kSpin, kText, kButton, kLabel };

struct NamedControl {
  std::wstring_view name;
  ControlKind kind;
  int id;
};

/// All of them, in the order in which they are shown.
std::span<const NamedControl> NamedControls();

/// The control with this name, null when there is none.
const NamedControl* FindControl(std::wstring_view name);

}  // namespace qmzentrel::dialog_driver
