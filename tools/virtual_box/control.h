// The control channel's language: one command a line, one answer each.
#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "tools/virtual_box/box_model.h"
#include "tools/virtual_box/frame_log.h"
#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

/// What the program around the box, or in the place of one, does on command.
class BoxHost {
 public:
  virtual ~BoxHost() = default;

  /// Makes the port appear; the reason when it does not, else empty.
  virtual std::string Plug() = 0;
  virtual void Unplug() = 0;
  virtual bool IsPlugged() const = 0;

  /// What else there is to say of its state: "supplied".
  virtual std::string Condition() const = 0;

  /// "/dev/pts/3" or "COM7"; empty while unplugged.
  virtual std::string PortName() const = 0;

  /// How the client has set the port up: "9600 8 N 2"; empty when that cannot be seen.
  virtual std::string PortSettings() const = 0;

  /// True when this port shows its modem lines, so that they can carry the supply.
  virtual bool HasLines() const = 0;
  virtual void Quit() = 0;
};

struct ControlAnswer {
  bool ok = true;
  std::string text;                ///< after "ok" or "error"
  std::vector<std::string> lines;  ///< of an answer that is a list
  bool is_list = false;

  /// As it travels: "ok", "ok 8.0", "error unknown command", or "ok lines=2" and the two lines.
  std::string Wire() const;
};

/// The answer comes once so many frames are in the log, or when the time is over.
struct FrameWait {
  std::size_t frames = 0;
  Time deadline{0};
};

class Control {
 public:
  /// `model`: null where there is no box; commands about one are then refused.
  Control(BoxModel* model, FrameLog& log, SupplyLine& supply, BoxHost& host)
      : model_(model), log_(log), supply_(supply), host_(host) {}

  std::variant<ControlAnswer, FrameWait> Execute(const std::string& line, Time now);

 private:
  using Words = std::vector<std::string>;
  struct Command;

  static const std::vector<Command>& Commands();

  ControlAnswer Help(const Words&, Time);
  ControlAnswer Set(const Words& words, Time now);
  ControlAnswer Get(const Words& words, Time now);
  ControlAnswer Message(const Words& words, Time now);
  ControlAnswer Test(const Words& words, Time now);
  ControlAnswer Faults(const Words& words, Time now);
  ControlAnswer Clear(const Words& words, Time now);
  ControlAnswer Send(const Words& words, Time now);
  ControlAnswer Supply(const Words& words, Time now);
  ControlAnswer Lines(const Words& words, Time now);
  ControlAnswer LinesClear(const Words& words, Time now);
  ControlAnswer State(const Words& words, Time now);
  ControlAnswer PortSettings(const Words& words, Time now);
  ControlAnswer Unplug(const Words& words, Time now);
  ControlAnswer Plug(const Words& words, Time now);
  ControlAnswer Log(const Words& words, Time now);
  ControlAnswer LogClear(const Words& words, Time now);
  ControlAnswer Now(const Words& words, Time now);
  ControlAnswer Quit(const Words& words, Time now);

  BoxModel* model_;
  FrameLog& log_;
  SupplyLine& supply_;
  BoxHost& host_;
};

}  // namespace qmzentrel::virtual_box
