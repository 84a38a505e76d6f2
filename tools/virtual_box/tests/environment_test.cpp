#include "tools/virtual_box/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace qmzentrel::virtual_box {
namespace {

constexpr const char* kName = "QMZ_ENVIRONMENT_TEST";

std::optional<std::uint16_t> NumberIn(const char* value) {
  setenv(kName, value, 1);
  return NumberFromEnvironment(kName);
}

TEST(Environment, NamesAPortAloneOrBehindTheAddressOfThisMachine) {
  EXPECT_EQ(NumberIn("7"), 7);
  EXPECT_EQ(NumberIn("65535"), 65535);
  EXPECT_EQ(NumberIn("127.0.0.1:40123"), 40123);
}

TEST(Environment, MayNameNone) {
  unsetenv(kName);
  EXPECT_EQ(NumberFromEnvironment(kName), std::nullopt);
}

TEST(Environment, IsRefusedWhenItNamesAnythingElse) {
  for (const char* const value : {"", "COM7", "7 ", "65536", "-1", "127.0.0.1:", "10.0.0.1:7"}) {
    EXPECT_THROW(NumberIn(value), std::runtime_error) << value;
  }
}

}  // namespace
}  // namespace qmzentrel::virtual_box
