// Every test with a box: the library in a single-threaded apartment, a serial port, a virtual box.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>

#include "tests/clients/box_client.h"
#include "tests/clients/box_control.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::clients {

/// Every test finds the box as new. The environment says where it is (QMZ_PORT, QMZ_BOX_CONTROL)
/// and which library is tested (QMZ_DLL); without it every test fails. The second box and its port
/// are named by QMZ_SECOND_BOX_CONTROL and QMZ_SECOND_PORT.
class BoxTest : public testing::Test {
 protected:
  void SetUp() override;

  static BoxControl& Box();
  static std::int32_t Port() { return virtual_box::NumberFromEnvironment("QMZ_PORT").value(); }

  /// Another box on another port; whoever uses it resets it.
  static BoxControl& Second();
  static std::int32_t SecondPort() {
    return virtual_box::NumberFromEnvironment("QMZ_SECOND_PORT").value();
  }

  static void Open(BoxClient& client, bool maintain_supply = true);
  /// The same, and lets the object learn that the box is of the electric kind, which it then
  /// gives half a second to answer instead of two and a half. Leaves the log of the box empty.
  static void OpenElectric(BoxClient& client, bool maintain_supply = true);
};

/// Milliseconds since it was made.
class Stopwatch {
 public:
  DWORD Ms() const { return GetTickCount() - begin_; }

 private:
  DWORD begin_ = GetTickCount();
};

}  // namespace qmzentrel::clients
