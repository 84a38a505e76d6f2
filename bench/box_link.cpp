#include "bench/box_link.h"

#include <cstdint>

#include "bench/measure.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::bench {
namespace {

std::uint16_t Number(const char* name) {
  const auto number = virtual_box::NumberFromEnvironment(name);
  Require(number.has_value(), "no virtual box; use bench/run");
  return *number;
}

}  // namespace

int BoxPort() {
  return Number("QMZ_PORT");
}

BoxLink::BoxLink() {
  Require(client_.Connect(Number("QMZ_BOX_CONTROL")), "the virtual box does not listen");
}

void BoxLink::Do(const std::string& command) {
  const auto answer = client_.Command(command);
  Require(answer.ok, (command + ": " + answer.text).c_str());
}

}  // namespace qmzentrel::bench
