// The program as its users see it: a process, a pseudo-terminal, a control channel, real time.
#include <gtest/gtest.h>
#include <termios.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/virtual_box/tests/box_at_work.h"

namespace qmzentrel::virtual_box {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

// The addresses of this machine at which somebody listens on that port, as the system lists them:
// hexadecimal numbers.
std::vector<std::string> AddressesWith(std::uint16_t port) {
  constexpr char kListening[] = "0A";
  char wanted[8];
  std::snprintf(wanted, sizeof wanted, ":%04X", port);
  std::vector<std::string> addresses;
  for (const char* table : {"tcp", "tcp6"}) {
    std::ifstream lines(fs::path("/proc/net") / table);
    for (std::string line; std::getline(lines, line);) {
      std::string number;
      std::string address;
      std::string peer;
      std::string state;
      std::istringstream(line) >> number >> address >> peer >> state;
      if (state == kListening && address.ends_with(wanted))
        addresses.push_back(address.substr(0, address.find(':')));
    }
  }
  return addresses;
}

class VirtualBoxProgram : public ::testing::Test {
 protected:
  TemporaryFolder folder;
  BoxAtWork box{folder, "box"};
};

TEST_F(VirtualBoxProgram, AnswersOnItsPseudoTerminalInItsTime) {
  box.Start();
  const ClientPort port(box.Link());
  const Time sent = MonotonicNow();
  port.Write({0x80});
  EXPECT_EQ(port.Read(7), (Bytes{0x21, 133, 0xA6, 0, 0, 0, 0x4C}));
  EXPECT_GE(MonotonicNow() - sent, 8 * Time(1145833));
}

TEST_F(VirtualBoxProgram, PlaysAReadAWriteAndTheReadAfterIt) {
  box.Start({"--pace", "off", "--set", "version=4.0", "--set", "id=0x010203"});
  const ClientPort port(box.Link());
  port.Write({0x40});
  Bytes reply = port.Read(19);
  ASSERT_EQ(reply.size(), 19U);
  EXPECT_EQ(Bytes(reply.begin() + 2, reply.begin() + 5), (Bytes{1, 2, 3}));
  EXPECT_EQ(reply[11], 0x40);
  port.Write({1, 7, 0xAA, 0xBB, 0xCC, 0, 0, 0, 9, 0x32, 0, 0});
  reply = port.Read(19);
  ASSERT_EQ(reply.size(), 19U);
  EXPECT_EQ(box.Do("get id"), "ok 0xAABBCC");
  port.Write({0x40});
  EXPECT_EQ(port.Read(19), reply);
}

TEST_F(VirtualBoxProgram, DoesNotHearItsOwnReplies) {
  // A reply that begins with 0x80 would be a command to a box that heard its echo.
  box.Start({"--pace", "off", "--set", "box-version=0x80"});
  const ClientPort port(box.Link());
  port.Write({0x80});
  EXPECT_EQ(port.Read(7).size(), 7U);
  EXPECT_EQ(box.Do("wait-frames 2 20000"), "ok 2");
  EXPECT_EQ(box.Do("wait-frames 3 100"), "error only 2 frames");
}

TEST_F(VirtualBoxProgram, MisbehavesOnDemand) {
  box.Start({"--pace", "off", "--do", "silence 1"});
  const ClientPort port(box.Link());
  port.Write({0x80});
  EXPECT_EQ(box.Do("wait-frames 1 20000"), "ok 1");
  EXPECT_EQ(box.Do("truncate 1 3"), "ok ");
  port.Write({0x80});
  EXPECT_EQ(port.Read(3).size(), 3U);
  EXPECT_TRUE(port.Read(1, milliseconds(100)).empty());
  EXPECT_EQ(box.Do("send AA BB"), "ok ");
  EXPECT_EQ(port.Read(2), (Bytes{0xAA, 0xBB}));
  port.Write({0x80});
  EXPECT_EQ(port.Read(7).size(), 7U);
}

TEST_F(VirtualBoxProgram, LogsTheSameLinesToFileTraceAndControlChannel) {
  const std::string log_file = folder.File("log");
  box.Start({"--pace", "off", "--log", log_file, "--trace"});
  const ClientPort port(box.Link());
  port.Write({0x80});
  ASSERT_EQ(box.Do("wait-frames 2 20000"), "ok 2");
  const auto lines = box.control.Command("log").lines;
  ASSERT_EQ(lines.size(), 3U) << "plugged, command, reply";
  std::ifstream file(log_file);
  for (const std::string& line : lines) {
    std::string from_file;
    std::getline(file, from_file);
    EXPECT_EQ(from_file, line);
    EXPECT_EQ(box.process->ReadLine(), line);
  }
  const std::vector<LogLine> log = box.control.Log();
  ASSERT_EQ(log.size(), 3U);
  EXPECT_EQ(log[1].bytes, Bytes{0x80});
  EXPECT_EQ(log[1].meaning, "Box Status");
  EXPECT_EQ(log[2].bytes.size(), 7U);
  EXPECT_LE(log[2].start, MonotonicNow());
}

TEST_F(VirtualBoxProgram, DropsTheLinesOfAClientThatEndsWithoutClosing) {
  fs::create_directory(box.LinesFolder());
  box.Start({"--lines", box.LinesFolder(), "--startup-ms", "0"});
  ClientPort first(box.Link());
  ClientPort second(box.Link());
  box.SetLines(true, true);
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged supplied"));
  first.Close();
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged supplied")) << "another has it open";
  second.Close();
  box.StateOnce("plugged unsupplied");
  const auto lines = box.control.Command("lines").lines;
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[1].ends_with("dtr=0 rts=0")) << lines[1];

  first = ClientPort(box.Link());
  box.SetLines(true, false);
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged supplied"));
}

TEST_F(VirtualBoxProgram, TakesBytesAsSlowlyAsAWireGivesThemWhereItIsTold) {
  box.Start({"--set", "intake=1", "--pace", "off"});
  const ClientPort port(box.Link());
  const Bytes frame{0x7E, 0x20, 0xC6, 0x08, 8, 1, 2, 17, 1, 2, 3, 4};
  // A box that was not given the processor for a while makes up for it: only the slowest counts.
  Time slowest{0};
  for (int round = 0; round < 10; ++round) {
    const Time sent = MonotonicNow();
    port.Write(frame);
    EXPECT_EQ(port.Read(frame.size()).size(), frame.size()) << "the echo";
    slowest = std::max(slowest, MonotonicNow() - sent);
  }
  EXPECT_GE(slowest, static_cast<int>(frame.size() - 1) * Time(1145833));
}

TEST_F(VirtualBoxProgram, HonoursItsSupplyLine) {
  fs::create_directory(box.LinesFolder());
  box.Start(
      {"--lines", box.LinesFolder(), "--supply", "rts", "--startup-ms", "300", "--pace", "off"});
  const ClientPort port(box.Link());
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged unsupplied"));
  port.Write({0x80});
  ASSERT_EQ(box.Do("wait-frames 1 20000"), "ok 1");
  box.SetLines(true, false);
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged unsupplied")) << "the wrong line";
  box.SetLines(false, true);
  const Time on = MonotonicNow();
  // Commands at once and again until the box has started: the first ones must be lost.
  Bytes reply;
  while (reply.empty() && MonotonicNow() - on < kPatience) {
    port.Write({0x80});
    reply = port.Read(7, milliseconds(50));
  }
  EXPECT_EQ(reply.size(), 7U);
  EXPECT_GE(MonotonicNow() - on, milliseconds(290));
  box.SetLines(false, false);
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged unsupplied"));
  const auto lines = box.control.Command("lines").lines;
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_TRUE(lines[1].ends_with(" dtr=0 rts=1")) << lines[1];
}

TEST_F(VirtualBoxProgram, UnplugHangsUpAndPlugMakesANewPortUnderTheSameLink) {
  box.Start({"--pace", "off"});
  ClientPort port(box.Link());
  EXPECT_EQ(box.Do("unplug"), "ok ");
  EXPECT_FALSE(fs::exists(fs::symlink_status(box.Link())));
  EXPECT_TRUE(port.Read(1).empty()) << "a hung-up terminal reads as ended";
  EXPECT_TRUE(box.Do("plug").starts_with("ok port=/dev/pts/"));
  port = ClientPort(box.Link());
  port.Write({0x80});
  EXPECT_EQ(port.Read(7).size(), 7U);
}

TEST_F(VirtualBoxProgram, UnplugsInTheMiddleOfAReply) {
  box.Start({"--do", "unplug-at 2"});
  const ClientPort port(box.Link());
  port.Write({0x80});
  EXPECT_EQ(port.Read(7).size(), 2U);
  EXPECT_TRUE(box.Do("state").starts_with("ok unplugged"));
}

TEST_F(VirtualBoxProgram, ServesSeveralControlClientsAtOnce) {
  box.Start({"--pace", "off"});
  ControlClient waiting_client;
  ASSERT_TRUE(waiting_client.Connect(box.ControlPort()));
  {
    ControlClient short_lived;
    ASSERT_TRUE(short_lived.Connect(box.ControlPort()));
    EXPECT_TRUE(short_lived.Command("set util 42").ok);
  }
  EXPECT_EQ(waiting_client.Command("get util").text, "42");
  // A time limit of the client's: the box must not answer before the frames are there.
  EXPECT_FALSE(waiting_client.Command("wait-frames 2 20000", milliseconds(100)).ok);
  ASSERT_TRUE(waiting_client.Connect(box.ControlPort()));
  const ClientPort port(box.Link());
  port.Write({0x80});
  EXPECT_EQ(waiting_client.Command("wait-frames 2 20000").text, "2");
  EXPECT_EQ(box.Do("get util"), "ok 42");
}

TEST_F(VirtualBoxProgram, IsReachedFromThisMachineAlone) {
  box.Start();
  EXPECT_EQ(AddressesWith(box.ControlPort()), std::vector<std::string>{"0100007F"});
}

TEST_F(VirtualBoxProgram, ShowsHowTheClientHasSetItsPortUp) {
  box.Start();
  const ClientPort port(box.Link());
  EXPECT_EQ(box.Do("port-settings"), "ok 9600 8 N 2");
  termios settings{};
  ASSERT_EQ(tcgetattr(port.Get(), &settings), 0);
  cfsetspeed(&settings, B2400);
  // Not the data bits and parity: the kernel allows a pseudo-terminal no others than 8 and none.
  settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
  ASSERT_EQ(tcsetattr(port.Get(), TCSANOW, &settings), 0);
  EXPECT_EQ(box.Do("port-settings"), "ok 2400 8 N 1");
}

TEST_F(VirtualBoxProgram, QuitLeavesNothingBehind) {
  fs::create_directory(box.LinesFolder());
  box.Start({"--lines", box.LinesFolder()});
  EXPECT_EQ(box.Do("quit"), "ok ");
  EXPECT_EQ(box.process->Wait(), 0);
  EXPECT_FALSE(fs::exists(fs::symlink_status(box.Link())));
  EXPECT_FALSE(fs::exists(box.ControlFile()));
  EXPECT_TRUE(fs::is_empty(box.LinesFolder()));
}

TEST_F(VirtualBoxProgram, ASignalEndsItCleanly) {
  for (const int number : {SIGTERM, SIGINT}) {
    box.Start();
    box.process->Signal(number);
    EXPECT_EQ(box.process->Wait(), 0);
    EXPECT_FALSE(fs::exists(fs::symlink_status(box.Link())));
  }
}

TEST_F(VirtualBoxProgram, DoesNotReplaceAFileByItsLink) {
  std::ofstream(box.Link()) << "precious";
  BoxProcess refused({"--link", box.Link()});
  EXPECT_EQ(refused.Wait(), 1);
  EXPECT_TRUE(fs::is_regular_file(box.Link()));
}

TEST_F(VirtualBoxProgram, ReplacesALinkThatACrashedRunLeft) {
  fs::create_symlink("/nowhere", box.Link());
  box.Start();
  EXPECT_TRUE(ClientPort(box.Link()).IsOpen());
}

TEST_F(VirtualBoxProgram, RefusesBadOptionsAndSettings) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--fly"},
                                             {"--set", "version=8"},
                                             {"--set", "nothing=1"},
                                             {"--do", "nonsense"},
                                             {"--do", "wait-frames 1 1"},
                                             {"--supply", "dtr"}}) {
    BoxProcess refused(arguments);
    EXPECT_EQ(refused.Wait(), 2) << arguments.back();
  }
  BoxProcess help({"--help"});
  EXPECT_EQ(help.ReadLine(),
            "virtual_box: plays a Zentrel box with a transponder on a serial port.");
  EXPECT_EQ(help.Wait(), 0);
}

}  // namespace
}  // namespace qmzentrel::virtual_box
