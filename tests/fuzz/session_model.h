// A whole session by its rules, held against what the client of an object has seen: the commands,
// the wire, time and messages around the supply and the record.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/fuzz/late_answers.h"
#include "tests/fuzz/power_model.h"
#include "tests/fuzz/record_model.h"
#include "tests/fuzz/seen.h"
#include "tests/fuzz/sending_rules.h"

namespace qmzentrel::fuzz {

class SessionModel : private Surroundings {
 public:
  /// The object has just been created, at `clock` since midnight.
  explicit SessionModel(Time clock) : clock_(clock) {}

  /// Follows one call of the client's with all that is nested in it. Anything that was seen
  /// otherwise than it must be is a finding.
  void Follow(const std::vector<Seen>& seen);

 private:
  Time Now() const override { return now_; }
  Time Clock() const override { return clock_ + now_; }
  void Pass(Time time) override { now_ += time; }
  void Yield(Time most) override;
  void RaiseEvent(bool state) override;

  // What was seen
  const Seen& Next(Kind kind);
  bool NextIs(Kind kind) const;
  void Fail(const std::string& what) const;
  void CompareLines(const Seen& seen) const;
  void FollowClient();

  // Calls
  void FollowCall();
  std::int32_t Run(Call& call);
  std::int32_t RunCommand(Call& call);
  std::int32_t Open(std::int32_t port, bool maintain);
  std::int32_t Init();
  std::int32_t Close();
  std::int32_t BoxStatus();
  std::int32_t Read();
  std::int32_t Write();
  std::int32_t Telic2(Call& call);
  void Pump(Time time);
  void Dispatch();
  void Leave();

  // The wire
  Reply Command(const Bytes& frame, std::int32_t expected, std::int32_t timeout,
                std::optional<std::size_t> block = {});
  Reply Block(std::size_t block, const Bytes& frame, std::int32_t timeout);
  std::int32_t SuppliedExchange(const Bytes& frame, std::int32_t expected, std::int32_t timeout,
                                Bytes& reply, const std::function<void()>& take = {},
                                std::optional<std::size_t> block = {});
  bool Send(const Bytes& frame);
  std::size_t Receive(std::size_t count, Time limit, Bytes& bytes);
  void WaitForStored();
  void StartVerifyDelay();
  Shown Showing() const;

  PowerModel power_{*this};
  RecordModel record_;
  Time now_{0};
  Time clock_;
  Time stored_{0};  ///< on the clock: a write has been stored
  std::int32_t verify_delay_ = 4000;

  std::optional<std::int32_t> open_port_;
  std::map<std::int32_t, bool> pulled_;
  std::map<std::int32_t, bool> refuses_;
  std::multimap<Time, std::uint8_t> incoming_;
  Time wire_busy_{0};  ///< until then
  LateAnswers late_;
  std::multimap<Time, int> messages_;

  int calls_ = 0;
  bool released_ = false;
  bool gone_ = false;

  const std::vector<Seen>* seen_ = nullptr;
  std::size_t place_ = 0;
};

}  // namespace qmzentrel::fuzz
