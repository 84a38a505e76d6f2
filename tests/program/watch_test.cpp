// The step lines of other programs.
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

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

/// The output of a program, full from the beginning on, whose reader may leave it so, as a console
/// does while its user selects text in it.
class HeldUpOutput {
 public:
  HeldUpOutput() {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    const std::string text(4096, '\n');
    if (CreatePipe(&reader, &writer, &inherited, text.size()) == FALSE) {
      throw std::runtime_error("no pipe");
    }
    reader_ = platform::OwnedHandle(reader);
    writer_ = platform::OwnedHandle(writer);
    DWORD written = 0;
    WriteFile(writer, text.data(), text.size(), &written, nullptr);
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

// Sends the steps "line 0", "line 1" and so on.
class Sender {
 public:
  // A sender waits for whoever receives, ten seconds for each line, and the client with it.
  void Send(int lines) {
    constexpr ULONGLONG kGivesUpMs = 10'000;
    for (const int end = sent_ + lines; sent_ < end; ++sent_) {
      const ULONGLONG begin = GetTickCount64();
      const std::string line = "22 Nov 2026, 10:08:00  INFO   line " + std::to_string(sent_);
      OutputDebugStringA(line.c_str());
      ASSERT_LT(GetTickCount64() - begin, kGivesUpMs) << sent_;
    }
  }

 private:
  int sent_ = 0;
};

// The numbers of the lines of this process in `output`, in its order, and how many are said to be
// missing among them as a negative number.
std::vector<int> ShownLines(const std::string& output) {
  const std::string own = "(" + std::to_string(GetCurrentProcessId()) + ")  line ";
  std::vector<int> shown;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    int missing = 0;
    if (std::sscanf(line.c_str(), "(%d lines are missing here", &missing) == 1) {
      shown.push_back(-missing);
    } else if (const std::size_t at = line.find(own); at != std::string::npos) {
      shown.push_back(std::atoi(line.c_str() + at + own.size()));
    }
  }
  return shown;
}

std::vector<int> LinesUpTo(std::size_t end) {
  std::vector<int> lines(end);
  std::iota(lines.begin(), lines.end(), 0);
  return lines;
}

constexpr int kMostKept = 1000;

TEST_F(WatchedPrograms, NoSenderWaitsForAnOutputThatIsHeldUp) {
  HeldUpOutput output;
  RunningWatch watch("--lines 1003", output.ForProgram());
  output.ProgramHasIt();
  Sender sender;
  ASSERT_NO_FATAL_FAILURE(sender.Send(kMostKept + 500));
  // It is said without one more that comes.
  AwaitThat([&] { return output.ReadOn() && output.Text().find("missing") != std::string::npos; });
  sender.Send(3);
  AwaitThat([&] { return !output.ReadOn(); });
  EXPECT_EQ(watch.Await().exit_code, 0);
  std::vector<int> expected = LinesUpTo(kMostKept);
  expected.insert(expected.end(), {-500, 1500, 1501, 1502});
  EXPECT_EQ(ShownLines(output.Text()), expected);
}

TEST_F(WatchedPrograms, WhatIsKeptAtTheEndIsShownAndNoMore) {
  HeldUpOutput output;
  RunningWatch watch("--seconds 1", output.ForProgram());
  output.ProgramHasIt();
  Sender sender;
  ASSERT_NO_FATAL_FAILURE(sender.Send(kMostKept + 500));
  Sleep(1100);
  // More than is read meanwhile.
  AwaitThat([&] {
    sender.Send(200);
    return !output.ReadOn();
  });
  EXPECT_EQ(watch.Await().exit_code, 0);
  std::vector<int> shown = ShownLines(output.Text());
  ASSERT_FALSE(shown.empty());
  EXPECT_LE(shown.back(), -500) << "missing";
  shown.pop_back();
  EXPECT_EQ(shown, LinesUpTo(kMostKept));
}

TEST_F(WatchedPrograms, LinesThatNobodyWantsTakeNoRoom) {
  HeldUpOutput output;
  RunningWatch watch("--lines 2", output.ForProgram());
  output.ProgramHasIt();
  Sender sender;
  for (int step = 0; step < 2; ++step) {
    for (int line = 0; line < kMostKept; ++line) OutputDebugStringA("line of somebody else");
    ASSERT_NO_FATAL_FAILURE(sender.Send(1));
  }
  AwaitThat([&] { return !output.ReadOn(); });
  EXPECT_EQ(watch.Await().exit_code, 0);
  EXPECT_EQ(ShownLines(output.Text()), LinesUpTo(2));
}

TEST_F(WatchedPrograms, AWatchEndsAfterItsTime) {
  const Outcome outcome = RunZentrel("watch --seconds 1 --json");
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_EQ(outcome.Document()["lines"], Json::array());
  EXPECT_EQ(outcome.Document()["missing"], 0);
}

}  // namespace
}  // namespace qmzentrel::program_tests
