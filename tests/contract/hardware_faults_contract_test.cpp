#include "platform/hardware_faults.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <vector>

#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::RaiseFault;
using platform::RaisingFaults;

constexpr std::uint32_t kAccessViolation = 0xC0000005;
constexpr std::uint32_t kDivisionByZero = 0xC0000094;

struct RaisedError : platform::RaisedFault {};

class HardwareFaultContract : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    platform::InstallFaultHandling([](std::uint32_t code) { throw RaisedError{{code}}; });
  }

  /// The code of the fault that leaves `body` as an error, nothing when none does.
  template <class Body>
  static std::optional<std::uint32_t> FaultOf(Body body) {
    try {
      RaisingFaults(body);
    } catch (const RaisedError& error) {
      return error.code;
    }
    return std::nullopt;
  }
};

TEST_F(HardwareFaultContract, AFaultBecomesAnError) {
  EXPECT_EQ(FaultOf([] { RaiseFault(kAccessViolation); }), kAccessViolation);
  EXPECT_EQ(FaultOf([] { RaiseFault(kDivisionByZero); }), kDivisionByZero);
}

TEST_F(HardwareFaultContract, WithoutAFaultTheResultOfTheBodyIsReturned) {
  EXPECT_EQ(RaisingFaults([] { return 42; }), 42);
  int number = 7;
  EXPECT_EQ(&RaisingFaults([&number]() -> int& { return number; }), &number);
  int runs = 0;
  RaisingFaults([&runs] { ++runs; });
  EXPECT_EQ(runs, 1);
}

TEST_F(HardwareFaultContract, AnOrdinaryErrorPasses) {
  EXPECT_THROW(RaisingFaults([] { throw std::runtime_error("ordinary"); }), std::runtime_error);
  EXPECT_FALSE(RaiseFault(kAccessViolation));
}

TEST_F(HardwareFaultContract, TheInnermostPlaceTakesIt) {
  std::vector<int> taken;
  const auto outer = FaultOf([&] {
    if (FaultOf([] { RaiseFault(kAccessViolation); })) taken.push_back(1);
    if (FaultOf([] { RaiseFault(kAccessViolation); })) taken.push_back(2);
    RaiseFault(kDivisionByZero);
  });
  EXPECT_EQ(taken, (std::vector<int>{1, 2}));
  EXPECT_EQ(outer, kDivisionByZero);
}

TEST_F(HardwareFaultContract, OutsideItBelongsToSomebodyElse) {
  EXPECT_FALSE(RaiseFault(kAccessViolation));
  EXPECT_EQ(FaultOf([] { RaiseFault(kAccessViolation); }), kAccessViolation);
  EXPECT_FALSE(RaiseFault(kAccessViolation));
}

TEST_F(HardwareFaultContract, InCodeOfTheClientItIsTheClients) {
  bool taken = true;
  EXPECT_EQ(FaultOf([&] {
              const platform::ClientCode client;
              taken = RaiseFault(kAccessViolation);
            }),
            std::nullopt);
  EXPECT_FALSE(taken);
}

TEST_F(HardwareFaultContract, AfterACallToTheClientItIsOursAgain) {
  EXPECT_EQ(FaultOf([] {
              { const platform::ClientCode client; }
              RaiseFault(kAccessViolation);
            }),
            kAccessViolation);
}

TEST_F(HardwareFaultContract, WhatTheClientCallsOfUsTakesItsOwn) {
  std::optional<std::uint32_t> inner;
  EXPECT_EQ(FaultOf([&] {
              const platform::ClientCode client;
              inner = FaultOf([] { RaiseFault(kAccessViolation); });
            }),
            std::nullopt);
  EXPECT_EQ(inner, kAccessViolation);
}

TEST_F(HardwareFaultContract, ItCanHappenAgainAndAgain) {
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(FaultOf([] { RaiseFault(kAccessViolation); }), kAccessViolation);
  }
}

TEST_F(HardwareFaultContract, AnotherThreadHasItsOwn) {
  EXPECT_EQ(FaultOf([] {
              bool taken = true;
              contract::RunOnAnotherThread([&taken] { taken = RaiseFault(kAccessViolation); });
              EXPECT_FALSE(taken);
              contract::RunOnAnotherThread(
                  [] { EXPECT_EQ(FaultOf([] { RaiseFault(kDivisionByZero); }), kDivisionByZero); });
            }),
            std::nullopt);
}

}  // namespace
}  // namespace qmzentrel
