// The box at work: model, port, supply line, log and control channel in one loop on one thread.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "tools/virtual_box/box_model.h"
#include "tools/virtual_box/control.h"
#include "tools/virtual_box/control_server.h"
#include "tools/virtual_box/frame_log.h"
#include "tools/virtual_box/options.h"
#include "tools/virtual_box/port.h"
#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

class BoxProgram : public BoxHost {
 public:
  explicit BoxProgram(const Options& options);
  ~BoxProgram() override;

  /// Carries out the commands of the command line; the reason when one of them makes no sense, else
  /// empty.
  std::string Prepare();

  /// Plugs in, starts the control channel, prints the ready line; the reason when that fails.
  std::string Start();

  /// Plays the box until it is told to end.
  void Run();

  std::string Plug() override;
  void Unplug() override;
  bool IsPlugged() const override { return port_.IsPlugged(); }
  std::string PortName() const override { return port_.Name(); }
  std::string PortSettings() const override { return port_.Settings(); }
  bool HasLines() const override { return port_.HasLines(); }
  void Quit() override { quitting_ = true; }

 private:
  std::optional<Time> NextDue() const;
  Bytes TakeBytes(Time now);
  void TakeLines(Time now);
  void LogEvent(const std::string& meaning);

  Options options_;
  FrameLog log_;
  BoxModel model_;
  SupplyLine supply_;
  Port port_;
  Control control_;
  ControlServer server_;
  Bytes coming_;                   // one byte on its way through the wire, where that takes time
  std::optional<Time> line_free_;  // when it has passed, or the last one before it; unset when idle
  std::FILE* log_file_ = nullptr;
  bool quitting_ = false;
};

}  // namespace qmzentrel::virtual_box
