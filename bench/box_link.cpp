#include "bench/box_link.h"

#include <cstdint>
#include <cstdlib>

#include "bench/measure.h"
#include "tools/virtual_box/basics.h"

namespace qmzentrel::bench {
namespace {

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  Require(value != nullptr, "no virtual box; use bench/run");
  return value;
}

std::uint16_t ControlPort() {
  const std::string address = Environment("QMZ_BOX_CONTROL");  // host:port
  const auto port = virtual_box::ParseNumber(address.substr(address.rfind(':') + 1), 0xFFFF);
  Require(port.has_value(), "QMZ_BOX_CONTROL names no control channel");
  return static_cast<std::uint16_t>(*port);
}

}  // namespace

int BoxPort() {
  return std::atoi(Environment("QMZ_PORT").c_str());
}

BoxLink::BoxLink() {
  Require(client_.Connect(ControlPort()), "the virtual box does not listen");
}

void BoxLink::Do(const std::string& command) {
  const auto answer = client_.Command(command);
  Require(answer.ok, (command + ": " + answer.text).c_str());
}

}  // namespace qmzentrel::bench
