#include "device/unanswered_sends.h"

#include <algorithm>

#include "platform/clock.h"

namespace qmzentrel {
namespace {

// A way that takes three seconds, and its answer read. On a slower one nothing can be told: a box
// that is awake is waited for two and a half.
constexpr std::int64_t kLatestMs = 3500;
// A driver whose reads end at once lets many sends pass in that time.
constexpr std::size_t kMost = 64;

}  // namespace

void UnansweredSends::Add(std::optional<Block> about) {
  if (sends_.size() == kMost) sends_.erase(sends_.begin());
  sends_.push_back({about, platform::SteadyMs()});
}

void UnansweredSends::TakeFirst() {
  DropOld();
  if (!sends_.empty()) sends_.erase(sends_.begin());
}

// What was about neither block puts off the answers about both.
bool UnansweredSends::TakeOtherThan(Block block) {
  DropOld();
  const auto other =
      std::ranges::find_if(sends_, [&](const Send& send) { return send.about != block; });
  if (other == sends_.end()) return false;
  sends_.erase(other);
  return true;
}

void UnansweredSends::DropOld() {
  const std::int64_t now = platform::SteadyMs();
  std::erase_if(sends_, [&](const Send& send) { return now - send.at > kLatestMs; });
}

}  // namespace qmzentrel
