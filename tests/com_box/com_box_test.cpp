// The virtual box for real Windows: a program on its own COM port, a control channel, a stop
// signal.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "platform/serial_port.h"
#include "tests/com_box/played_box.h"
#include "tools/virtual_box/control_client.h"

namespace qmzentrel::com_box {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::string FromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set");
  return value;
}

std::string BoxPort() {
  return "COM" + FromEnvironment("QMZ_BOX_PORT");
}

const std::filesystem::path kControlFile =
    std::filesystem::temp_directory_path() / "com_box_control";

class ComBox : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::remove(kControlFile);
    box = std::make_unique<Process>(CommandLine("--port " + BoxPort() +
                                                " --supply none --control 0 --control-file \"" +
                                                kControlFile.string() + "\""));
    control_port = ControlPortOf(*box, BoxPort());
    ASSERT_TRUE(control.Connect(control_port));
  }

  static std::string CommandLine(const std::string& options) {
    return "\"" + FromEnvironment("QMZ_BOX_PROGRAM") + "\" " + options;
  }

  /// Opens the client's end, sends `command` and returns what comes back, at most `length` bytes.
  static Bytes Exchange(const Bytes& command, std::size_t length, std::int32_t limit_ms = 10'000,
                        const char* port_variable = "QMZ_PORT") {
    platform::SerialPort port;
    const auto number = virtual_box::NumberFromEnvironment(port_variable).value();
    if (!port.Open(number, {}, {})) throw std::runtime_error("the client's port does not open");
    port.Write(command);
    Bytes reply(length);
    reply.resize(port.Read(reply, limit_ms));
    return reply;
  }

  std::string Told(const std::string& command) {
    const auto answer = control.Command(command);
    EXPECT_TRUE(answer.ok) << command << ": " << answer.text;
    return answer.text;
  }

  std::unique_ptr<Process> box;
  std::uint16_t control_port = 0;
  virtual_box::ControlClient control;
};

const Bytes kBoxStatus = {0x80};
constexpr std::size_t kBoxStatusLength = 7;

TEST_F(ComBox, AnswersOverItsPort) {
  Told("set startup-ms 0 box-version 2.1 battery 100 signature0 0xA5 signature1 0 filler 0");
  EXPECT_EQ(Exchange(kBoxStatus, kBoxStatusLength), (Bytes{0x21, 100, 0xA5, 0, 0, 0, 0x2A}));
}

TEST_F(ComBox, LosesNoByteOfManyExchangesInARow) {
  Told("set startup-ms 0");
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(Exchange(kBoxStatus, kBoxStatusLength).size(), kBoxStatusLength) << i;
  }
}

TEST_F(ComBox, IsSilentWhileUnpluggedAndAnswersAfterwards) {
  Told("set startup-ms 0");
  Told("unplug");
  EXPECT_EQ(Exchange(kBoxStatus, kBoxStatusLength, 300), Bytes{});
  Told("plug");
  EXPECT_EQ(Exchange(kBoxStatus, kBoxStatusLength).size(), kBoxStatusLength);
}

std::vector<std::string> FramesOf(virtual_box::ControlClient& control) {
  std::vector<std::string> frames;
  for (const virtual_box::LogLine& line : control.Log()) {
    if (!line.IsFrame()) continue;
    frames.push_back(static_cast<char>(line.mark) + (' ' + virtual_box::HexText(line.bytes)));
  }
  return frames;
}

TEST_F(ComBox, HasTheSameFramesAsATapBetweenItAndItsClient) {
  Told("set startup-ms 0");
  const std::string tap_port = "COM" + FromEnvironment("QMZ_TAP_PORT");
  Process tap(CommandLine("--port " + tap_port + " --tap COM" + FromEnvironment("QMZ_PORT") +
                          " --control 0"));
  virtual_box::ControlClient tap_control;
  ASSERT_TRUE(tap_control.Connect(ControlPortOf(tap, tap_port)));
  const Bytes write = {0x25, 7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0};
  const auto exchange = [](const Bytes& command, std::size_t length) {
    return Exchange(command, length, 10'000, "QMZ_TAP_CLIENT_PORT").size();
  };
  EXPECT_EQ(exchange(kBoxStatus, kBoxStatusLength), kBoxStatusLength);
  EXPECT_EQ(exchange(write, 19), 19U);
  EXPECT_EQ(exchange({0x40}, 19), 19U);
  EXPECT_TRUE(tap_control.Command("wait-frames 6 20000").ok);
  EXPECT_EQ(FramesOf(tap_control), FramesOf(control));
  EXPECT_TRUE(tap_control.Command("quit").ok);
  EXPECT_EQ(tap.ExitCode(), 0U);
}

TEST_F(ComBox, CarriesTheWholeSetOfCommandsOfTheLibrary) {
  SetEnvironmentVariableA("QMZ_BOX_CONTROL", ("127.0.0.1:" + std::to_string(control_port)).c_str());
  Process client("\"" + FromEnvironment("QMZ_CLIENT_PROGRAM") +
                 "\" --gtest_filter=BoxCommands.* --gtest_brief=1");
  std::string output;
  for (std::string line = client.ReadLine(); !line.empty(); line = client.ReadLine()) {
    output += line + '\n';
  }
  EXPECT_EQ(client.ExitCode(), 0U) << output;
  EXPECT_EQ(output.find("Running 0 tests"), std::string::npos) << output;
  EXPECT_EQ(output.find("[==========] 0 tests"), std::string::npos) << output;
}

TEST_F(ComBox, EndsByItselfOnCtrlC) {
  EXPECT_TRUE(box->PressCtrlC());
  EXPECT_EQ(box->ExitCode(), 0U);
  EXPECT_FALSE(std::filesystem::exists(kControlFile));
}

TEST_F(ComBox, EndsOnTheCommandQuitAndGivesItsPortBack) {
  Told("quit");
  EXPECT_EQ(box->ExitCode(), 0U);
  EXPECT_FALSE(std::filesystem::exists(kControlFile));
  SetUp();  // the port is free again
}

TEST_F(ComBox, SaysWhyItCannotStart) {
  Process missing(CommandLine("--port COM99 --supply none"));
  EXPECT_EQ(missing.ReadLine(), "virtual_box: cannot open \\\\.\\COM99: error 2");
  EXPECT_EQ(missing.ExitCode(), 1U);
  Process without_box(CommandLine("--port " + BoxPort() + " --tap COM99"));
  EXPECT_EQ(without_box.ReadLine(), "virtual_box: cannot open \\\\.\\COM99: error 2");
  EXPECT_EQ(without_box.ExitCode(), 1U);
  Process without_port(CommandLine("--supply none"));
  EXPECT_EQ(without_port.ReadLine(), "virtual_box: --port is missing; see --help");
  EXPECT_EQ(without_port.ExitCode(), 2U);
}

}  // namespace
}  // namespace qmzentrel::com_box
