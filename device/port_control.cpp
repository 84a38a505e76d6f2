#include "device/port_control.h"

#include <string>

#include "interface/catalog_layout.h"
#include "platform/text.h"
#include "support/registry_values.h"

namespace qmzentrel {

// A line that does not carry the supply stays off.
platform::ModemLines ConfiguredSupplyLines() {
  const std::string line = registry::Text({platform::kLocalMachine, catalogs::kBoxKey},
                                          catalogs::value_name::kSupplyLine, "");
  const auto is = [&line](const char* wanted) {
    return platform::CompareTextNoCase(line, wanted) == 0;
  };
  if (is(catalogs::supply_line::kBoth)) return {.dtr = true, .rts = true};
  if (is(catalogs::supply_line::kRts)) return {.rts = true};
  return {.dtr = true};
}

void PortControl::Open(const PortSettings& settings) {
  supply_lines_ = ConfiguredSupplyLines();
  port_.Open(settings.number, settings.link, Lines());
}

void PortControl::Close() {
  port_.Close();
}

bool PortControl::Write(const FrameBuffer& buffer, std::int32_t count) {
  return port_.Write(buffer.Range(0, count));
}

std::int32_t PortControl::Read(FrameBuffer& buffer, std::int32_t first, std::int32_t count,
                               std::int32_t timeout_ms) {
  return static_cast<std::int32_t>(port_.Read(buffer.Range(first, count), timeout_ms));
}

void PortControl::Supply(std::int32_t state) {
  supply_on_ = state != 0;
  if (port_.IsOpen()) port_.SetLines(Lines());
}

platform::ModemLines PortControl::Lines() const {
  return supply_on_ ? supply_lines_ : platform::ModemLines{};
}

}  // namespace qmzentrel
