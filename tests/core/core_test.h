// What every core test stands on: a fresh world, and a watch over the faults that the component
// reports.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "device/Zentrel.h"
#include "support/modCOM_XTimerSupport.h"
#include "support/modErrorReportSupport.h"
#include "tests/contract/harness.h"
#include "tests/core/error_reports.h"
#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"

namespace qmzentrel::tests {

using fakes::Bytes;
using fakes::Milliseconds;
using fakes::TheWorld;

using Texts = std::vector<std::string>;

/// Runs `body` on a thread of its own, which gives back at its end what the component keeps for it.
inline void InAnotherApartment(const std::function<void()>& body) {
  contract::RunOnAnotherThread([&body] {
    body();
    modErrorReportSupport::ReleaseThread();
  });
}

/// A field of the object as the error report shows it.
inline std::string Field(const Zentrel& zentrel, const std::string& name) {
  const std::string all = zentrel.DumpFields();
  const std::string tag = "<" + name + ">";
  const std::size_t start = all.find(tag);
  if (start == std::string::npos) return "no such field";
  return all.substr(start + tag.size(), all.find("</", start) - start - tag.size());
}

/// A mark of the clock among them.
inline float SecondsIn(const Zentrel& zentrel, const std::string& name) {
  return std::stof(Field(zentrel, name));
}

/// Fails the test when the component reports a fault that the test did not ask for.
class CoreTest : public testing::Test {
 protected:
  void SetUp() override {
    fakes::ResetWorld();
    modErrorReportSupport::InitErrorReporting();
    error_handler_ = std::make_unique<ErrorHandler>();
  }

  void TearDown() override {
    for (const ErrorReport& report : error_handler_->reports) {
      ADD_FAILURE() << "unexpected report: " << report.ErrorNumber << " in " << report.procedure;
    }
    EXPECT_EQ(modCOM_XTimerSupport::RunningTimers(), 0);
    EXPECT_TRUE(TheWorld().stop_messages.empty()) << TheWorld().stop_messages.front().text;
    EXPECT_FALSE(fakes::IsInProcedure()) << "a frame was left behind";
    modCOM_XTimerSupport::ReleaseThread();
    modErrorReportSupport::ReleaseThread();
    EXPECT_TRUE(TheWorld().open_keys.empty()) << "a registry key was left open";
  }

  ErrorHandler& Handler() { return *error_handler_; }

  /// The faults reported since the last call.
  std::vector<ErrorReport> TakeReports() { return std::exchange(error_handler_->reports, {}); }

  /// Runs `action`, expects it to leave with 65535 after one report, and returns the report.
  template <class Action>
  ErrorReport ReportOf(Action action) {
    EXPECT_EQ(ErrorNumberOf(action), 65535);
    const auto reports = TakeReports();
    EXPECT_EQ(reports.size(), 1U);
    return reports.empty() ? ErrorReport{} : reports.front();
  }

  /// The number of the error that leaves `action`, 0 when none does.
  template <class Action>
  static std::int32_t ErrorNumberOf(Action action) {
    try {
      action();
    } catch (const RunTimeError& error) {
      return error.number;
    }
    return 0;
  }

 private:
  std::unique_ptr<ErrorHandler> error_handler_;
};

/// A client with one object and one port behind which a scripted box answers.
class ZentrelTest : public CoreTest, private ZentrelEvents {
 protected:
  static constexpr std::int32_t kPort = 7;

  void SetUp() override {
    CoreTest::SetUp();
    TheWorld().ports[kPort];
    MakeObject();
  }

  void TearDown() override {
    zentrel.reset();
    CoreTest::TearDown();
  }

  /// A new object in place of the one before.
  void MakeObject() {
    zentrel = Zentrel::Create();
    zentrel->Events(this);
    TheWorld().TakeJournal();
  }

  fakes::FakePort& Port() { return TheWorld().ports[kPort]; }

  /// Opens the port and forgets what that took.
  void Open(bool maintain_supply) {
    ASSERT_EQ(zentrel->DeviceOpen(kPort, maintain_supply), S_OKAY);
    TheWorld().TakeJournal();
  }

  /// Opens and has a Box Status with this signature answered.
  void OpenBox(bool maintain_supply, std::uint8_t signature) {
    Open(maintain_supply);
    Port().Answer(BoxStatusReply(0x21, 100, signature, 0));
    ASSERT_EQ(zentrel->BoxStatus(), S_OKAY);
    TheWorld().TakeJournal();
  }

  /// `bytes` with their 8-bit sum at the end.
  static Bytes WithSum(Bytes bytes) {
    int sum = 0;
    for (const std::uint8_t byte : bytes) sum += byte;
    bytes.push_back(static_cast<std::uint8_t>(sum & 0xFF));
    return bytes;
  }

  static Bytes BoxStatusReply(std::uint8_t version, std::uint8_t battery, std::uint8_t signature_0,
                              std::uint8_t signature_1) {
    return WithSum({version, battery, signature_0, signature_1, 0, 0});
  }

  /// What the transponder holds, for Block1Reply.
  struct Record {
    std::uint8_t mif = 0x05;
    std::uint8_t util = 17;
    std::int32_t id = 0x123456;
    std::uint8_t tamper = 9;
    std::int32_t reading = 0x00ABCD;
    std::uint8_t warmup_and_interval = 0x32;
    std::uint8_t msi = 4;
    std::uint8_t version = 0x51;  ///< 5.1: no block 2
    std::uint8_t box_version = 0x21;
    std::uint8_t battery = 100;
    std::uint8_t signature = 0xA5;
  };

  static Bytes Block1Reply(const Record& record) {
    const auto byte = [](std::int32_t value) { return static_cast<std::uint8_t>(value & 0xFF); };
    return WithSum({record.mif, record.util, byte(record.id >> 16), byte(record.id >> 8),
                    byte(record.id), record.tamper, byte(record.reading >> 16),
                    byte(record.reading >> 8), byte(record.reading), record.warmup_and_interval,
                    record.msi, record.version, record.box_version, record.battery,
                    record.signature, 0, 0, 0});
  }

  /// A block-2 reply: the seven settings and the stored leak threshold from byte 1 on.
  static Bytes Block2Reply(const Bytes& settings) {
    Bytes reply(18);
    std::copy(settings.begin(), settings.end(), reply.begin() + 1);
    return WithSum(reply);
  }

  std::shared_ptr<Zentrel> zentrel;
  /// Runs within the event, after it has been noted.
  std::function<void(bool)> on_event;

 private:
  void PowerStateChange(bool NewState) override {
    TheWorld().Note(NewState ? "event True" : "event False");
    if (on_event) on_event(NewState);
  }
};

}  // namespace qmzentrel::tests
