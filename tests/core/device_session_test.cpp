// Creating, opening, initialising, closing and releasing, and the facts of the box.
#include <cfenv>
#include <set>

#include "interface/version_text.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

using Journal = std::vector<std::string>;

class DeviceSession : public ZentrelTest {};

TEST_F(DeviceSession, AFreshObjectHasNoBoxFactsAndTheStatedDefaults) {
  EXPECT_EQ(zentrel->ZentrelVersion(), "");
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0);
  EXPECT_EQ(zentrel->ZentrelSignature(1), 0);
  EXPECT_EQ(zentrel->BatteryVoltage(), 0.0F);
  EXPECT_EQ(zentrel->PowerTimeout(), 60);
  EXPECT_EQ(zentrel->VDelay(), 4000);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "False");
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngVDelayTimeout"), 0.0F);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 0.0F);
}

TEST_F(DeviceSession, CreationTouchesNoPortAndStartsNoTimer) {
  TheWorld().TakeJournal();
  const auto another = Zentrel::Create();
  EXPECT_EQ(TheWorld().TakeJournal(), Journal{});
}

TEST_F(DeviceSession, ReleaseClosesTheDeviceWithoutAnEvent) {
  Open(false);
  zentrel.reset();
  EXPECT_EQ(TheWorld().TakeJournal(),
            (Journal{"log Zentrel_DeviceClose", "supply off", "close COM7", "timer off"}));
}

TEST_F(DeviceSession, ReleaseErasesTheNamesFirst) {
  SetInterfaces(0, 1, 15);
  SetName(kInterfaces, 0, "Pulse");
  SetText(kIntervals, "0", "14 s");
  zentrel = Zentrel::Create();
  const auto before = ReportOf([this] { zentrel->ZentrelSignature(2); }).module_variables;
  ASSERT_NE(before.find("Pulse"), std::string::npos);
  ASSERT_NE(before.find("14 s"), std::string::npos);
  Open(false);
  TheWorld().out_of_memory_in = {"SerialPort::SetLines"};
  zentrel.reset();
  TheWorld().out_of_memory_in.clear();
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1U);
  const std::string& after = reports[0].module_variables;
  EXPECT_NE(after.find("<m_strMIFs>{UnInitialised Array}"), std::string::npos);
  EXPECT_NE(after.find("<m_strTXIs>{UnInitialised Array}"), std::string::npos);
}

// Memory runs out at the beginning of each of these of the coming procedures.
void FailAtEntries(const std::set<int>& turns) {
  TheWorld().before_call = [turns, entered = std::make_shared<int>(0)](const std::string& call) {
    if (call == "procedure" && turns.contains(++*entered)) throw std::bad_alloc();
  };
}

TEST_F(DeviceSession, AReleaseThatFailsLeavesNoTimerRunning) {
  Open(false);
  zentrel->Power(true);
  zentrel->Power(false);
  ASSERT_EQ(modCOM_XTimerSupport::RunningTimers(), 1);
  TheWorld().out_of_memory_in = {"SerialPort::SetLines"};
  zentrel.reset();
  TheWorld().out_of_memory_in.clear();
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_EQ(reports[0].procedure, "Zentrel_DeviceClose");
  EXPECT_EQ(modCOM_XTimerSupport::RunningTimers(), 0);
  EXPECT_TRUE(TheWorld().timers.empty());
}

TEST_F(DeviceSession, AnObjectThatHasNothingYetIsUndoneWhereverMemoryRunsOutAgain) {
  std::set<Texts> reported;
  for (int first = 1; first < 4; ++first) {
    for (int second = first + 1; second < 80; ++second) {
      FailAtEntries({first, second});
      ErrorNumberOf([] { Zentrel::Create(); });
      TheWorld().before_call = nullptr;
      TheWorld().stop_messages.clear();
      Texts procedures;
      for (const ErrorReport& report : TakeReports()) procedures.push_back(report.procedure);
      reported.insert(procedures);
      EXPECT_EQ(modCOM_XTimerSupport::RunningTimers(), 0);
    }
  }
  EXPECT_TRUE(reported.contains({"Class_Initialize"}));
  EXPECT_TRUE(reported.contains({"Class_Initialize", "Class_Terminate"}));
}

TEST_F(DeviceSession, ATickWithinTheReleaseFindsNoObject) {
  Open(false);
  zentrel->PowerTimeout(1);
  zentrel->Power(false);
  ASSERT_EQ(modCOM_XTimerSupport::RunningTimers(), 1);
  int ticks = 0;
  TheWorld().before_call = [&ticks](const std::string& call) {
    if (call == "SerialPort::SetLines" && ticks++ == 0) TheWorld().Pump(Milliseconds(1000));
  };
  TheWorld().TakeJournal();
  zentrel.reset();
  TheWorld().before_call = nullptr;
  EXPECT_EQ(ticks, 1);
  const auto journal = TheWorld().TakeJournal();
  EXPECT_EQ(std::ranges::count(journal, "event False"), 0);
}

TEST_F(DeviceSession, AnObjectReleasedWithinItsLastTickLivesUntilTheTickEnds) {
  Open(false);
  const std::weak_ptr<Zentrel> watch = zentrel;
  bool alive_in_event = false;
  on_event = [&](bool) {
    zentrel->Events(nullptr);
    zentrel.reset();
    alive_in_event = !watch.expired();
  };
  TheWorld().Pump(Milliseconds(60'000));
  EXPECT_TRUE(alive_in_event);
  EXPECT_TRUE(watch.expired());
}

TEST_F(DeviceSession, DeviceOpenSetsTheTicksLeft) {
  zentrel->PowerTimeout(33);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  EXPECT_EQ(Field(*zentrel, "m_lngPowerTimer"), "33");
}

TEST_F(DeviceSession, DeviceOpenAppliesTheLinkSettings) {
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  EXPECT_EQ(Port().settings.baud_rate, 9600);
  EXPECT_EQ(Port().settings.parity, 0);
  EXPECT_EQ(Port().settings.data_bits, 8);
  EXPECT_EQ(Port().settings.stop_bits, 2);
}

TEST_F(DeviceSession, DeviceOpenOfAPortThatIsNotThereIsABadPortAndTheObjectStaysUsable) {
  EXPECT_EQ(zentrel->DeviceOpen(8, true), S_BAD_PORT);
  EXPECT_EQ(zentrel->DeviceOpen(0, true), S_BAD_PORT);
  EXPECT_EQ(zentrel->DeviceOpen(-1, true), S_BAD_PORT);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
}

TEST_F(DeviceSession, APortThatRefusesItsSettingsIsABadPort) {
  Port().refuses_settings = true;
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_BAD_PORT);
  EXPECT_FALSE(Port().open);
}

TEST_F(DeviceSession, APortThatAnotherProgramHoldsIsABadPort) {
  Port().open = true;
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_BAD_PORT);
}

TEST_F(DeviceSession, DeviceOpenWhileAPortIsOpenClosesItAndOpensTheNewOne) {
  TheWorld().ports[12];
  Open(true);
  EXPECT_EQ(zentrel->DeviceOpen(12, true), S_OKAY);
  EXPECT_FALSE(Port().open);
  EXPECT_TRUE(TheWorld().ports[12].open);
}

TEST_F(DeviceSession, AfterAFailedOpenThePortThatWasOpenIsClosed) {
  Open(true);
  EXPECT_EQ(zentrel->DeviceOpen(9, true), S_BAD_PORT);
  EXPECT_FALSE(Port().open);
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
}

TEST_F(DeviceSession, DeviceOpenWorksAgainAfterThePortWasPulledOutAndCameBack) {
  Open(true);
  Port().vanished = true;
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_BAD_PORT);
  Port().vanished = false;
  EXPECT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
}

TEST_F(DeviceSession, DeviceInitBeforeDeviceOpenIsABadPortAndSendsNothing) {
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_PORT);
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"log Zentrel_DeviceInit"}));
}

TEST_F(DeviceSession, DeviceInitTriesBoxStatusOnceMoreAfterATimeout) {
  Open(true);
  Port().StaySilent();
  Port().Answer(BoxStatusReply(0x21, 100, 0xA5, 0));
  EXPECT_EQ(zentrel->DeviceInit(), S_OKAY);
  EXPECT_EQ(Port().written.size(), 2U);
}

TEST_F(DeviceSession, DeviceInitGivesUpAfterTwoTimeouts) {
  Open(true);
  EXPECT_EQ(zentrel->DeviceInit(), S_TIMEOUT);
  EXPECT_EQ(Port().written.size(), 2U);
}

TEST_F(DeviceSession, DeviceInitDoesNotRepeatAnyOtherStatus) {
  Open(true);
  Port().Answer({1});
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_RESPONSE);
  Port().Answer({1, 1, 1, 1, 1, 1, 1});
  EXPECT_EQ(zentrel->DeviceInit(), S_BAD_SUM);
  EXPECT_EQ(Port().written.size(), 2U);
}

TEST_F(DeviceSession, DeviceCloseAlwaysSucceedsAndRaisesNoEvent) {
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  Open(true);
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  EXPECT_EQ(zentrel->DeviceClose(), S_OKAY);
  for (const std::string& line : TheWorld().journal) EXPECT_FALSE(line.starts_with("event"));
}

TEST_F(DeviceSession, DeviceCloseStopsNoTimerAndTheCountDownStillEndsInTheEvent) {
  Open(false);
  zentrel->DeviceClose();
  TheWorld().TakeJournal();
  TheWorld().Pump(Milliseconds(60'000));
  EXPECT_EQ(TheWorld().TakeJournal(), (Journal{"timer off", "event False"}));
}

// --- Box Status ---

TEST_F(DeviceSession, BoxStatusSendsOneByteAndYieldsTheBoxFacts) {
  Open(true);
  Port().Answer(BoxStatusReply(0x1A, 123, 0xA5, 0x42));
  EXPECT_EQ(zentrel->BoxStatus(), S_OKAY);
  EXPECT_EQ(Port().written, (std::vector<Bytes>{{0x80}}));
  EXPECT_EQ(zentrel->ZentrelVersion(), "1.A");
  EXPECT_EQ(zentrel->BatteryVoltage(), static_cast<float>(123 * 0.039));
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA5);
  EXPECT_EQ(zentrel->ZentrelSignature(1), 0x42);
}

TEST_F(DeviceSession, BoxStatusFromAnElectricBoxIsResentEveryHalfSecondForItsTimeout) {
  OpenBox(true, 0xA6);
  Port().written.clear();
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(Port().written.size(), 2U);
}

TEST_F(DeviceSession, ABoxStatusWithoutAnAnswerLeavesTheBoxFactsAsTheyWere) {
  OpenBox(true, 0xA5);
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  Port().Answer({9, 9, 9, 9, 9, 9, 9});
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_SUM);
  EXPECT_EQ(zentrel->ZentrelVersion(), "2.1");
  EXPECT_EQ(zentrel->BatteryVoltage(), 3.9F);
  EXPECT_EQ(zentrel->ZentrelSignature(0), 0xA5);
}

TEST_F(DeviceSession, ABatteryByteOf100Is3Point9Volts) {
  OpenBox(true, 0xA5);
  EXPECT_EQ(zentrel->BatteryVoltage(), 3.9F);
}

TEST_F(DeviceSession, EveryBatteryByteIsTheProductRoundedOnceToSingle) {
  FrameBuffer reply;
  BoxFacts facts;
  for (int battery = 0; battery < 256; ++battery) {
    reply[1] = static_cast<std::uint8_t>(battery);
    facts.Parse(reply, 0);
    EXPECT_EQ(facts.m_sngBatteryVolts, static_cast<float>(battery * 0.039));
  }
}

TEST_F(DeviceSession, TheVoltsDoNotDependOnHowTheClientsProcessorRounds) {
  for (const int way : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
    FrameBuffer reply;
    for (int battery = 0; battery < 256; ++battery) {
      const auto volts = static_cast<float>(battery * 0.039);
      BoxFacts facts;
      reply[1] = static_cast<std::uint8_t>(battery);
      std::fesetround(way);
      facts.Parse(reply, 0);
      std::fesetround(FE_TONEAREST);
      EXPECT_EQ(facts.m_sngBatteryVolts, volts);
    }
  }
}

TEST_F(DeviceSession, SignatureA5ShortensThePowerTimeoutAndLeavesTheHoldOffAlone) {
  OpenBox(true, 0xA5);
  EXPECT_EQ(zentrel->PowerTimeout(), 20);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 0.0F);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "False");
}

TEST_F(DeviceSession, SignatureA6MakesTheBoxElectric) {
  OpenBox(true, 0xA6);
  EXPECT_EQ(zentrel->PowerTimeout(), 60);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 0.0F);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "True");
}

TEST_F(DeviceSession, SignatureZeroSetsTheHoldOff) {
  TheWorld().SetClock(1000);
  OpenBox(true, 0x00);
  EXPECT_EQ(zentrel->PowerTimeout(), 60);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "False");
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 1003.75F);
}

TEST_F(DeviceSession, AnyOtherSignatureIsANonElectricBoxWithTheLongPowerTimeout) {
  OpenBox(true, 0x77);
  EXPECT_EQ(zentrel->PowerTimeout(), 60);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "False");
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 0.0F);
}

TEST_F(DeviceSession, OnlySignatureByte0DecidesTheKindOfBox) {
  Open(true);
  Port().Answer(BoxStatusReply(0x21, 100, 0x11, 0xA6));
  zentrel->BoxStatus();
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "False");
  EXPECT_EQ(zentrel->PowerTimeout(), 60);
}

TEST_F(DeviceSession, AnotherBoxReplacesTheKind) {
  OpenBox(true, 0xA6);
  OpenBox(true, 0xA5);
  EXPECT_EQ(Field(*zentrel, "m_blnIsElectric"), "False");
  EXPECT_EQ(zentrel->PowerTimeout(), 20);
}

TEST_F(DeviceSession, AfterATimeoutTheSignatureBeforeDecidesAboutTheHoldOff) {
  Open(true);
  TheWorld().SetClock(2000);
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 2002.5F + 3.75F);
  OpenBox(true, 0xA5);
  const float mark = SecondsIn(*zentrel, "m_sngBoxStatusTimeout");
  EXPECT_EQ(zentrel->BoxStatus(), S_TIMEOUT);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), mark);
}

TEST_F(DeviceSession, EveryFailedBoxStatusOfABoxWithoutASignatureSetsTheHoldOff) {
  TheWorld().SetClock(1000);
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_PORT);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 1003.75F);
  Open(true);
  TheWorld().SetClock(2000);
  Port().Answer({1, 1, 1, 1, 1, 1, 1});
  EXPECT_EQ(zentrel->BoxStatus(), S_BAD_SUM);
  EXPECT_EQ(SecondsIn(*zentrel, "m_sngBoxStatusTimeout"), 2003.75F);
}

TEST_F(DeviceSession, AnIndexOutsideTheSignatureIsASubscriptError) {
  for (const std::int16_t index : {std::int16_t{-1}, std::int16_t{2}, std::int16_t{-32768}}) {
    const ErrorReport report = ReportOf([&] { zentrel->ZentrelSignature(index); });
    EXPECT_EQ(report.ErrorNumber, 9);
    EXPECT_EQ(report.ErrorDescription, "Subscript out of range");
    EXPECT_EQ(report.procedure, "ZentrelSignature");
    EXPECT_EQ(report.parameters, "<Index>" + std::to_string(index) + "</Index>\r\n");
  }
}

TEST_F(DeviceSession, AVersionByteIsShownAsTwoHexadecimalDigitsWithADot) {
  EXPECT_EQ(VersionText(0x21), "2.1");
  EXPECT_EQ(VersionText(0x1A), "1.A");
  EXPECT_EQ(VersionText(0x00), "0.0");
  EXPECT_EQ(VersionText(0xFF), "F.F");
}

TEST_F(DeviceSession, TheValueOfAVersionIsTheNumberThatItBeginsWith) {
  EXPECT_EQ(VersionValue("8.0"), 8);
  EXPECT_EQ(VersionValue("2.1"), 2.1);
  EXPECT_EQ(VersionValue("12.34"), 12.34);
  EXPECT_EQ(VersionValue("0.9"), 0.9);
  EXPECT_EQ(VersionValue("10.05"), 10.05);
  EXPECT_EQ(VersionValue("1.A"), 1);
  EXPECT_EQ(VersionValue("A.0"), 0);
  EXPECT_EQ(VersionValue("4.1.9"), 4.1);
  EXPECT_EQ(VersionValue("4-1"), 4);
  EXPECT_EQ(VersionValue(""), 0);
}

// --- The line that carries the supply ---

class SupplyLine : public ZentrelTest,
                   public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(SupplyLine, IsTheOneThatTheRegistryNames) {
  if (GetParam().first) {
    TheWorld().SetText("SOFTWARE\\QuenmoorComms\\Zentrel", "SupplyLine", GetParam().first);
  }
  ASSERT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  const std::string on = std::string(", supply ") + GetParam().second;
  EXPECT_TRUE(TheWorld().TakeJournal().at(2).ends_with(on));
  zentrel->Power(true);
  EXPECT_EQ(TheWorld().TakeJournal().at(0), std::string("supply ") + GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Settings, SupplyLine,
                         testing::Values(std::pair{nullptr, "DTR"}, std::pair{"DTR", "DTR"},
                                         std::pair{"RTS", "RTS"}, std::pair{"rts", "RTS"},
                                         std::pair{"BOTH", "DTR and RTS"},
                                         std::pair{"nonsense", "DTR"}, std::pair{"", "DTR"}));

TEST_F(DeviceSession, ASupplyLineStoredAsANumberMeansDtr) {
  TheWorld().SetNumber("SOFTWARE\\QuenmoorComms\\Zentrel", "SupplyLine", 1);
  ASSERT_EQ(zentrel->DeviceOpen(kPort, true), S_OKAY);
  EXPECT_EQ(Port().lines, (platform::ModemLines{.dtr = true}));
}

}  // namespace
}  // namespace qmzentrel::tests
