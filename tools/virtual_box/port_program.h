// What box and tap have in common as programs: the client's port, its modem lines, the log and the
// control channel in one loop on one thread.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "tools/virtual_box/box_model.h"
#include "tools/virtual_box/control.h"
#include "tools/virtual_box/control_server.h"
#include "tools/virtual_box/event_wait.h"
#include "tools/virtual_box/frame_log.h"
#include "tools/virtual_box/options.h"
#include "tools/virtual_box/port.h"
#include "tools/virtual_box/stop_signal.h"
#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

class PortProgram : public BoxHost {
 public:
  ~PortProgram() override;

  /// Carries out the commands of the command line; the reason when one of them makes no sense, else
  /// empty.
  std::string Prepare();

  /// Plugs in, starts the control channel, prints the ready line; the reason when that fails.
  std::string Start();

  /// Works until it is told to end.
  void Run();

  bool IsPlugged() const override { return port_.IsPlugged(); }
  std::string PortName() const override { return port_.Name(); }
  std::string PortSettings() const override { return port_.Settings(); }
  bool HasLines() const override { return port_.HasLines(); }
  void Quit() override { quitting_ = true; }

 protected:
  /// `model`: null for a program that plays no box. `log_origin`: the moment at which the times of
  /// the log begin.
  PortProgram(const Options& options, BoxModel* model, Time log_origin);

  /// Comes before the port is plugged for the first time.
  virtual void BeforePlug(Time /*now*/) {}

  /// What else there is to wait for.
  virtual void AddTo(EventWait& /*wait*/) {}

  /// The next moment at which Turn has something to do, if any.
  virtual std::optional<Time> NextDue() const = 0;

  /// Something has happened, or may have: whatever is to be done by `now`.
  virtual void Turn(Time now) = 0;

  void LogEvent(const std::string& meaning);

  /// From before it says that it is ready: whoever has heard that may end it.
  StopSignal stop_;
  Options options_;
  FrameLog log_;
  SupplyLine supply_;
  Port port_;

 private:
  Control control_;
  ControlServer server_;
  std::FILE* log_file_ = nullptr;
  bool quitting_ = false;
};

/// The earlier of two moments, of which either may be missing.
std::optional<Time> Earlier(std::optional<Time> one, std::optional<Time> other);

}  // namespace qmzentrel::virtual_box
