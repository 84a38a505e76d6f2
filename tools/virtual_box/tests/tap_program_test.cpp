// The tap as a process, between a client's pseudo-terminal and that of a box.
#include <gtest/gtest.h>
#include <termios.h>

#include "tools/virtual_box/log_line.h"
#include "tools/virtual_box/tests/box_at_work.h"

namespace qmzentrel::virtual_box {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

const Bytes kAskStatus = {0x80};
constexpr std::size_t kStatusLength = 7;

using Frame = std::pair<LogMark, Bytes>;

std::vector<Frame> FramesOf(BoxAtWork& program) {
  std::vector<Frame> frames;
  for (const LogLine& line : program.control.Log()) {
    if (line.IsFrame()) frames.emplace_back(line.mark, line.bytes);
  }
  return frames;
}

// Frames of one direction, one behind the other.
Bytes BytesOf(BoxAtWork& program, LogMark direction) {
  Bytes bytes;
  for (const auto& [mark, frame] : FramesOf(program)) {
    if (mark == direction) bytes.insert(bytes.end(), frame.begin(), frame.end());
  }
  return bytes;
}

// How the modem lines of a port have stood, without the times.
std::vector<std::string> LinesOf(BoxAtWork& program) {
  std::vector<std::string> lines = program.control.Command("lines").lines;
  for (std::string& line : lines) line.erase(0, line.find(' '));
  return lines;
}

class TapAtWork : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directory(box.LinesFolder()); }

  void StartTap(const std::string& port, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"--tap", port};
    arguments.insert(arguments.end(), more.begin(), more.end());
    tap.Start(arguments);
  }

  // Returns when the box has written down what was sent.
  void AskAndWait(const ClientPort& port, const Bytes& bytes) {
    const std::size_t frames = FramesOf(box).size() + 1;
    port.Write(bytes);
    EXPECT_TRUE(box.Do("wait-frames " + std::to_string(frames) + " 20000").starts_with("ok"));
  }

  TemporaryFolder folder;
  BoxAtWork box{folder, "box"};
  BoxAtWork tap{folder, "tap"};
};

TEST_F(TapAtWork, HasTheFramesOfEveryCommandAsTheBoxHasThem) {
  // At once: what a box on a busy machine sends in pieces is in pieces here, too.
  box.Start({"--pace", "off", "--do", "test 5 1 AA BB"});
  StartTap(box.Link());
  const ClientPort port(tap.Link());
  const std::vector<std::pair<Bytes, std::size_t>> kCommands = {
      {kAskStatus, kStatusLength},
      {{0x40}, 19},
      {{0x42}, 19},
      {{0xC0}, 19},
      {{0x25, 7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0}, 19},
      {{0x25, 1, 2, 3, 4, 5, 6, 7, 55, 0, 0x20, 0}, 19},
      {{0x7E, 0x20, 0xC7, 2, 8, 17}, 12},
      {{0x7E, 0x20, 0xC6, 3, 8, 1, 2}, 7},
      {{0x7E, 0x20, 0xC9, 2, 5, 1}, 7}};
  std::vector<Frame> expected;
  for (const auto& [command, length] : kCommands) {
    port.Write(command);
    const Bytes reply = port.Read(length);
    ASSERT_EQ(reply.size(), length);
    expected.emplace_back(LogMark::kToBox, command);
    expected.emplace_back(LogMark::kFromBox, reply);
  }
  EXPECT_EQ(tap.Do("wait-frames 18 20000"), "ok 18");
  EXPECT_EQ(FramesOf(tap), expected);
  EXPECT_EQ(FramesOf(box), expected);
}

TEST_F(TapAtWork, HasTheBytesOfEveryFaultAsTheBoxHasThem) {
  box.Start();
  StartTap(box.Link());
  const ClientPort port(tap.Link());
  for (const auto& [fault, length] :
       std::vector<std::pair<std::string, std::size_t>>{{"silence", 0},
                                                        {"truncate 1 3", 3},
                                                        {"wrong-sum", 7},
                                                        {"garbage 1 30", 30},
                                                        {"stray AA BB", 9},
                                                        {"late 250", 7},
                                                        {"split 3 250", 7}}) {
    ASSERT_EQ(box.Do(fault), "ok ");
    AskAndWait(port, kAskStatus);
    EXPECT_EQ(port.Read(length).size(), length) << fault;
  }
  ASSERT_EQ(box.Do("send 01 02 03"), "ok ");
  EXPECT_EQ(port.Read(3), (Bytes{1, 2, 3}));
  AskAndWait(port, {0x25, 1});
  AskAndWait(port, {0x7F, 0x80, 0x40});
  port.Write(kAskStatus);
  EXPECT_EQ(port.Read(kStatusLength).size(), kStatusLength);

  const Time asked = MonotonicNow();
  while (MonotonicNow() - asked < kPatience &&
         BytesOf(tap, LogMark::kToBox).size() < BytesOf(box, LogMark::kToBox).size()) {
  }
  EXPECT_EQ(BytesOf(box, LogMark::kFromBox).size(), 3U + 7 + 30 + 9 + 7 + 7 + 3 + 7);
  EXPECT_EQ(BytesOf(tap, LogMark::kFromBox), BytesOf(box, LogMark::kFromBox));
  EXPECT_EQ(BytesOf(box, LogMark::kToBox).size(), 7U + 2 + 3 + 1);
  EXPECT_EQ(BytesOf(tap, LogMark::kToBox), BytesOf(box, LogMark::kToBox));
}

TEST_F(TapAtWork, PassesTheHangUpOfTheBoxOnAndFindsItAgain) {
  box.Start({"--do", "unplug-at 2"});
  StartTap(box.Link());
  ClientPort port(tap.Link());
  port.Write(kAskStatus);
  EXPECT_EQ(port.Read(kStatusLength).size(), 2U) << "what was sent before, and then the end";
  EXPECT_EQ(tap.StateOnce("unplugged"), "ok unplugged box= port=");
  EXPECT_FALSE(fs::exists(fs::symlink_status(tap.Link())));
  EXPECT_EQ(BytesOf(tap, LogMark::kFromBox), BytesOf(box, LogMark::kFromBox));

  EXPECT_TRUE(box.Do("plug").starts_with("ok port="));
  EXPECT_TRUE(tap.StateOnce("plugged").starts_with("ok plugged box=" + box.Link()));
  port = ClientPort(tap.Link());
  port.Write(kAskStatus);
  EXPECT_EQ(port.Read(kStatusLength).size(), kStatusLength);
}

TEST_F(TapAtWork, FeedsTheBoxAsItsClientDoes) {
  box.Start({"--lines", box.LinesFolder(), "--supply", "dtr", "--startup-ms", "0"});
  StartTap(box.Link(), {"--lines", box.LinesFolder()});
  EXPECT_TRUE(box.Do("state").starts_with("ok plugged unsupplied"));
  // The tap has begun with both lines off.
  EXPECT_EQ(box.Do("lines-clear"), "ok ");
  {
    const ClientPort port(tap.Link());
    tap.SetLines(false, true);
    tap.SetLines(true, true);
    // At once, as a client does: the bytes must not come before the supply.
    port.Write(kAskStatus);
    EXPECT_EQ(port.Read(kStatusLength).size(), kStatusLength);
    EXPECT_TRUE(box.Do("state").starts_with("ok plugged supplied"));
    tap.SetLines(true, false);
  }
  // The client has ended without switching off.
  EXPECT_TRUE(box.StateOnce("plugged unsupplied").starts_with("ok plugged unsupplied"));
  const std::vector<std::string> expected = {" dtr=0 rts=1", " dtr=1 rts=1", " dtr=1 rts=0",
                                             " dtr=0 rts=0"};
  EXPECT_EQ(LinesOf(tap), expected);
  EXPECT_EQ(LinesOf(box), expected);
}

TEST_F(TapAtWork, SwitchesTheBoxOffWhenItIsUnpluggedOrEnds) {
  box.Start({"--lines", box.LinesFolder(), "--startup-ms", "0"});
  StartTap(box.Link(), {"--lines", box.LinesFolder()});
  tap.SetLines(true, false);
  EXPECT_TRUE(box.StateOnce("plugged supplied").starts_with("ok plugged supplied"));
  const ClientPort port(tap.Link());
  EXPECT_EQ(tap.Do("unplug"), "ok ");
  EXPECT_TRUE(port.Read(1).empty()) << "a hung-up terminal reads as ended";
  EXPECT_TRUE(box.StateOnce("plugged unsupplied").starts_with("ok plugged unsupplied"));
  EXPECT_TRUE(tap.Do("plug").starts_with("ok port="));
  tap.SetLines(true, false);
  EXPECT_TRUE(box.StateOnce("plugged supplied").starts_with("ok plugged supplied"));
  EXPECT_EQ(tap.Do("quit"), "ok ");
  EXPECT_EQ(tap.process->Wait(), 0);
  EXPECT_TRUE(box.StateOnce("plugged unsupplied").starts_with("ok plugged unsupplied"));
}

TEST_F(TapAtWork, SaysWhereItCannotPassTheLinesOn) {
  box.Start({"--lines", box.LinesFolder(), "--startup-ms", "0"});
  StartTap(box.Link());
  EXPECT_TRUE(tap.control.Log().front().meaning.ends_with(", no modem lines"));
  // The other way round: the client's port has lines, the box's has none.
  BoxAtWork plain(folder, "plain");
  plain.Start();
  StartTap(plain.Link(), {"--lines", box.LinesFolder()});
  EXPECT_TRUE(tap.control.Log().front().meaning.ends_with(", no modem lines"));
}

// A box of the test's own, whose every byte it has in hand.
class BareBox {
 public:
  BareBox() : end_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (grantpt(end_.Get()) != 0 || unlockpt(end_.Get()) != 0) std::abort();
  }
  std::string Name() const { return ptsname(end_.Get()); }
  void HangUp() { end_.Reset(); }
  Bytes Read(std::size_t count) const {
    Bytes bytes(count);
    std::size_t got = 0;
    while (got < count && WaitReadable(end_.Get())) {
      const ssize_t more = read(end_.Get(), bytes.data() + got, count - got);
      if (more <= 0) break;
      got += static_cast<std::size_t>(more);
    }
    bytes.resize(got);
    return bytes;
  }
  void Write(const Bytes& bytes) const {
    ASSERT_EQ(write(end_.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  termios Settings() const {
    termios settings{};
    tcgetattr(end_.Get(), &settings);
    return settings;
  }

 private:
  FileDescriptor end_;
};

TEST_F(TapAtWork, PassesEachByteWithoutWaitingForTheRestOfItsFrame) {
  BareBox bare;
  StartTap(bare.Name());
  const ClientPort port(tap.Link());
  for (const std::uint8_t byte : Bytes{0x25, 0, 0x0A, 0x0D, 0x11, 0x13, 0x03, 0xFF}) {
    port.Write({byte});
    EXPECT_EQ(bare.Read(1), Bytes{byte});
    bare.Write({byte});
    EXPECT_EQ(port.Read(1), Bytes{byte});
  }
  bare.HangUp();
  EXPECT_TRUE(port.Read(1).empty());
}

TEST_F(TapAtWork, LeavesItsClientTimeForWhatCameBeforeTheHangUp) {
  BareBox bare;
  StartTap(bare.Name());
  const ClientPort port(tap.Link());
  bare.Write({1, 2});
  ASSERT_TRUE(WaitReadable(port.Get())) << "the tap has passed it on";
  bare.HangUp();
  poll(nullptr, 0, 50);
  EXPECT_EQ(port.Read(3), (Bytes{1, 2}));
}

TEST_F(TapAtWork, SetsThePortOfTheBoxUpAsClientsSetTheirs) {
  const BareBox bare;
  StartTap(bare.Name());
  const termios settings = bare.Settings();
  EXPECT_EQ(cfgetospeed(&settings), B9600);
  EXPECT_EQ(cfgetispeed(&settings), B9600);
  EXPECT_EQ(settings.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS), tcflag_t{CS8 | CSTOPB});
  EXPECT_EQ(settings.c_iflag & (IXON | IXOFF), 0U);
}

TEST_F(TapAtWork, WritesWhatIsIncompleteDownWhenItEnds) {
  const BareBox bare;
  const std::string file = folder.File("log");
  StartTap(bare.Name(), {"--log", file});
  const ClientPort port(tap.Link());
  port.Write(kAskStatus);
  EXPECT_EQ(bare.Read(1), kAskStatus);
  bare.Write({0x21, 0x85});
  EXPECT_EQ(port.Read(2).size(), 2U);
  EXPECT_EQ(tap.Do("quit"), "ok ");
  EXPECT_EQ(tap.process->Wait(), 0);
  std::ifstream lines(file);
  std::string last;
  for (std::string line; std::getline(lines, line);) last = line;
  EXPECT_NE(last.find("< 21 85 ; incomplete reply to Box Status, 2 bytes of 7"), std::string::npos)
      << last;
}

TEST_F(TapAtWork, CountsItsTimesFromItsStart) {
  const Time before = MonotonicNow();
  const BareBox bare;
  StartTap(bare.Name());
  const std::string answer = tap.Do("now");
  ASSERT_TRUE(answer.starts_with("ok "));
  EXPECT_LE(std::stod(answer.substr(3)) / 1000,
            std::chrono::duration<double>(MonotonicNow() - before).count());
  EXPECT_LE(tap.control.Log().front().start, MonotonicNow() - before);
}

TEST_F(TapAtWork, RefusesWhatIsForABox) {
  const BareBox bare;
  StartTap(bare.Name());
  for (const char* command : {"set util 4", "get", "message 8", "test 5", "faults", "clear",
                              "send 01", "supply dtr", "silence 2", "late 5 + wrong-sum"}) {
    const std::string answer = tap.Do(command);
    EXPECT_TRUE(answer.ends_with(" is for a box, and this is a tap: ask the box behind it"))
        << command << ": " << answer;
  }
  for (const char* command :
       {"lines", "lines-clear", "state", "port-settings", "log", "log-clear", "now", "help"}) {
    EXPECT_TRUE(tap.Do(command).starts_with("ok ")) << command;
  }
  for (const std::string& line : tap.control.Command("help").lines) {
    EXPECT_EQ(line.find("transponder"), std::string::npos) << line;
  }
}

TEST_F(TapAtWork, SaysWhyItCannotStart) {
  BoxProcess missing({"--tap", folder.File("nothing")});
  EXPECT_EQ(missing.Wait(), 1);
  std::ofstream(folder.File("plain")) << "no terminal";
  BoxProcess plain({"--tap", folder.File("plain")});
  EXPECT_EQ(plain.Wait(), 1);
  const BareBox bare;
  for (const std::vector<std::string>& more : std::vector<std::vector<std::string>>{
           {"--set", "util=1"}, {"--pace", "off"}, {"--do", "silence 1"}, {"--supply", "none"}}) {
    std::vector<std::string> arguments = {"--tap", bare.Name()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    BoxProcess refused(arguments);
    EXPECT_EQ(refused.Wait(), 2) << more[0];
  }
}

}  // namespace
}  // namespace qmzentrel::virtual_box
