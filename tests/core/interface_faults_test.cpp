// Each procedure of the catalogs and the sub-device messages fails once.
#include "tests/core/fake_list_control.h"
#include "tests/core/fault_report.h"
#include "tests/core/telic2_test.h"

namespace qmzentrel::tests {
namespace {

constexpr const char* kModule = "Zentrel";

// --- Names ---

class NameFaults : public FaultTest<ZentrelTest> {};

TEST_F(NameFaults, LoadNamesIsReportedWhole) {
  SetInterfaces(0, 1, 3);
  SetText(kIntervals, "0", "5 s");
  RunOutOfMemoryInRegistry("RegQueryValueEx", "3");
  ExpectReport([] { Zentrel::Create(); },
               {kOutOfMemory, kModule, "m_strTXIs[n] = registry::Text", "",
                Shown("n", 3) + Shown("vntMax", 1) + Shown("lngMax", 1)});
}

class NameBeginnings : public FaultTest<ZentrelTest> {};

TEST_F(NameBeginnings, LoadNamesIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegOpenKeyEx", kInterfaces);
  ExpectReport([] { Zentrel::Create(); },
               {kOutOfMemory, kModule, "OpenKey interfaces(", "",
                Shown("n", 0) + Shown("vntMax", 0) + Shown("lngMax", 0)});
}

TEST_F(NameFaults, MIFNameIsReportedWhole) {
  ExpectReport([this] { zentrel->MIFName(); },
               {kSubscript, kModule, "return m_strMIFs[record_.m_lngMIF]", "", ""});
}

TEST_F(NameFaults, TXINameIsReportedWhole) {
  ExpectReport([this] { zentrel->TXIName(); },
               {kSubscript, kModule, "return m_strTXIs[record_.m_lngTXI]", "", ""});
}

TEST_F(NameFaults, NameIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegOpenKeyEx", "SOFTWARE\\Meters\\4");
  ExpectReport([this] { zentrel->Name("SOFTWARE\\Meters", 4); },
               {kOutOfMemory, kModule, "catalogs::ReadName(RegRootKey, Index",
                Shown("RegRootKey", "SOFTWARE\\Meters") + Shown("Index", 4), ""});
}

// --- Lists ---

class MessageFaults : public FaultTest<Telic2Test<ZentrelTest>> {};

TEST_F(MessageFaults, TELIC2DeviceIsReportedWhole) {
  FailAtEntry();
  ExpectReport([this] { zentrel->TELIC2Device("Gauge"); },
               {kStackOverflow, kModule, kBeforeTheFirstLine, Shown("New_Value", "Gauge"), ""});
}

class MessageListFaults : public MessageFaults {
 protected:
  MessageListFaults() {
    control.object.default_value = [] { return std::string("NOP"); };
  }

  void Refuse(const std::string& member) {
    control.Refuse(member, {kRefusal.number, kRefusal.source, kRefusal.description});
  }

  inline static const ExpectedError kRefusal{420, "Invalid object reference", "Form1"};
  FakeListControl control;
};

TEST_F(MessageListFaults, TELIC2EnumDevicesIsReportedWhole) {
  SetText(kDeviceTypes + "\\Gauge", "", "");
  Refuse("AddItem");
  ExpectReport([this] { zentrel->TELIC2EnumDevices(control.Bound()); },
               {kRefusal, kModule, "box.AddItem(device)", Shown("cbo", "{NOP}"),
                ShownTexts("strDevices", {"Gauge", "Meter"})});
}

TEST_F(MessageListFaults, TELIC2EnumMessagesIsReportedWhole) {
  SetRange(kMessages, 30, 31);
  ExpectReport([this] { zentrel->TELIC2EnumMessages(control.Bound(), 30); },
               {kOverflow, kModule, "messages.Offer(AddMessageTo(box))",
                Shown("cbo", "{NOP}") + Shown("Default", 30), ""});
}

TEST_F(MessageListFaults, TELIC2EnumTestMessagesIsReportedWhole) {
  Refuse("Clear");
  ExpectReport(
      [this] { zentrel->TELIC2EnumTestMessages(control.Bound(), -1); },
      {kRefusal, kModule, "box.Clear()", Shown("cbo", "{NOP}") + Shown("Default", -1), ""});
}

// --- Lengths ---

TEST_F(MessageFaults, TELIC2_LengthIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegQueryValueEx", "Bytes");
  ExpectReport([this] { zentrel->TELIC2_Length(8); },
               {kOutOfMemory, kModule, "catalogs::MessageLength(Index)", Shown("Index", 8), ""});
}

TEST_F(MessageFaults, TELIC2Test_RdLengthIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegQueryValueEx", "RBytes");
  ExpectReport([this] { zentrel->TELIC2Test_RdLength(9); },
               {kOutOfMemory, kModule, "catalogs::TestReadLength(", Shown("Index", 9), ""});
}

TEST_F(MessageFaults, TELIC2Test_WrLengthIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegQueryValueEx", "PBytes");
  ExpectReport([this] { zentrel->TELIC2Test_WrLength(10); },
               {kOutOfMemory, kModule, "catalogs::TestWriteLength(", Shown("Index", 10), ""});
}

// --- Messages ---

TEST_F(MessageFaults, TELIC2ReadIsReportedWhole) {
  ids = {8, 10};
  data = {-1};
  ExpectReport([this] { RunOver(kReadCommand, 2); },
               {kSubscript, kModule, "CheckEntries(MessageData, NumMessages)",
                Shown("NumMessages", 2) + ShownNumbers("MessageIDs", {8, 10}) +
                    ShownNumbers("MessageData", {-1}),
                ShownFrame("bytTx", {0, 0, 0, 0, 8, 10}) + ShownFrame("bytRx") +
                    Shown("lngRxLength", 9) + Shown("lngStatus", 0) + Shown("i", 2)});
}

TEST_F(MessageFaults, TELIC2WriteIsReportedWhole) {
  ids = {8, 10};
  data = {0x1234};
  ExpectReport(
      [this] { RunOver(kWriteCommand, 2); },
      {kSubscript, kModule, "CheckEntries(MessageData, NumMessages)",
       Shown("NumMessages", 2) + ShownNumbers("MessageIDs", {8, 10}) +
           ShownNumbers("MessageData", {0x1234}),
       ShownFrame("bytTx") + ShownFrame("bytRx") + Shown("lngTxLength", 9) + Shown("i", 2)});
}

TEST_F(MessageFaults, TELIC2TestIsReportedWhole) {
  Open(true);
  // Three messages without data, where the client has room for one.
  const Bytes reply = {0x7E, 0x20, 0xC9, 3, 0, 0, 0};
  Port().Answer(reply);
  ExpectReport(
      [this] { Run(kTestCommand, {8}, {0x1234}); },
      {kSubscript, kModule, "Unpack(bytRx, expected, MessageData, read_lengths)",
       Shown("NumMessages", 1) + ShownNumbers("MessageIDs", {8}) + ShownNumbers("MessageData", {0}),
       ShownFrame("bytTx", {0x7E, 0x20, 0xC9, 3, 8, 0x12, 0x34}) + ShownFrame("bytRx", reply) +
           Shown("lngTxLength", 7) + Shown("lngRxLength", 7) + Shown("lngReply", 2) +
           Shown("lngStatus", 0) + Shown("i", 1)});
}

// Before their first statement they show their locals as these begin.
class MessageBeginnings : public MessageFaults {
 protected:
  void ExpectLocals(const Telic2Command& command, const std::string& locals) {
    FailAtEntry();
    ExpectReport([&] { Run(command, {8}, {7}); },
                 {kStackOverflow, kModule, kBeforeTheFirstLine,
                  Shown("NumMessages", 1) + ShownNumbers("MessageIDs", {8}) +
                      ShownNumbers("MessageData", {7}),
                  ShownFrame("bytTx") + ShownFrame("bytRx") + locals});
  }
};

TEST_F(MessageBeginnings, TELIC2ReadIsReportedWhole) {
  ExpectLocals(kReadCommand, Shown("lngRxLength", 0) + Shown("lngStatus", 0) + Shown("i", 0));
}

TEST_F(MessageBeginnings, TELIC2WriteIsReportedWhole) {
  ExpectLocals(kWriteCommand, Shown("lngTxLength", 0) + Shown("i", 0));
}

TEST_F(MessageBeginnings, TELIC2TestIsReportedWhole) {
  ExpectLocals(kTestCommand, Shown("lngTxLength", 0) + Shown("lngRxLength", 0) +
                                 Shown("lngReply", 0) + Shown("lngStatus", 0) + Shown("i", 0));
}

// With an identifier too few nothing of the frame is made yet.
class MissingIdentifiers : public MessageFaults {
 protected:
  void ExpectLocals(const Telic2Command& command, const std::string& locals) {
    ids = {8};
    data = {1, 2};
    ExpectReport([&] { RunOver(command, 2); },
                 {kSubscript, kModule, "CheckEntries(MessageIDs, NumMessages)",
                  Shown("NumMessages", 2) + ShownNumbers("MessageIDs", {8}) +
                      ShownNumbers("MessageData", {1, 2}),
                  ShownFrame("bytTx") + ShownFrame("bytRx") + locals});
  }
};

TEST_F(MissingIdentifiers, TELIC2WriteIsReportedWhole) {
  ExpectLocals(kWriteCommand, Shown("lngTxLength", 8) + Shown("i", 2));
}

TEST_F(MissingIdentifiers, TELIC2TestIsReportedWhole) {
  ExpectLocals(kTestCommand, Shown("lngTxLength", 8) + Shown("lngRxLength", 7) +
                                 Shown("lngReply", 2) + Shown("lngStatus", 0) + Shown("i", 2));
}

// How long a command may take is seen in its exchange, and in a report of that.
class Timeouts : public Telic2Test<ZentrelTest> {
 protected:
  template <class Command>
  std::string TimeoutOf(Command command) {
    for (int turn = 2; turn < 20; ++turn) {
      FailAtEntry(turn);
      ErrorNumberOf(command);
      TheWorld().before_call = nullptr;
      for (const ErrorReport& report : TakeReports()) {
        if (report.procedure != "ZentrelTxRx") continue;
        return report.parameters.substr(report.parameters.find("<Timeout>"));
      }
    }
    return "no exchange";
  }
};

TEST_F(Timeouts, OfEachCommandAreInItsReport) {
  const auto shown = [](std::int32_t milliseconds) { return Shown("Timeout", milliseconds); };
  Open(true);
  EXPECT_EQ(TimeoutOf([&] { zentrel->BoxStatus(); }), shown(500));
  EXPECT_EQ(TimeoutOf([&] { zentrel->ReadXpdr(); }), shown(2500));
  EXPECT_EQ(TimeoutOf([&] { zentrel->WriteXpdr(); }), shown(2500));
  EXPECT_EQ(TimeoutOf([&] { zentrel->ResetXpdr(); }), shown(10));
  EXPECT_EQ(TimeoutOf([&] { Run(kReadCommand, {8}); }), shown(12500));
  EXPECT_EQ(TimeoutOf([&] { Run(kWriteCommand, {8}, {7}); }), shown(2500));
  EXPECT_EQ(TimeoutOf([&] { Run(kTestCommand, {8}, {7}); }), shown(12500));
  OpenBox(true, 0xA6);
  EXPECT_EQ(TimeoutOf([&] { zentrel->ReadXpdr(); }), shown(12500));
}

}  // namespace
}  // namespace qmzentrel::tests
