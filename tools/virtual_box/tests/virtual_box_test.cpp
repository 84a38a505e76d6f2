// The program as its users see it: a process, a pseudo-terminal, a control channel, real time.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/virtual_box/control_client.h"
#include "tools/virtual_box/event_wait.h"
#include "tools/virtual_box/file_descriptor.h"

namespace qmzentrel::virtual_box {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

// Far beyond anything that is expected to take time; a loaded machine must not fail a test.
constexpr milliseconds kPatience{20000};

fs::path MakeTemporaryFolder() {
  std::string path = (fs::temp_directory_path() / "virtual_box_XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) std::abort();
  return path;
}

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

class BoxProcess {
 public:
  explicit BoxProcess(std::vector<std::string> arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    arguments.insert(arguments.begin(), VIRTUAL_BOX_PROGRAM);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      execv(pointers[0], pointers.data());
      _exit(127);
    }
    output_ = FileDescriptor(ends[0]);
    close(ends[1]);
  }

  ~BoxProcess() {
    if (process_ > 0) {
      kill(process_, SIGTERM);
      Wait();
    }
  }

  std::string ReadLine() {
    std::string line;
    char c = 0;
    while (WaitReadable(output_.Get()) && read(output_.Get(), &c, 1) == 1 && c != '\n') line += c;
    return line;
  }

  void Signal(int number) const { kill(process_, number); }

  // The exit code.
  int Wait() {
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  static bool WaitReadable(int file, milliseconds limit = kPatience) {
    pollfd polled{file, POLLIN, 0};
    return poll(&polled, 1, static_cast<int>(limit.count())) > 0;
  }

 private:
  pid_t process_ = -1;
  FileDescriptor output_;
};

class VirtualBoxProgram : public ::testing::Test {
 protected:
  void TearDown() override {
    box.reset();
    fs::remove_all(folder);
  }

  void Start(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"--link", Link(),           "--control",
                                          "0",      "--control-file", ControlFile()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    box = std::make_unique<BoxProcess>(arguments);
    ready = box->ReadLine();
    ASSERT_TRUE(ready.starts_with("ready port=/dev/pts/")) << ready;
    ASSERT_TRUE(control.Connect(ControlPort()));
  }

  std::string Link() const { return (folder / "box").string(); }
  std::string ControlFile() const { return (folder / "control").string(); }
  std::uint16_t ControlPort() const {
    std::uint16_t port = 0;
    std::ifstream(ControlFile()) >> port;
    return port;
  }
  std::string LinesFolder() const { return (folder / "lines").string(); }

  FileDescriptor OpenPort() const {
    return FileDescriptor(open(Link().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  }

  static void Write(const FileDescriptor& port, const Bytes& bytes) {
    ASSERT_EQ(write(port.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  // Reads until `count` bytes are there or nothing has come for `limit`.
  static Bytes Read(const FileDescriptor& port, std::size_t count, milliseconds limit = kPatience) {
    Bytes bytes;
    std::uint8_t byte = 0;
    while (bytes.size() < count && BoxProcess::WaitReadable(port.Get(), limit) &&
           read(port.Get(), &byte, 1) == 1) {
      bytes.push_back(byte);
    }
    return bytes;
  }

  std::string Do(const std::string& command) {
    const auto answer = control.Command(command);
    return (answer.ok ? "ok " : "error ") + answer.text;
  }

  // As the preloaded library writes it in the client's process.
  void SetLines(bool dtr, bool rts) {
    const std::string number = ready.substr(std::string("ready port=/dev/pts/").size());
    const std::string file = "pts-" + number.substr(0, number.find(' '));
    ASSERT_TRUE(fs::exists(fs::path(LinesFolder()) / file));
    const Time now = MonotonicNow();
    char record[40];
    std::snprintf(record, sizeof record, "%d %d %010lld.%09lld\n", dtr, rts,
                  static_cast<long long>(now / std::chrono::seconds(1)),
                  static_cast<long long>((now % std::chrono::seconds(1)).count()));
    std::ofstream(fs::path(LinesFolder()) / file, std::ios::app) << record;
  }

  fs::path folder = MakeTemporaryFolder();
  std::unique_ptr<BoxProcess> box;
  std::string ready;
  ControlClient control;
};

TEST_F(VirtualBoxProgram, AnswersOnItsPseudoTerminalInItsTime) {
  Start();
  const FileDescriptor port = OpenPort();
  const Time sent = MonotonicNow();
  Write(port, {0x80});
  EXPECT_EQ(Read(port, 7), (Bytes{0x21, 133, 0xA6, 0, 0, 0, 0x4C}));
  EXPECT_GE(MonotonicNow() - sent, 8 * Time(1145833));
}

TEST_F(VirtualBoxProgram, PlaysAReadAWriteAndTheReadAfterIt) {
  Start({"--pace", "off", "--set", "version=4.0", "--set", "id=0x010203"});
  const FileDescriptor port = OpenPort();
  Write(port, {0x40});
  Bytes reply = Read(port, 19);
  ASSERT_EQ(reply.size(), 19U);
  EXPECT_EQ(Bytes(reply.begin() + 2, reply.begin() + 5), (Bytes{1, 2, 3}));
  EXPECT_EQ(reply[11], 0x40);
  Write(port, {1, 7, 0xAA, 0xBB, 0xCC, 0, 0, 0, 9, 0x32, 0, 0});
  reply = Read(port, 19);
  ASSERT_EQ(reply.size(), 19U);
  EXPECT_EQ(Do("get id"), "ok 0xAABBCC");
  Write(port, {0x40});
  EXPECT_EQ(Read(port, 19), reply);
}

TEST_F(VirtualBoxProgram, DoesNotHearItsOwnReplies) {
  // A reply that begins with 0x80 would be a command to a box that heard its echo.
  Start({"--pace", "off", "--set", "box-version=0x80"});
  const FileDescriptor port = OpenPort();
  Write(port, {0x80});
  EXPECT_EQ(Read(port, 7).size(), 7U);
  EXPECT_EQ(Do("wait-frames 2 20000"), "ok 2");
  EXPECT_EQ(Do("wait-frames 3 100"), "error only 2 frames");
}

TEST_F(VirtualBoxProgram, MisbehavesOnDemand) {
  Start({"--pace", "off", "--do", "silence 1"});
  const FileDescriptor port = OpenPort();
  Write(port, {0x80});
  EXPECT_EQ(Do("wait-frames 1 20000"), "ok 1");
  EXPECT_EQ(Do("truncate 1 3"), "ok ");
  Write(port, {0x80});
  EXPECT_EQ(Read(port, 3).size(), 3U);
  EXPECT_TRUE(Read(port, 1, milliseconds(100)).empty());
  EXPECT_EQ(Do("send AA BB"), "ok ");
  EXPECT_EQ(Read(port, 2), (Bytes{0xAA, 0xBB}));
  Write(port, {0x80});
  EXPECT_EQ(Read(port, 7).size(), 7U);
}

TEST_F(VirtualBoxProgram, LogsTheSameLinesToFileTraceAndControlChannel) {
  const std::string log_file = (folder / "log").string();
  Start({"--pace", "off", "--log", log_file, "--trace"});
  const FileDescriptor port = OpenPort();
  Write(port, {0x80});
  ASSERT_EQ(Do("wait-frames 2 20000"), "ok 2");
  const auto lines = control.Command("log").lines;
  ASSERT_EQ(lines.size(), 3U) << "plugged, command, reply";
  std::ifstream file(log_file);
  for (const std::string& line : lines) {
    std::string from_file;
    std::getline(file, from_file);
    EXPECT_EQ(from_file, line);
    EXPECT_EQ(box->ReadLine(), line);
  }
  const std::vector<LogLine> log = control.Log();
  ASSERT_EQ(log.size(), 3U);
  EXPECT_EQ(log[1].bytes, Bytes{0x80});
  EXPECT_EQ(log[1].meaning, "Box Status");
  EXPECT_EQ(log[2].bytes.size(), 7U);
  EXPECT_LE(log[2].start, MonotonicNow());
}

TEST_F(VirtualBoxProgram, DropsTheLinesOfAClientThatEndsWithoutClosing) {
  fs::create_directory(LinesFolder());
  Start({"--lines", LinesFolder(), "--startup-ms", "0"});
  FileDescriptor first = OpenPort();
  FileDescriptor second = OpenPort();
  SetLines(true, true);
  EXPECT_TRUE(Do("state").starts_with("ok plugged supplied"));
  first.Reset();
  EXPECT_TRUE(Do("state").starts_with("ok plugged supplied")) << "another has it open";
  second.Reset();
  const Time begin = MonotonicNow();
  while (!Do("state").starts_with("ok plugged unsupplied") && MonotonicNow() - begin < kPatience) {
  }
  const auto lines = control.Command("lines").lines;
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[1].ends_with("dtr=0 rts=0")) << lines[1];

  first = OpenPort();
  SetLines(true, false);
  EXPECT_TRUE(Do("state").starts_with("ok plugged supplied"));
}

TEST_F(VirtualBoxProgram, TakesBytesAsSlowlyAsAWireGivesThemWhereItIsTold) {
  Start({"--set", "intake=1", "--pace", "off"});
  const FileDescriptor port = OpenPort();
  const Bytes frame{0x7E, 0x20, 0xC6, 0x08, 8, 1, 2, 17, 1, 2, 3, 4};
  // A box that was not given the processor for a while makes up for it: only the slowest counts.
  Time slowest{0};
  for (int round = 0; round < 10; ++round) {
    const Time sent = MonotonicNow();
    Write(port, frame);
    EXPECT_EQ(Read(port, frame.size()).size(), frame.size()) << "the echo";
    slowest = std::max(slowest, MonotonicNow() - sent);
  }
  EXPECT_GE(slowest, static_cast<int>(frame.size() - 1) * Time(1145833));
}

TEST_F(VirtualBoxProgram, HonoursItsSupplyLine) {
  fs::create_directory(LinesFolder());
  Start({"--lines", LinesFolder(), "--supply", "rts", "--startup-ms", "300", "--pace", "off"});
  const FileDescriptor port = OpenPort();
  EXPECT_TRUE(Do("state").starts_with("ok plugged unsupplied"));
  Write(port, {0x80});
  ASSERT_EQ(Do("wait-frames 1 20000"), "ok 1");
  SetLines(true, false);
  EXPECT_TRUE(Do("state").starts_with("ok plugged unsupplied")) << "the wrong line";
  SetLines(false, true);
  const Time on = MonotonicNow();
  // Commands at once and again until the box has started: the first ones must be lost.
  Bytes reply;
  while (reply.empty() && MonotonicNow() - on < kPatience) {
    Write(port, {0x80});
    reply = Read(port, 7, milliseconds(50));
  }
  EXPECT_EQ(reply.size(), 7U);
  EXPECT_GE(MonotonicNow() - on, milliseconds(290));
  SetLines(false, false);
  EXPECT_TRUE(Do("state").starts_with("ok plugged unsupplied"));
  const auto lines = control.Command("lines").lines;
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_TRUE(lines[1].ends_with(" dtr=0 rts=1")) << lines[1];
}

TEST_F(VirtualBoxProgram, UnplugHangsUpAndPlugMakesANewPortUnderTheSameLink) {
  Start({"--pace", "off"});
  FileDescriptor port = OpenPort();
  EXPECT_EQ(Do("unplug"), "ok ");
  EXPECT_FALSE(fs::exists(fs::symlink_status(Link())));
  EXPECT_TRUE(Read(port, 1).empty()) << "a hung-up terminal reads as ended";
  EXPECT_TRUE(Do("plug").starts_with("ok port=/dev/pts/"));
  port = OpenPort();
  Write(port, {0x80});
  EXPECT_EQ(Read(port, 7).size(), 7U);
}

TEST_F(VirtualBoxProgram, UnplugsInTheMiddleOfAReply) {
  Start({"--do", "unplug-at 2"});
  const FileDescriptor port = OpenPort();
  Write(port, {0x80});
  EXPECT_EQ(Read(port, 7).size(), 2U);
  EXPECT_TRUE(Do("state").starts_with("ok unplugged"));
}

TEST_F(VirtualBoxProgram, ServesSeveralControlClientsAtOnce) {
  Start({"--pace", "off"});
  ControlClient waiting_client;
  ASSERT_TRUE(waiting_client.Connect(ControlPort()));
  {
    ControlClient short_lived;
    ASSERT_TRUE(short_lived.Connect(ControlPort()));
    EXPECT_TRUE(short_lived.Command("set util 42").ok);
  }
  EXPECT_EQ(waiting_client.Command("get util").text, "42");
  // A time limit of the client's: the box must not answer before the frames are there.
  EXPECT_FALSE(waiting_client.Command("wait-frames 2 20000", milliseconds(100)).ok);
  ASSERT_TRUE(waiting_client.Connect(ControlPort()));
  const FileDescriptor port = OpenPort();
  Write(port, {0x80});
  EXPECT_EQ(waiting_client.Command("wait-frames 2 20000").text, "2");
  EXPECT_EQ(Do("get util"), "ok 42");
}

TEST_F(VirtualBoxProgram, IsReachedFromThisMachineAlone) {
  Start();
  EXPECT_EQ(AddressesWith(ControlPort()), std::vector<std::string>{"0100007F"});
}

TEST_F(VirtualBoxProgram, ShowsHowTheClientHasSetItsPortUp) {
  Start();
  const FileDescriptor port = OpenPort();
  EXPECT_EQ(Do("port-settings"), "ok 9600 8 N 2");
  termios settings{};
  ASSERT_EQ(tcgetattr(port.Get(), &settings), 0);
  cfsetspeed(&settings, B2400);
  // Not the data bits and parity: the kernel allows a pseudo-terminal no others than 8 and none.
  settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB);
  ASSERT_EQ(tcsetattr(port.Get(), TCSANOW, &settings), 0);
  EXPECT_EQ(Do("port-settings"), "ok 2400 8 N 1");
}

TEST_F(VirtualBoxProgram, QuitLeavesNothingBehind) {
  fs::create_directory(LinesFolder());
  Start({"--lines", LinesFolder()});
  EXPECT_EQ(Do("quit"), "ok ");
  EXPECT_EQ(box->Wait(), 0);
  EXPECT_FALSE(fs::exists(fs::symlink_status(Link())));
  EXPECT_FALSE(fs::exists(ControlFile()));
  EXPECT_TRUE(fs::is_empty(LinesFolder()));
}

TEST_F(VirtualBoxProgram, ASignalEndsItCleanly) {
  for (const int number : {SIGTERM, SIGINT}) {
    Start();
    box->Signal(number);
    EXPECT_EQ(box->Wait(), 0);
    EXPECT_FALSE(fs::exists(fs::symlink_status(Link())));
  }
}

TEST_F(VirtualBoxProgram, DoesNotReplaceAFileByItsLink) {
  std::ofstream(Link()) << "precious";
  BoxProcess refused({"--link", Link()});
  EXPECT_EQ(refused.Wait(), 1);
  EXPECT_TRUE(fs::is_regular_file(Link()));
}

TEST_F(VirtualBoxProgram, ReplacesALinkThatACrashedRunLeft) {
  fs::create_symlink("/nowhere", Link());
  Start();
  EXPECT_TRUE(OpenPort().IsOpen());
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
