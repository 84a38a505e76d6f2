#include "tests/clients/box_test.h"

#include <stdexcept>

namespace qmzentrel::clients {
namespace {

// Verify delay and hold-off compare times of day without a wrap at midnight: a test that ran across
// it would wait until the evening.
void WaitOutMidnight() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  if (now.wHour == 23 && now.wMinute == 59) Sleep((60U - now.wSecond) * 1000U);
}

}  // namespace

void BoxTest::SetUp() {
  LoadedLibrary();
  Box().Reset();
  WaitOutMidnight();
}

BoxControl& BoxTest::Box() {
  static BoxControl box("QMZ_BOX_CONTROL");
  return box;
}

BoxControl& BoxTest::Second() {
  static BoxControl box("QMZ_SECOND_BOX_CONTROL");
  return box;
}

void BoxTest::Open(BoxClient& client, bool maintain_supply) {
  if (client.Open(Port(), maintain_supply) != S_OKAY)
    throw std::runtime_error("the port does not open");
}

void BoxTest::OpenElectric(BoxClient& client, bool maintain_supply) {
  Box().Tell("set signature0 0xA6");
  Open(client, maintain_supply);
  if (client.BoxStatus() != S_OKAY) throw std::runtime_error("the box does not answer");
  Box().Tell("log-clear");
}

}  // namespace qmzentrel::clients
