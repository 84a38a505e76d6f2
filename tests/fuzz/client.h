// A client that does what chance has it do, to one object whose box answers as chance has it, and
// holds everything that it sees against the rules.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "device/Zentrel.h"
#include "tests/fakes/fake_object.h"
#include "tests/fakes/fake_serial_port.h"
#include "tests/fuzz/seen.h"
#include "tests/fuzz/session_model.h"
#include "tests/fuzz/told_blocks.h"

namespace qmzentrel::fuzz {

class Client : private ZentrelEvents {
 public:
  /// Does any of `calls`, the more often the more often it is among them. With `breaks` the world
  /// may fail anywhere once; from then on only what holds in every case is held against it: what is
  /// sent is what the commands send, and once all is well again everything works as on a new
  /// object.
  Client(FuzzedDataProvider& chance, std::span<const What> calls, bool breaks);

  /// From the creation of the object to its release.
  void RunSession();

 private:
  void PowerStateChange(bool NewState) override;

  void Furnish();
  void BreakAt(int call);
  void Act();
  Call Draw();
  void DrawMessages(Call& call);
  void Do(Call call);
  std::int32_t Perform(Call& call);
  std::int32_t PerformCommand(Zentrel& object, Call& call);
  void Change(const Call& call);
  void DoNested();
  fakes::Reaction React(std::span<const std::uint8_t> sent);
  Bytes Reply(std::span<const std::uint8_t> sent);
  Bytes DrawReply(std::size_t length);
  Seen& Note(Kind kind);
  void CheckSent() const;
  void CheckRecovery();
  void CheckEnd() const;

  int Within(int least, int most) { return chance_.ConsumeIntegralInRange(least, most); }

  FuzzedDataProvider& chance_;
  std::span<const What> calls_;
  bool breaks_;
  bool broken_ = false;
  std::optional<Shown> shown_before_;  ///< ahead of the call at work
  std::optional<Shown> shown_last_;

  fakes::FakeObject handler_;
  int reports_ = 0;
  std::shared_ptr<Zentrel> object_;
  std::vector<Seen> seen_;
  int depth_ = 0;
  int nested_left_ = 30;
  bool quiet_ = false;
  bool maintained_ = true;
  std::size_t reply_length_ = 0;
  ToldBlocks told_;
  std::deque<Bytes> sound_replies_;  ///< instead of drawn ones
};

}  // namespace qmzentrel::fuzz
