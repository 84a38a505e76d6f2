// What the commands make of a box and its transponder, in the format for programs.
#include <algorithm>

#include "tests/program/program_test.h"

namespace qmzentrel::program_tests {
namespace {

using clients::Journal;
using Json = nlohmann::json;

using ProgramCommands = ProgramTest;

TEST_F(ProgramCommands, InfoTellsTheFactsOfTheBox) {
  Box().Tell("set box-version 3.4 signature0 0xA5 signature1 0x02 battery 100");
  Json box = DocumentOf("info" + PortOption(), 0)["box"];
  EXPECT_EQ(box["version"], "3.4");
  EXPECT_EQ(box["signature"], (Json{0xA5, 2}));
  EXPECT_EQ(box["kind"], "short supply");
  EXPECT_EQ(box["battery"], 3.9);
  EXPECT_EQ(Box().Frames().front(), "> 80");
}

TEST_F(ProgramCommands, ReadTellsTheRecordWithItsNamesAndTheRadioSettings) {
  Box().Tell("set version 8.0 util 42 reading 654321 tamper 0x83 mif 3 txi 7 br-msb 17");
  Json document = DocumentOf("read" + PortOption(), 0);
  EXPECT_EQ(document["port"], Port());
  EXPECT_EQ(document["version"], "8.0");
  EXPECT_EQ(document["record"]["Util"], 42);
  EXPECT_EQ(document["record"]["Reading"], 654321);
  EXPECT_EQ(document["record"]["Tamper"], 3);
  EXPECT_EQ(document["record"]["HasLeak"], true);
  EXPECT_EQ(document["names"]["MIFName"], "Interface 3");
  EXPECT_EQ(document["names"]["TXIName"], "Interval 7");
  EXPECT_EQ(document["radio"]["BR_MSB"], 17);
}

TEST_F(ProgramCommands, RadioIsNullWhereTheTransponderCarriesNone) {
  Box().Tell("set version 5.0");
  EXPECT_TRUE(DocumentOf("radio" + PortOption(), 0)["radio"].is_null());
}

TEST_F(ProgramCommands, ResetTakesTheTamperCountAway) {
  Box().Tell("set tamper 5");
  DocumentOf("reset --yes" + PortOption(), 0);
  EXPECT_EQ(Box().Tell("get tamper"), "0");
}

TEST_F(ProgramCommands, ResetIsNotDoneWhereNobodyCanBeAsked) {
  Json document = DocumentOf("reset" + PortOption(), 8);
  EXPECT_NE(document["error"]["next"].get<std::string>().find("--yes"), std::string::npos);
  EXPECT_EQ(Box().Frames(), Journal{});
  EXPECT_EQ(Box().Supply(), Journal{});
}

TEST_F(ProgramCommands, WriteShowsOldAndNewAndReadsBack) {
  Box().Tell("set version 5.0 util 1 reading 1234");
  const Outcome outcome = RunZentrel("write UTIL=42 reading=0x10 --yes" + PortOption());
  EXPECT_EQ(outcome.exit_code, 0) << outcome.errors;
  EXPECT_NE(outcome.output.find("Util            1 -> 42"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("Reading         1234 -> 16"), std::string::npos);
  EXPECT_NE(outcome.output.find("read back the same"), std::string::npos);
  EXPECT_EQ(outcome.errors, "") << "a time is shown where nobody looks";
  EXPECT_EQ(Box().Tell("get util"), "42");
  EXPECT_EQ(Box().Tell("get reading"), "16");
}

TEST_F(ProgramCommands, WriteSaysWhatTheTransponderHoldsInsteadAndHowLongItWaits) {
  Box().Tell("set version 5.0 util 1");
  Box().Tell("late 1200");  // a call of the component that holds its thread
  RunningProgram writing("write Util=42 --yes --json --progress" + PortOption());
  AwaitThat([] { return Box().Tell("get util") == "42"; });
  Box().Tell("set util 7");
  const Outcome outcome = writing.Await();
  EXPECT_EQ(outcome.exit_code, 9);
  EXPECT_EQ(outcome.Document()["changes"],
            (Json::parse(R"([{"name": "Util", "old": 1, "new": 42}])")));
  EXPECT_EQ(outcome.Document()["differences"],
            (Json::parse(R"([{"name": "Util", "written": 42, "read": 7}])")));
  const std::string asking = "Asking the box on COM" + std::to_string(Port()) + " ... 1 s";
  EXPECT_NE(outcome.errors.find(asking), std::string::npos) << outcome.errors;
  EXPECT_NE(outcome.errors.find("Waiting until the transponder has stored it ... 2 s"),
            std::string::npos)
      << outcome.errors;
}

TEST_F(ProgramCommands, WriteSendsNothingWhereNothingChanges) {
  clients::UnlessHeldUp(kSpareMs, [] {
    Box().Reset();
    Box().Tell("set version 5.0 util 42");
    EXPECT_EQ(DocumentOf("write Util=42 --yes" + PortOption(), 0)["written"], false);
    EXPECT_EQ(Box().Frames().size(), 4u) << "more than a Box Status and a read";
  });
}

TEST_F(ProgramCommands, WriteOfRadioSettingsIsRefusedWhereThereAreNone) {
  Box().Tell("set version 5.0 util 1");
  DocumentOf("write Util=2 Freq_A2=3 --yes" + PortOption(), 7);
  EXPECT_EQ(Box().Tell("get util"), "1");
}

TEST_F(ProgramCommands, WriteJudgesNamesAndRangesBeforeAnythingIsSent) {
  DocumentOf("write util=256 --yes" + PortOption(), 7);
  DocumentOf("write Colour=1 --yes" + PortOption(), 7);
  DocumentOf("write TXI=1 txi=2 --yes" + PortOption(), 2);
  EXPECT_EQ(Box().Frames(), Journal{});
  EXPECT_EQ(Box().Supply(), Journal{});
}

TEST_F(ProgramCommands, MessagesGoInAsManyFramesAsTheyNeed) {
  Box().Tell("message 8 12 34");
  Box().Tell("message 17 01 02 03 04");
  Json messages = DocumentOf("messages" + PortOption(), 0)["messages"];
  ASSERT_EQ(messages.size(), 11u);
  EXPECT_EQ(messages[0]["data"], 0x1234);
  EXPECT_EQ(messages[0]["name"], "Message 8");
  EXPECT_EQ(messages[9]["id"], 17);
  EXPECT_EQ(messages[9]["data"], 0x01020304);
}

TEST_F(ProgramCommands, MessagesOfTheCatalogAreListedWithoutABox) {
  Json messages = DocumentOf("messages --list 17 8", 0)["messages"];
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0]["length"], 4);
  EXPECT_FALSE(messages[0].contains("data"));
  DocumentOf("messages --list 99", 7);
  EXPECT_EQ(Box().Supply(), Journal{});
}

TEST_F(ProgramCommands, AMessageThatNoFrameCarriesIsRefused) {
  for (const wchar_t* const length : {L"-2147483648", L"2147483647", L"16"}) {
    catalog.Text(L"TELIC2\\Messages\\18", L"Bytes", length);
    Json document = DocumentOf("messages 8 18" + PortOption(), 7);
    EXPECT_NE(document["error"]["problem"].get<std::string>().find("message 18 has "),
              std::string::npos)
        << document;
    EXPECT_EQ(document["error"]["problem"].get<std::string>().find("-"), std::string::npos);
  }
  EXPECT_EQ(Box().Frames(), Journal{});
  EXPECT_EQ(DocumentOf("messages --list 18", 0)["messages"][0]["length"], 16);
}

TEST_F(ProgramCommands, ProbeSaysWhichLineItRaisesAndFindsTheBox) {
  const Outcome outcome = RunZentrel("probe --yes" + PortOption());
  EXPECT_EQ(outcome.exit_code, 0) << outcome.errors;
  EXPECT_NE(outcome.output.find("This raises DTR of COM" + std::to_string(Port())),
            std::string::npos)
      << outcome.output;
  Json ports = DocumentOf("probe --yes" + PortOption(), 0)["ports"];
  ASSERT_EQ(ports.size(), 1u);
  EXPECT_EQ(ports[0]["outcome"], "box");
  EXPECT_EQ(ports[0]["number"], Port());
}

TEST_F(ProgramCommands, ProbeRaisesNoLineWithoutAYes) {
  Json document = DocumentOf("probe" + PortOption(), 8);
  EXPECT_NE(document["error"]["problem"].get<std::string>().find("raises DTR"), std::string::npos);
  EXPECT_EQ(Box().Supply(), Journal{});
}

TEST_F(ProgramCommands, NoTransponderIsNoAnswer) {
  Box().Tell("set transponder 0 signature0 0xA6");
  DocumentOf("reset --yes" + PortOption(), 5);
}

TEST_F(ProgramCommands, ADisturbedAnswerIsSaidToBeOne) {
  Box().Tell("wrong-sum");
  DocumentOf("info" + PortOption(), 6);
}

TEST_F(ProgramCommands, APortThatIsNotThereIsOneOfThePort) {
  DocumentOf("info --port 33", 4);
}

TEST_F(ProgramCommands, AFaultOfTheComponentIsOneOfItsOwn) {
  catalog.Text(L"Kernel\\MIF", L"Max", L"-2");
  DocumentOf("info" + PortOption(), 10);
}

TEST_F(ProgramCommands, TheSimulatorIsNamed) {
  catalog.Simulator(true);
  Json document = DocumentOf("info" + PortOption(), 0);
  EXPECT_EQ(document["simulator"], true);
  EXPECT_TRUE(document.at("box").is_null());
  EXPECT_NE(RunZentrel("info" + PortOption()).output.find("simulator is switched on"),
            std::string::npos);
  DocumentOf("probe --yes" + PortOption(), 7);
  EXPECT_EQ(Box().Supply(), Journal{});
}

TEST_F(ProgramCommands, NoDialogIsPromisedWhereNoneComes) {
  catalog.Simulator(true);
  for (const char* const command : {"info", "messages 8"}) {
    const std::string output = RunZentrel(command + PortOption()).output;
    EXPECT_NE(output.find("simulator is switched on: no port is used.\n"), std::string::npos)
        << output;
    EXPECT_EQ(output.find("asks you"), std::string::npos) << output;
  }
}

TEST_F(ProgramCommands, AWrongCommandLineIsOneSentence) {
  const Outcome outcome = RunZentrel("sing");
  EXPECT_EQ(outcome.exit_code, 2);
  EXPECT_NE(Sentence(outcome.errors), "") << outcome.errors;
  EXPECT_EQ(outcome.output, "");
  DocumentOf("sing", 2);
  DocumentOf("info", 2);
}

TEST_F(ProgramCommands, HelpIsNoFailure) {
  const Outcome outcome = RunZentrel("read --help");
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_NE(outcome.output.find("zentrel read"), std::string::npos);
}

}  // namespace
}  // namespace qmzentrel::program_tests
