// The port of the box, as far as its owner sees it.
#include "device/port_control.h"

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using platform::ModemLines;

class PortControlTest : public CoreTest {
 protected:
  static constexpr PortSettings kSettings{.number = 7, .link = {}};

  static fakes::FakePort& Port() { return TheWorld().ports[kSettings.number]; }

  PortControl control_;
};

TEST_F(PortControlTest, TellsWhyItCouldNotBeOpened) {
  control_.Open(kSettings);
  EXPECT_FALSE(control_.IsOpen());
  EXPECT_EQ(control_.OpenError(), platform::kPortMissing);

  Port().open = true;  // by another program
  control_.Open(kSettings);
  EXPECT_FALSE(control_.IsOpen());
  EXPECT_EQ(control_.OpenError(), platform::kPortInUse);

  Port().open = false;
  Port().refuses_settings = true;
  control_.Open(kSettings);
  EXPECT_FALSE(control_.IsOpen());
  EXPECT_EQ(control_.OpenError(), 87);  // what the driver says

  Port().refuses_settings = false;
  control_.Open(kSettings);
  EXPECT_TRUE(control_.IsOpen());
  EXPECT_EQ(control_.OpenError(), 0);
}

TEST_F(PortControlTest, OpensWithTheSettingsThatItIsGivenEachTime) {
  Port();
  control_.Open({.number = 7, .link = {.baud_rate = 4800, .parity = 2, .data_bits = 7}});
  EXPECT_EQ(Port().settings.baud_rate, 4800);
  EXPECT_EQ(Port().settings.parity, 2);
  EXPECT_EQ(Port().settings.data_bits, 7);
  EXPECT_EQ(Port().settings.stop_bits, platform::kTwoStopBits);
  control_.Open(kSettings);
  EXPECT_EQ(Port().settings.baud_rate, 9600);
}

TEST_F(PortControlTest, RemembersTheSupplyWhileItIsClosed) {
  Port();
  control_.Supply(1);
  control_.Open(kSettings);
  EXPECT_EQ(Port().lines, ModemLines{.dtr = true});
  control_.Close();
  EXPECT_EQ(Port().lines, ModemLines{});
  control_.Open(kSettings);
  EXPECT_EQ(Port().lines, ModemLines{.dtr = true});
}

}  // namespace
}  // namespace qmzentrel::tests
