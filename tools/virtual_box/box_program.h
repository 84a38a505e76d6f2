// The box at work: model, port, supply line, log and control channel in one loop on one thread.
#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <optional>
#include <string>
#include <utility>

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
  void PutOnWire(const Bytes& bytes, const std::vector<LineChange>& changes);
  void PassBytes(Time until);
  void TakeLines(const std::vector<LineChange>& changes, Time now);
  void LogEvent(const std::string& meaning);

  Options options_;
  FrameLog log_;
  BoxModel model_;
  SupplyLine supply_;
  Port port_;
  Control control_;
  ControlServer server_;
  // The bytes on their way through the wire, where that takes time, each with the moment at which
  // it has passed.
  std::deque<std::pair<Time, std::uint8_t>> on_wire_;
  Time wire_free_{0};
  Time looked_{0};  // for new bytes
  std::FILE* log_file_ = nullptr;
  bool quitting_ = false;
};

}  // namespace qmzentrel::virtual_box
