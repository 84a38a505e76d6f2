// Runs the contract tests, each from a fresh start.
#include <gtest/gtest.h>

#include "tests/contract/harness.h"

namespace {

class FreshStart : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { qmzentrel::contract::BeginTest(); }
  void OnTestEnd(const testing::TestInfo&) override { qmzentrel::contract::EndTest(); }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  // Owned by the list from here on.
  testing::UnitTest::GetInstance()->listeners().Append(new FreshStart);
  return RUN_ALL_TESTS();
}
