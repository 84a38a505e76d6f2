// Every test with a box: the library in a single-threaded apartment, a serial port, a virtual box.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>

#include "tests/clients/box_client.h"
#include "tests/clients/box_control.h"
#include "tests/clients/held_up.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::clients {

/// Every test finds the box as new, and is a BOX_TEST where it matters how often the box is asked
/// or how long something takes. The environment says where it is (QMZ_PORT, QMZ_BOX_CONTROL) and
/// which library is tested (QMZ_DLL); without it every test fails. The second box and its port are
/// named by QMZ_SECOND_BOX_CONTROL and QMZ_SECOND_PORT.
class BoxTest : public testing::Test {
 protected:
  /// See UnlessHeldUp. An electric box has half a second to answer, and answers within 300 ms. What
  /// remains can be lost in three pieces: before the box has the command, before it answers, and
  /// before the client's system sees the answer.
  static constexpr DWORD kSpareMs = 60;

  void SetUp() override;

  static BoxControl& Box();
  static std::int32_t Port() { return virtual_box::NumberFromEnvironment("QMZ_PORT").value(); }

  /// Another box on another port; whoever uses it resets it.
  static BoxControl& Second();
  static std::int32_t SecondPort() {
    return virtual_box::NumberFromEnvironment("QMZ_SECOND_PORT").value();
  }

  static void Open(BoxClient& client, bool maintain_supply = true);
  /// The same, and lets the object learn that the box is of the electric kind, which it then
  /// gives half a second to answer instead of two and a half. Leaves the log of the box empty.
  static void OpenElectric(BoxClient& client, bool maintain_supply = true);
};

/// A test of that fixture with nothing left to do but to be run, as often as UnlessHeldUp does it.
template <class Fixture>
class RepeatableTest : public Fixture {
 public:
  static constexpr DWORD kSpare = Fixture::kSpareMs;

  void RunWhole() {
    if (GoesOnAfter([this] { this->SetUp(); })) GoesOnAfter([this] { Body(); });
    this->TearDown();
  }

 private:
  virtual void Body() = 0;
  void TestBody() override { Body(); }
};

/// In the place of TEST_F: the whole test, its fixture included, is done again when it has failed
/// while the machine held it up.
#define BOX_TEST(fixture, name)                                                          \
  class fixture##name##Body : public RepeatableTest<fixture> {                           \
    void Body() override;                                                                \
  };                                                                                     \
  TEST(fixture, name) {                                                                  \
    UnlessHeldUp(fixture##name##Body::kSpare, [] { fixture##name##Body().RunWhole(); }); \
  }                                                                                      \
  void fixture##name##Body::Body()

/// Milliseconds since it was made.
class Stopwatch {
 public:
  DWORD Ms() const { return GetTickCount() - begin_; }

 private:
  DWORD begin_ = GetTickCount();
};

}  // namespace qmzentrel::clients
