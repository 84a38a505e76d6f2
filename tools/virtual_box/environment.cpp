#include "tools/virtual_box/environment.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {

std::optional<std::uint16_t> NumberFromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  constexpr std::string_view kThisMachine = "127.0.0.1:";
  std::string_view text = value;
  if (text.starts_with(kThisMachine)) text.remove_prefix(kThisMachine.size());
  const auto number = ParseNumber(text, 0xFFFF);
  if (!number) throw std::runtime_error(std::string(name) + " holds no port: " + value);
  return static_cast<std::uint16_t>(*number);
}

}  // namespace qmzentrel::virtual_box
