// The box at work: the model on its port, fed by its supply line.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>

#include "tools/virtual_box/box_model.h"
#include "tools/virtual_box/port_program.h"

namespace qmzentrel::virtual_box {

class BoxProgram : public PortProgram {
 public:
  explicit BoxProgram(const Options& options);

  std::string Plug() override;
  void Unplug() override;
  std::string Condition() const override;

 private:
  void BeforePlug(Time now) override;
  std::optional<Time> NextDue() const override;
  void Turn(Time now) override;
  void PutOnWire(const Bytes& bytes, const std::vector<LineChange>& changes);
  void PassBytes(Time until);
  void TakeLines(const std::vector<LineChange>& changes, Time now);

  BoxModel model_;
  // The bytes on their way through the wire, where that takes time, each with the moment at which
  // it has passed.
  std::deque<std::pair<Time, std::uint8_t>> on_wire_;
  Time wire_free_{0};
  Time looked_{0};  // for new bytes
};

}  // namespace qmzentrel::virtual_box
