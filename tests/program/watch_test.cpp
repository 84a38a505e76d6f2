// The step lines of other programs.
#include <algorithm>

#include "tests/program/program_test.h"

namespace qmzentrel::program_tests {
namespace {

using WatchedPrograms = ProgramTest;
using Json = nlohmann::json;

// One that receives already; Ready makes sure that it does.
class RunningWatch {
 public:
  explicit RunningWatch(const std::string& arguments) : program_("watch " + arguments) {
    AwaitThat(IsReceiving);
  }
  Outcome Await() { return program_.Await(); }

 private:
  static bool IsReceiving() {
    return platform::OwnedHandle(OpenEventW(SYNCHRONIZE, FALSE, L"DBWIN_DATA_READY")).IsValid();
  }

  RunningProgram program_;
};

TEST_F(WatchedPrograms, StepLinesComeWithTimeAndProcess) {
  RunningWatch watch("--json --lines 4");
  RunningProgram reading("read" + PortOption());
  const DWORD process = reading.Process();
  EXPECT_EQ(reading.Await().exit_code, 0);
  const Json document = watch.Await().Document();
  std::vector<std::string> steps;
  for (const Json& line : document["lines"]) {
    steps.push_back(line["text"]);
    EXPECT_EQ(line["process"], process);
    EXPECT_EQ(line["program"], "zentrel.exe");
    EXPECT_EQ(line["type"], "INFO");
    EXPECT_EQ(line["time"].get<std::string>().size(), std::string("10:08:00.123").size());
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"Zentrel_DeviceOpen", "Zentrel_DeviceInit", "ReadXpdr",
                                             "ReadXpdr Block 2"}));
}

TEST_F(WatchedPrograms, OtherLinesAreLeftOutUnlessAllAreWanted) {
  const auto send = [] {
    OutputDebugStringA("somebody else's line\r\n");
    OutputDebugStringA("22 Nov 2026, 10:08:00  WARN   a step of\x1b[2J a client");
  };
  RunningWatch steps("--lines 1");
  send();
  const std::string output = steps.Await().output;
  EXPECT_EQ(output.find("somebody"), std::string::npos) << output;
  EXPECT_NE(output.find("WARN a step of [2J a client"), std::string::npos) << output;
  RunningWatch all("--all --lines 2");
  send();
  EXPECT_NE(all.Await().output.find("  somebody else's line\n"), std::string::npos);
}

TEST_F(WatchedPrograms, OnlyOneProgramReceives) {
  RunningWatch first("--all --lines 1");
  const Outcome second = RunZentrel("watch --seconds 1");
  EXPECT_EQ(second.exit_code, 12);
  EXPECT_NE(Sentence(second.errors), "");
  OutputDebugStringA("the last one");
  EXPECT_EQ(first.Await().exit_code, 0);
}

TEST_F(WatchedPrograms, AWatchEndsAfterItsTime) {
  const Outcome outcome = RunZentrel("watch --seconds 1 --json");
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_EQ(outcome.Document()["lines"], Json::array());
}

}  // namespace
}  // namespace qmzentrel::program_tests
