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

// --- What a client handles outside ---

class Destroyed {
 public:
  explicit Destroyed(int& count) : count_(count) {}
  ~Destroyed() { ++count_; }
  Destroyed(const Destroyed&) = delete;
  Destroyed& operator=(const Destroyed&) = delete;

 private:
  int& count_;
};

TEST_F(HardwareFaultContract, WhatTheClientHandlesOutsideLeavesThroughEveryDestructor) {
  int destroyed = 0;
  bool gone_on = false;
  EXPECT_TRUE(contract::LeftByClientException([&] {
    platform::CalledFromOutside([&] {
      const Destroyed outer(destroyed);
      RaisingFaults([&] {
        const Destroyed inner(destroyed);
        platform::CallOutToClient([] { contract::RaiseClientException(); });
        gone_on = true;
      });
    });
  }));
  EXPECT_EQ(destroyed, 2);
  EXPECT_FALSE(gone_on);
  EXPECT_EQ(FaultOf([] { RaiseFault(kAccessViolation); }), kAccessViolation);
  EXPECT_FALSE(RaiseFault(kAccessViolation)) << "a place was left behind";
}

TEST_F(HardwareFaultContract, WhatTheClientHandlesOutsideCanBeSeenOnItsWay) {
  int seen = 0;
  EXPECT_TRUE(contract::LeftByClientException([&] {
    platform::CalledFromOutside([&] {
      try {
        platform::CallOut([] { contract::RaiseClientException(); });
      } catch (...) {
        ++seen;
        throw;
      }
    });
  }));
  EXPECT_EQ(seen, 1);
}

TEST_F(HardwareFaultContract, CallsWithinCallsAreLeftFromTheInnermostOn) {
  std::vector<int> left;
  const auto layer = [&left](int number, const auto& body) {
    platform::CalledFromOutside([&] {
      try {
        platform::CallOutToClient(body);
      } catch (const platform::ClientUnwinding&) {
        left.push_back(number);
        throw;
      }
    });
  };
  EXPECT_TRUE(contract::LeftByClientException(
      [&] { layer(1, [&] { layer(2, [] { contract::RaiseClientException(); }); }); }));
  EXPECT_EQ(left, (std::vector<int>{2, 1}));
}

TEST_F(HardwareFaultContract, AnotherExceptionOnTheWayOvertakesTheFirst) {
  int second = 0;
  EXPECT_TRUE(contract::LeftByClientException([&] {
    platform::CalledFromOutside([&] {
      try {
        platform::CallOutToClient([] { contract::RaiseClientException(); });
      } catch (...) {
        ++second;
        platform::CallOutToClient([] { contract::RaiseClientException(); });
        ++second;
      }
    });
  }));
  EXPECT_EQ(second, 1);
  EXPECT_FALSE(RaiseFault(kAccessViolation)) << "a place was left behind";
}

TEST_F(HardwareFaultContract, WithoutAnExceptionACallOutReturnsWhatItsBodyDoes) {
  EXPECT_EQ(platform::CallOut([] { return 42; }), 42);
  EXPECT_EQ(platform::CalledFromOutside([] { return platform::CallOutToClient([] { return 7; }); }),
            7);
}

}  // namespace
}  // namespace qmzentrel
