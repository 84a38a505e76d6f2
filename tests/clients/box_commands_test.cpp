// Every command of the class, with what passes the wire compared byte for byte.
#include <array>
#include <utility>

#include "tests/clients/box_test.h"

namespace qmzentrel::clients {
namespace {

class BoxCommands : public BoxTest {
 protected:
  // A box of the kind that needs no waking, and a transponder with one block. The filler stands in
  // the bytes of a reply that mean nothing.
  static constexpr const char* kOneBlock =
      "set version 5.1 mif 0x25 util 17 id 0x123456 tamper 3 reading 123456 pll 3 txi 2 msi 7 "
      "box-version 2.1 battery 100 signature0 0xA5 signature1 0x11 filler 0xF0";
  static constexpr const char* kOneBlockReply =
      "< 25 11 12 34 56 03 01 E2 40 32 F7 51 21 64 A5 11 F0 F0 8D";

  // An electric box and a transponder with radio settings and a leak.
  static constexpr const char* kTwoBlocks =
      "set version 8.0 mif 0x11 util 200 id 0xFEDCBA tamper 130 reading 16777215 pll 15 txi 0 msi "
      "0 "
      "box-version 1.A battery 133 signature0 0xA6 signature1 0 "
      "freq-msb 0x6C freq-mid 0x4E freq-lsb 0x21 br-msb 1 br-lsb 0x40 pa 5 eol 31 "
      "leak-threshold 100";
  static constexpr const char* kBlock1Reply =
      "< 11 C8 FE DC BA 82 FF FF FF F0 00 80 1A 85 A6 00 00 00 A1";
  static constexpr const char* kBlock2Reply =
      "< 00 6C 4E 21 01 40 05 1F 9B 00 00 00 00 00 00 00 00 00 DB";

  // A short one: the transponder of the virtual box stores at once.
  static constexpr LONG kVerifyDelayMs = 300;
  // A time of day as Single is rounded to 8 ms in the evening: once for now and once for the mark.
  static constexpr int kRoundingMs = 16;

  // From the end of one entry of the log to the start of another.
  static int MsBetween(std::size_t earlier, std::size_t later) {
    const auto log = Box().FrameLog();
    const auto span = log.at(later).start - (log.at(earlier).start + log.at(earlier).duration);
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(span).count());
  }

  BoxClient client;
};

BOX_TEST(BoxCommands, BoxStatusSendsOneByteAndTakesTheFactsOfTheBox) {
  Box().Tell(kOneBlock);
  Open(client);
  EXPECT_EQ(client.BoxStatus(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 80", "< 21 64 A5 11 F0 F0 1B"}));
  EXPECT_EQ(client.Get(&_Zentrel::get_ZentrelVersion), L"2.1");
  EXPECT_EQ(client.Signature(0), 0xA5);
  EXPECT_EQ(client.Signature(1), 0x11);
  EXPECT_EQ(client.BatteryVoltage(), 3.9F);
  EXPECT_EQ(client.Get(&_Zentrel::get_PowerTimeout), 20);
}

BOX_TEST(BoxCommands, DeviceInitAsksForTheBoxStatus) {
  Open(client);
  EXPECT_EQ(client.Init(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 80", "< 21 85 A6 00 00 00 4C"}));
  EXPECT_EQ(client.Get(&_Zentrel::get_PowerTimeout), 60);
}

BOX_TEST(BoxCommands, AOneBlockTransponderIsReadWithOneExchange) {
  Box().Tell(kOneBlock);
  Open(client);
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 40", kOneBlockReply}));
  EXPECT_EQ(client.Get(&_Zentrel::get_DeviceMIF), 0x25);
  EXPECT_TRUE(client.Get(&_Zentrel::get_MIFSelect));
  EXPECT_FALSE(client.Get(&_Zentrel::get_IDToggle));
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 17);
  EXPECT_EQ(client.Get(&_Zentrel::get_Xpdr), 0x123456);
  EXPECT_EQ(client.Get(&_Zentrel::get_Tamper), 3);
  EXPECT_EQ(client.Get(&_Zentrel::get_Reading), 123456);
  EXPECT_EQ(client.Get(&_Zentrel::get_PLLWarmup), 3);
  EXPECT_EQ(client.Get(&_Zentrel::get_PLLWarmUpName), L"0.6 mS");
  EXPECT_EQ(client.Get(&_Zentrel::get_TXI), 2);
  EXPECT_EQ(client.Get(&_Zentrel::get_MSI), 7);
  EXPECT_EQ(client.Get(&_Zentrel::get_TravonelVersion), L"5.1");
  EXPECT_EQ(client.Get(&_Zentrel::get_ZentrelVersion), L"2.1");
  EXPECT_EQ(client.Signature(0), 0xA5);
}

BOX_TEST(BoxCommands, ATwoBlockTransponderIsReadWithTwoExchanges) {
  Box().Tell(kTwoBlocks);
  Open(client);
  EXPECT_EQ(client.Read(), S_OKAY);
  EXPECT_EQ(Box().Frames(), (Journal{"> 40", kBlock1Reply, "> 42", kBlock2Reply}));
  EXPECT_EQ(client.Get(&_Zentrel::get_DeviceMIF), 0x11);
  EXPECT_TRUE(client.Get(&_Zentrel::get_IDToggle));
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 200);
  EXPECT_EQ(client.Get(&_Zentrel::get_Xpdr), 0xFEDCBA);
  EXPECT_EQ(client.Get(&_Zentrel::get_Reading), 16777215);
  EXPECT_EQ(client.Get(&_Zentrel::get_Tamper), 2);
  EXPECT_TRUE(client.Get(&_Zentrel::get_HasLeak));
  EXPECT_EQ(client.Get(&_Zentrel::get_TravonelVersion), L"8.0");
  EXPECT_EQ(client.Get(&_Zentrel::get_Freq_MSB), 0x6C);
  EXPECT_EQ(client.Get(&_Zentrel::get_Freq_MID), 0x4E);
  EXPECT_EQ(client.Get(&_Zentrel::get_Freq_LSB), 0x21);
  EXPECT_EQ(client.Get(&_Zentrel::get_BR_MSB), 0x01);
  EXPECT_EQ(client.Get(&_Zentrel::get_BR_LSB), 0x40);
  EXPECT_EQ(client.Get(&_Zentrel::get_PA_CTRL), 5);
  EXPECT_EQ(client.Get(&_Zentrel::get_EOL_CTRL), 31);
  EXPECT_EQ(client.Get(&_Zentrel::get_LeakThreshold), 100);
  EXPECT_EQ(client.Get(&_Zentrel::get_ZentrelVersion), L"1.A");
}

BOX_TEST(BoxCommands, AResetLeavesTheRecordOfTheObjectAlone) {
  Box().Tell(kOneBlock);
  Open(client);
  client.Let(&_Zentrel::put_Util, 99);
  EXPECT_EQ(client.Reset(), S_OKAY);
  EXPECT_EQ(Box().Frames(),
            (Journal{"> C0", "< 25 11 12 34 56 00 01 E2 40 32 F7 51 21 64 A5 11 F0 F0 8A"}));
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 99);
  EXPECT_EQ(Box().Tell("get tamper"), "0");
}

BOX_TEST(BoxCommands, AOneBlockTransponderIsWrittenWithOneFrame) {
  Box().Tell(kOneBlock);
  Open(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  client.Let(&_Zentrel::put_DeviceMIF, 0x1E);
  client.Let(&_Zentrel::put_Util, 42);
  client.Let(&_Zentrel::put_Xpdr, 0xABCDEF);
  client.Let(&_Zentrel::put_Tamper, 200);  // without a leak bit 7 does not reach the wire
  client.Let(&_Zentrel::put_Reading, 654321);
  client.Let(&_Zentrel::put_PLLWarmup, 15);
  client.Let(&_Zentrel::put_TXI, 9);
  client.Let(&_Zentrel::put_MSI, 4);
  Box().Tell("log-clear");
  EXPECT_EQ(client.Write(), S_OKAY);
  EXPECT_EQ(Box().Frames(),
            (Journal{"> 1E 2A AB CD EF 48 09 FB F1 F9 04 00",
                     "< 1E 2A AB CD EF 48 09 FB F1 F9 F4 51 21 64 A5 11 F0 F0 45"}));
  EXPECT_EQ(client.Get(&_Zentrel::get_Tamper), 72);
  EXPECT_EQ(Box().Tell("get mif"), "0x1E");
  EXPECT_EQ(Box().Tell("get util"), "42");
  EXPECT_EQ(Box().Tell("get id"), "0xABCDEF");
  EXPECT_EQ(Box().Tell("get reading"), "654321");
}

BOX_TEST(BoxCommands, ATwoBlockTransponderIsWrittenInTwoFramesWithTheVerifyDelayBetween) {
  Box().Tell(kTwoBlocks);
  Open(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  client.Let(&_Zentrel::put_VDelay, kVerifyDelayMs);
  client.Let(&_Zentrel::put_Util, 42);
  client.Let(&_Zentrel::put_Reading, 654321);
  client.Let(&_Zentrel::put_Freq_MID, 0x55);
  client.Let(&_Zentrel::put_LeakThreshold, 90);
  Box().Tell("log-clear");
  EXPECT_EQ(client.Write(), S_OKAY);
  EXPECT_EQ(Box().Frames(),
            (Journal{"> 11 2A FE DC BA 82 09 FB F1 F0 00 00",
                     "< 11 2A FE DC BA 82 09 FB F1 F0 00 80 1A 85 A6 00 00 00 FB",
                     "> 11 6C 55 21 01 40 05 1F A5 00 20 00",
                     "< 00 6C 55 21 01 40 05 1F A5 00 00 00 00 00 00 00 00 00 EC"}));
  EXPECT_GE(MsBetween(1, 2), kVerifyDelayMs - kRoundingMs);
  EXPECT_EQ(client.Get(&_Zentrel::get_Tamper), 2);
  EXPECT_TRUE(client.Get(&_Zentrel::get_HasLeak));
  EXPECT_EQ(Box().Tell("get tamper"), "130");
  EXPECT_EQ(Box().Tell("get util"), "42");
  EXPECT_EQ(Box().Tell("get freq-mid"), "0x55");
  EXPECT_EQ(Box().Tell("get leak-threshold"), "90");
}

BOX_TEST(BoxCommands, AReadAfterAWriteWaitsForTheVerifyDelay) {
  Box().Tell(kOneBlock);
  Open(client);
  ASSERT_EQ(client.Read(), S_OKAY);
  client.Let(&_Zentrel::put_VDelay, kVerifyDelayMs);
  client.Let(&_Zentrel::put_Util, 42);
  Box().Tell("log-clear");
  EXPECT_EQ(client.Write(), S_OKAY);
  EXPECT_EQ(client.Read(), S_OKAY);
  ASSERT_EQ(Box().Frames().size(), 4U);
  EXPECT_EQ(Box().Frames()[2], "> 40");
  EXPECT_GE(MsBetween(1, 2), kVerifyDelayMs - kRoundingMs);
  EXPECT_EQ(client.Get(&_Zentrel::get_Util), 42);
}

BOX_TEST(BoxCommands, AValueOutOfRangeIsAStatusAndNothingIsSent) {
  constexpr std::array<std::pair<BoxClient::LongSetter, LONG>, 7> kFirstTooLarge{{
      {&_Zentrel::put_Util, 256},
      {&_Zentrel::put_Xpdr, 0x1000000},
      {&_Zentrel::put_Tamper, 256},
      {&_Zentrel::put_Reading, 0x1000000},
      {&_Zentrel::put_PLLWarmup, 16},
      {&_Zentrel::put_TXI, 16},
      {&_Zentrel::put_MSI, 16},
  }};
  Open(client);
  for (const auto& [property, value] : kFirstTooLarge) {
    for (const LONG wrong : {value, LONG{-1}}) {
      client.Let(property, wrong);
      EXPECT_EQ(client.Write(), S_BAD_DATA) << wrong;
    }
    client.Let(property, 0);
  }
  EXPECT_EQ(Box().Frames(), Journal{});
}

BOX_TEST(BoxCommands, WithoutAnOpenPortNothingIsSent) {
  EXPECT_EQ(client.Init(), S_BAD_PORT);
  EXPECT_EQ(client.BoxStatus(), S_BAD_PORT);
  EXPECT_EQ(client.Read(), S_BAD_PORT);
  EXPECT_EQ(client.Reset(), S_BAD_PORT);
  EXPECT_EQ(client.Write(), S_BAD_PORT);
  EXPECT_EQ(client.Close(), S_OKAY);
  EXPECT_EQ(Box().Frames(), Journal{});
}

BOX_TEST(BoxCommands, EveryStatusHasItsText) {
  EXPECT_EQ(client.StatusText(S_OKAY), L"OK");
  EXPECT_EQ(client.StatusText(S_TIMEOUT), L"Timeout");
  EXPECT_EQ(client.StatusText(S_BAD_RESPONSE), L"Invalid response");
  EXPECT_EQ(client.StatusText(S_BAD_PORT), L"COM port invalid or not available");
  EXPECT_EQ(client.StatusText(S_BAD_SUM), L"Invalid checksum in reply");
  EXPECT_EQ(client.StatusText(S_BAD_DATA), L"Invalid data parameter for command");
}

BOX_TEST(BoxCommands, ManyReadsInARowLoseNoByte) {
  constexpr int kReads = 50;
  Box().Tell(kOneBlock);
  Open(client);
  for (int i = 0; i < kReads; ++i) ASSERT_EQ(client.Read(), S_OKAY) << i;
  Journal expected;
  for (int i = 0; i < kReads; ++i) {
    expected.emplace_back("> 40");
    expected.emplace_back(kOneBlockReply);
  }
  EXPECT_EQ(Box().Frames(), expected);
}

}  // namespace
}  // namespace qmzentrel::clients
