// Opening, losing and closing the port of the box.
#include "platform/win32/handle.h"
#include "tests/clients/box_test.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/port_openings.h"

namespace qmzentrel::clients {
namespace {

using platform::OwnedHandle;

class BoxPort : public BoxTest {
 protected:
  // A port that no machine has.
  static constexpr std::int32_t kMissingPort = 251;
  // Far less than any wait for the box: what takes no longer has not waited.
  static constexpr DWORD kAtOnceMs = 400;
  // The wait for the rest of a reply; the timer of the machine may end it a little early.
  static constexpr DWORD kRestMs = 12500;
  static constexpr DWORD kTimerMs = 16;

  // Leaves the port with settings that no box understands, as another program may.
  static void MisadjustPort() {
    const std::wstring name = L"\\\\.\\COM" + std::to_wstring(Port());
    const OwnedHandle port(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(port.IsValid());
    DCB block{};
    block.DCBlength = sizeof block;
    block.BaudRate = CBR_1200;
    block.fBinary = TRUE;
    block.fParity = TRUE;
    block.ByteSize = 7;
    block.Parity = EVENPARITY;
    block.StopBits = ONESTOPBIT;
    block.fOutX = TRUE;
    block.fInX = TRUE;
    block.XonChar = 0x11;
    block.XoffChar = 0x13;
    ASSERT_TRUE(SetCommState(port.Get(), &block));
  }

  BoxClient client;
};

BOX_TEST(BoxPort, IsSetToTheSettingsOfTheBoxWhateverTheyWere) {
  MisadjustPort();
  // A pseudo-terminal knows eight bits without parity only.
  ASSERT_EQ(Box().Tell("port-settings"), "1200 8 N 1");
  // Characters of the flow control that another program left on must pass as data.
  Box().Tell("set version 5.0 util 0x11 tamper 0x13 signature0 0xA6");
  ASSERT_EQ(client.Open(Port(), true), S_OKAY);
  EXPECT_EQ(Box().Tell("port-settings"), "9600 8 N 2");
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 0x11);
  EXPECT_EQ(client.Get(&_Zentrel::get_Tamper), 0x13);
}

BOX_TEST(BoxPort, EveryByteValuePassesBothWays) {
  Box().Tell("set version 5.0 pace 0");  // at their real pace the bytes would take 15 seconds
  Open(client);
  client.Let(&_Zentrel::put_VDelay, 0);
  for (LONG value = 0; value < 256; ++value) {
    client.Let(&_Zentrel::put_Util, value);
    ASSERT_EQ(client.Write(), S_OKAY) << value;
    ASSERT_EQ(client.Get(&_Zentrel::get_Util), value);
    ASSERT_EQ(Box().Tell("get util"), std::to_string(value));
  }
}

BOX_TEST(BoxPort, IsOpenedAndRead) {
  ASSERT_EQ(client.Open(Port(), true), S_OKAY);
  EXPECT_EQ(client.Init(), S_OKAY);
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(client.Close(), S_OKAY);
  EXPECT_EQ(Box().Frames().size(), 6U);
  EXPECT_EQ(Box().Supply(), (Journal{"on", "off"}));
}

BOX_TEST(BoxPort, ThatDoesNotExistIsABadPort) {
  for (const std::int32_t number : {kMissingPort, 0, -1}) {
    EXPECT_EQ(client.Open(number, true), S_BAD_PORT) << number;
    EXPECT_EQ(client.BoxStatus(), S_BAD_PORT) << number;
  }
  EXPECT_EQ(client.Open(Port(), true), S_OKAY) << "the object stays usable";
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
}

BOX_TEST(BoxPort, ThatIsAFileIsABadPort) {
  const std::int32_t port = virtual_box::NumberFromEnvironment("QMZ_FILE_PORT").value();
  EXPECT_EQ(client.Open(port, true), S_BAD_PORT);
}

BOX_TEST(BoxPort, IsAskedForExclusivelyAndByItsDeviceName) {
  PortOpenings openings(LoadedLibrary().module);
  ASSERT_EQ(client.Open(Port(), true), S_OKAY);
  ASSERT_EQ(openings.seen.size(), 1U);
  EXPECT_EQ(openings.seen[0].device, L"\\\\.\\COM" + std::to_wstring(Port()));
  EXPECT_EQ(openings.seen[0].share_mode, 0U);
}

BOX_TEST(BoxPort, ThatAnotherProgramHoldsIsABadPort) {
  PortOpenings openings(LoadedLibrary().module);
  for (const DWORD error : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_SHARING_VIOLATION}}) {
    openings.Refuse(error);
    EXPECT_EQ(client.Open(Port(), true), S_BAD_PORT);
    EXPECT_EQ(client.BoxStatus(), S_BAD_PORT);
    openings.Allow();
    EXPECT_EQ(client.Open(Port(), true), S_OKAY);
    EXPECT_EQ(client.BoxStatus(), S_OKAY);
  }
}

BOX_TEST(BoxPort, IsClosedWhenAnotherOneIsOpened) {
  Second().Reset();
  Open(client);
  ASSERT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(client.Open(SecondPort(), true), S_OKAY);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Box().Frames().size(), 2U);
  EXPECT_EQ(Second().Frames().size(), 2U);
}

BOX_TEST(BoxPort, ThatIsPulledOutReadsAsSilenceUntilItIsOpenedAgain) {
  OpenElectric(client);
  Box().Tell("unplug");
  EXPECT_EQ(client.Reset(), S_TIMEOUT);
  EXPECT_EQ(client.Open(Port(), true), S_BAD_PORT);
  EXPECT_EQ(client.Reset(), S_BAD_PORT);
  Box().Tell("plug");
  EXPECT_EQ(client.Open(Port(), true), S_OKAY);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
}

BOX_TEST(BoxPort, ThatWasPulledOutAndPluggedInStaysSilentUntilItIsOpenedAgain) {
  OpenElectric(client);
  Box().Tell("unplug");
  Box().Tell("plug");
  EXPECT_EQ(client.Reset(), S_TIMEOUT);
  EXPECT_EQ(client.Open(Port(), true), S_OKAY);
  EXPECT_EQ(client.Reset(), S_OKAY);
}

// Each takes as long as the rest of a reply may take, so they are tested side by side.
BOX_TEST(BoxPort, ThatIsPulledOutWithinAReplyIsABadResponseAsAReplyIsThatStopsShort) {
  OpenElectric(client);
  Second().Reset();
  Second().Tell("truncate 1 6");
  ZentrelStatus stopped = S_OKAY;
  DWORD stopped_ms = 0;
  OtherApartment apartment(COINIT_APARTMENTTHREADED, [&] {
    BoxClient other;
    other.Open(SecondPort(), true);
    const Stopwatch time;
    stopped = other.BoxStatus();
    stopped_ms = time.Ms();
  });
  Box().Tell("unplug-at 3");
  EXPECT_EQ(client.BoxStatus(), S_BAD_RESPONSE);
  const Stopwatch closing;
  EXPECT_EQ(client.Close(), S_OKAY);
  EXPECT_LT(closing.Ms(), kAtOnceMs);
  Box().Tell("plug");
  EXPECT_EQ(client.Open(Port(), true), S_OKAY);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);

  apartment.Join();
  EXPECT_EQ(stopped, S_BAD_RESPONSE);
  EXPECT_GE(stopped_ms, kRestMs - kTimerMs);
  EXPECT_EQ(Second().Frames(), (Journal{"> 80", "< 21 85 A6 00 00 00"}));
}

BOX_TEST(BoxPort, ThatIsPulledOutIsClosedAtOnce) {
  Open(client);
  ASSERT_EQ(client.BoxStatus(), S_OKAY);
  Box().Tell("unplug");
  const Stopwatch closing;
  EXPECT_EQ(client.Close(), S_OKAY);
  client.Release();
  EXPECT_LT(closing.Ms(), kAtOnceMs);
}

BOX_TEST(BoxPort, IsClosedAtOnceWhileAReplyIsOnItsWay) {
  OpenElectric(client);
  Box().Tell("late 800");
  ASSERT_EQ(client.Reset(), S_TIMEOUT);
  const Stopwatch closing;
  EXPECT_EQ(client.Close(), S_OKAY);
  EXPECT_LT(closing.Ms(), kAtOnceMs);
}

}  // namespace
}  // namespace qmzentrel::clients
