// The step lines of other programs.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "tests/program/program_test.h"

namespace qmzentrel::program_tests {
namespace {

using WatchedPrograms = ProgramTest;
using Json = nlohmann::json;

// One that receives already; Ready makes sure that it does.
class RunningWatch {
 public:
  explicit RunningWatch(const std::string& arguments, HANDLE output = nullptr)
      : program_("watch " + arguments, nullptr, ProgramUnderTest(), output) {
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

/// The output of a program whose reader may leave it there, as a console does while its user
/// selects text in it.
class HeldUpOutput {
 public:
  HeldUpOutput() {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    if (CreatePipe(&reader, &writer, &inherited, 0) == FALSE) throw std::runtime_error("no pipe");
    reader_ = platform::OwnedHandle(reader);
    writer_ = platform::OwnedHandle(writer);
    SetHandleInformation(reader, HANDLE_FLAG_INHERIT, 0);
  }

  HANDLE ForProgram() const { return writer_.Get(); }
  void ProgramHasIt() { writer_ = platform::OwnedHandle(); }

  /// Reads what is there; false when the program has closed its end.
  bool ReadOn() {
    DWORD there = 0;
    if (PeekNamedPipe(reader_.Get(), nullptr, 0, nullptr, &there, nullptr) == FALSE) return false;
    if (there == 0) return true;
    const std::size_t before = text_.size();
    text_.resize(before + there);
    DWORD read = 0;
    ReadFile(reader_.Get(), text_.data() + before, there, &read, nullptr);
    text_.resize(before + read);
    return true;
  }
  const std::string& Text() const { return text_; }

 private:
  platform::OwnedHandle reader_;
  platform::OwnedHandle writer_;
  std::string text_;
};

// A sender waits for whoever receives, ten seconds for each line, and the client with it.
TEST_F(WatchedPrograms, NoSenderWaitsForAnOutputThatIsHeldUp) {
  HeldUpOutput output;
  RunningWatch watch("--all --lines 1200", output.ForProgram());
  output.ProgramHasIt();
  int sent = 0;
  const auto send = [&sent] {
    OutputDebugStringA(("line " + std::to_string(sent++) + std::string(3000, '.')).c_str());
  };
  constexpr ULONGLONG kSenderGivesUpMs = 10'000;
  while (sent < 1500) {
    const ULONGLONG begin = GetTickCount64();
    send();
    ASSERT_LT(GetTickCount64() - begin, kSenderGivesUpMs) << sent;
  }
  while (output.ReadOn()) send();
  EXPECT_EQ(watch.Await().exit_code, 0);
  std::istringstream lines(output.Text());
  int next = 0;
  int missing = 0;
  for (std::string line; std::getline(lines, line);) {
    int number = 0;
    if (std::sscanf(line.c_str(), "(%d lines are missing here", &number) == 1) {
      missing += number;
      next += number;
    } else if (const std::size_t at = line.find("  line "); at != std::string::npos) {
      EXPECT_EQ(std::atoi(line.c_str() + at + 7), next++);
    }
  }
  EXPECT_EQ(next - missing, 1200);
  EXPECT_GT(missing, 0) << "nothing grows without bounds";
}

TEST_F(WatchedPrograms, AWatchEndsAfterItsTime) {
  const Outcome outcome = RunZentrel("watch --seconds 1 --json");
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_EQ(outcome.Document()["lines"], Json::array());
}

}  // namespace
}  // namespace qmzentrel::program_tests
