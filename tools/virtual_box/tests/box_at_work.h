// The program virtual_box as its users see it: a process, a pseudo-terminal under a link, a control
// channel.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/virtual_box/control_client.h"
#include "tools/virtual_box/event_wait.h"
#include "tools/virtual_box/file_descriptor.h"
#include "tools/virtual_box/modem_line_file.h"

namespace qmzentrel::virtual_box {

// Far beyond anything that is expected to take time; a loaded machine must not fail a test.
inline constexpr std::chrono::milliseconds kPatience{20000};

/// A folder of the test's own, gone with its end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "virtual_box_XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) std::abort();
    path_ = path;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline bool WaitReadable(int file, std::chrono::milliseconds limit = kPatience) {
  pollfd polled{file, POLLIN, 0};
  return poll(&polled, 1, static_cast<int>(limit.count())) > 0;
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
  BoxProcess(const BoxProcess&) = delete;
  BoxProcess& operator=(const BoxProcess&) = delete;

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

 private:
  pid_t process_ = -1;
  FileDescriptor output_;
};

/// A client's end of a serial line.
class ClientPort {
 public:
  explicit ClientPort(const std::string& path)
      : file_(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {}

  bool IsOpen() const { return file_.IsOpen(); }
  int Get() const { return file_.Get(); }
  void Close() { file_.Reset(); }

  void Write(const Bytes& bytes) const {
    ASSERT_EQ(write(file_.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  // Reads until `count` bytes are there or nothing has come for `limit`.
  Bytes Read(std::size_t count, std::chrono::milliseconds limit = kPatience) const {
    Bytes bytes;
    std::uint8_t byte = 0;
    while (bytes.size() < count && WaitReadable(file_.Get(), limit) &&
           read(file_.Get(), &byte, 1) == 1) {
      bytes.push_back(byte);
    }
    return bytes;
  }

 private:
  FileDescriptor file_;
};

/// The program at work, its files in `folder`.
class BoxAtWork {
 public:
  BoxAtWork(const TemporaryFolder& folder, std::string name)
      : folder_(folder), name_(std::move(name)) {}

  void Start(std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"--link", Link(),           "--control",
                                          "0",      "--control-file", ControlFile()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    process = std::make_unique<BoxProcess>(arguments);
    const std::string ready = process->ReadLine();
    ASSERT_TRUE(ready.starts_with("ready port=/dev/pts/")) << ready;
    ASSERT_TRUE(control.Connect(ControlPort()));
  }

  std::string Link() const { return folder_.File(name_); }
  std::string ControlFile() const { return folder_.File(name_ + ".control"); }
  std::uint16_t ControlPort() const {
    std::uint16_t port = 0;
    std::ifstream(ControlFile()) >> port;
    return port;
  }
  std::string LinesFolder() const { return folder_.File("lines"); }

  std::string Do(const std::string& command) {
    const auto answer = control.Command(command);
    return (answer.ok ? "ok " : "error ") + answer.text;
  }

  // As the preloaded library does it in the client's process.
  void SetLines(bool dtr, bool rts) const {
    const std::string terminal = std::filesystem::read_symlink(Link()).string();
    const std::string file = LineFileOf(LinesFolder(), terminal);
    ASSERT_TRUE(std::filesystem::exists(file));
    std::ofstream(file, std::ios::app) << FormatLineRecord({MonotonicNow(), dtr, rts});
  }

  /// Asks for the state until it begins like that, but not for ever; the state.
  std::string StateOnce(const std::string& begin) {
    const Time asked = MonotonicNow();
    std::string state;
    do {
      state = Do("state");
    } while (!state.starts_with("ok " + begin) && MonotonicNow() - asked < kPatience);
    return state;
  }

  std::unique_ptr<BoxProcess> process;
  ControlClient control;

 private:
  const TemporaryFolder& folder_;
  std::string name_;
};

}  // namespace qmzentrel::virtual_box
