#include "tools/virtual_box/options.h"

#include <gtest/gtest.h>

namespace qmzentrel::virtual_box {
namespace {

TEST(BoxOptions, DefaultToABoxWithItsOwnSupply) {
  std::string error;
  const auto options = ParseOptions({}, error);
  ASSERT_TRUE(options) << error;
  EXPECT_EQ(options->supply, SupplyChoice::kNone);
  EXPECT_FALSE(options->control_port);
  EXPECT_FALSE(options->trace);
}

TEST(BoxOptions, ModemLinesMeanASupplyByDtr) {
  std::string error;
  const auto options = ParseOptions({"--lines", "here"}, error);
  ASSERT_TRUE(options) << error;
  EXPECT_EQ(options->supply, SupplyChoice::kDtr);
  const auto own = ParseOptions({"--lines", "here", "--supply", "none"}, error);
  ASSERT_TRUE(own) << error;
  EXPECT_EQ(own->supply, SupplyChoice::kNone);
}

TEST(BoxOptions, SettingsBecomeControlCommandsInTheirOrder) {
  std::string error;
  const auto options = ParseOptions(
      {"--startup-ms", "10", "--pace", "off", "--set", "version=4.0", "--do", "silence 2"}, error);
  ASSERT_TRUE(options) << error;
  EXPECT_EQ(options->commands, (std::vector<std::string>{"set startup-ms 10", "set pace 0",
                                                         "set version 4.0", "silence 2"}));
}

TEST(BoxOptions, ATapLeavesTheSupplyToTheBox) {
  std::string error;
  const auto options = ParseOptions({"--tap", "there", "--lines", "here"}, error);
  ASSERT_TRUE(options) << error;
  EXPECT_EQ(options->tap, "there");
  EXPECT_EQ(options->supply, SupplyChoice::kNone);
  EXPECT_TRUE(options->commands.empty());
}

TEST(BoxOptions, AreRefusedWithAReason) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--fly"},
                                             {"--link"},
                                             {"--supply", "dtr"},
                                             {"--lines", "here", "--supply", "cts"},
                                             {"--tap"},
                                             {"--tap", "there", "--supply", "none"},
                                             {"--control", "65536"},
                                             {"--control-file", "f"},
                                             {"--pace", "slow"},
                                             {"--set", "version"}}) {
    std::string error;
    EXPECT_FALSE(ParseOptions(arguments, error)) << arguments[0];
    EXPECT_FALSE(error.empty()) << arguments[0];
  }
}

TEST(BoxOptions, HelpNamesEveryOption) {
  for (const char* name :
       {"--link", "--lines", "--tap", "--supply", "--startup-ms", "--pace", "--set", "--do",
        "--control", "--control-file", "--log", "--trace", "--help"}) {
    EXPECT_NE(HelpText().find(std::string("  ") + name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace qmzentrel::virtual_box
