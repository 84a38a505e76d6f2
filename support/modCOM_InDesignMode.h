// The design-time test.
#pragma once

namespace qmzentrel::modCOM_InDesignMode {

/// True only while the component runs inside its development environment. A built component never
/// does: it runs in its clients.
constexpr bool InDesignMode() {
  return false;
}

}  // namespace qmzentrel::modCOM_InDesignMode
