// The box's end of the serial line: a pseudo-terminal on Linux, a COM port of a null-modem pair on
// Windows. Which of the two is settled when the program is linked.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/event_wait.h"
#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

struct PortOptions {
  std::string link;       ///< Linux: a symbolic link to the terminal, there while plugged
  std::string lines_dir;  ///< Linux: folder of the modem-line files; empty: no modem lines
  std::string com_name;   ///< Windows: "COM7"
};

class Port {
 public:
  explicit Port(PortOptions options);
  ~Port();
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  /// Makes the port appear; the reason when it does not, else empty.
  std::string Plug();
  void Unplug();
  /// Waits, but not long, until the client has taken what was put on the line.
  void LetTake() const;
  bool IsPlugged() const;

  /// "/dev/pts/3" or "COM7"; empty while unplugged.
  std::string Name() const;

  /// "9600 8 N 2" as the client has set its end up; empty where that cannot be seen.
  std::string Settings() const;

  /// True when the modem lines of the other end can be seen.
  bool HasLines() const;

  void AddTo(EventWait& wait);

  /// Whatever has arrived, without waiting.
  Bytes Read();

  /// Puts bytes on the line. What nobody takes is lost, as on a real line.
  void Write(std::span<const std::uint8_t> bytes);

  /// How the modem lines have changed since the last call, oldest first.
  std::vector<LineChange> TakeLineChanges();

 private:
  struct State;
  PortOptions options_;
  std::unique_ptr<State> state_;  // null while unplugged
};

}  // namespace qmzentrel::virtual_box
