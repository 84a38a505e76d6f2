// Many boxes, each behind a port of its own.
#pragma once

#include <cstdint>
#include <string>

#include "tests/clients/box_control.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::clients {

/// How many boxes scripts/with_crowd has started, or hard_use_main.cpp.
inline int CrowdSize() {
  return virtual_box::NumberFromEnvironment("QMZ_CROWD").value();
}

/// The port of box `index`, counted from 0.
inline std::int32_t CrowdPort(int index) {
  return virtual_box::NumberFromEnvironment("QMZ_CROWD_FIRST_PORT").value() + index;
}

/// The hold on box `index`, which is as new then, and of the kind that is given 2.5 s to answer:
/// how many programs share the machine with it shall not count.
class CrowdBox : public BoxControl {
 public:
  explicit CrowdBox(int index)
      : BoxControl(("QMZ_BOX_CONTROL_" + std::to_string(CrowdPort(index))).c_str()) {
    Reset();
    Tell("set signature0 0xA5");
  }
};

}  // namespace qmzentrel::clients
