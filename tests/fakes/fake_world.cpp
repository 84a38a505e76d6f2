#include "tests/fakes/fake_world.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

namespace qmzentrel::fakes {
namespace {

std::unique_ptr<World>& Current() {
  static auto world = std::make_unique<World>();
  return world;
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr double kSecondsPerDay = 86400.0;

}  // namespace

World& TheWorld() {
  return *Current();
}

void ResetWorld() {
  Current() = std::make_unique<World>();
}

const void* ThisThread() {
  static thread_local char mark = 0;
  return &mark;
}

std::string Hex(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

bool NoCaseLess::operator()(const std::string& left, const std::string& right) const {
  // A loop, since tests on a whole catalog spend most of their time here.
  for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
    const char one = Lower(left[i]);
    const char other = Lower(right[i]);
    if (one != other) return one < other;
  }
  return left.size() < right.size();
}

std::vector<std::string> World::TakeJournal() {
  return std::exchange(journal, {});
}

double World::WallDays() const {
  const Microseconds elapsed = now + wall_shift;
  return wall_start_days + static_cast<double>(elapsed.count()) / 1e6 / kSecondsPerDay;
}

void World::SetClock(double seconds_since_midnight) {
  const double days = WallDays();
  const double wanted = std::floor(days) + seconds_since_midnight / kSecondsPerDay;
  wall_shift += Microseconds(std::llround((wanted - days) * kSecondsPerDay * 1e6));
}

void World::Post(Milliseconds time, std::function<void()> action) {
  messages_.emplace(now + time, Message{std::move(action), std::nullopt});
}

void World::PostQuit(Milliseconds time, std::uintptr_t code) {
  messages_.emplace(now + time, Message{{}, code});
}

std::optional<Microseconds> World::NextDue() const {
  std::optional<Microseconds> next;
  if (!messages_.empty()) next = messages_.begin()->first;
  for (const auto& [id, timer] : timers) {
    if (timer.thread == ThisThread() && (!next || timer.due < *next)) next = timer.due;
  }
  return next;
}

void World::DispatchDue(const std::function<void(std::uintptr_t)>& on_quit) {
  // A message that posts itself again does not keep the turn, as in the real thing.
  int left = 64;
  while (!messages_.empty() && messages_.begin()->first <= now && left-- > 0) {
    const Message message = std::move(messages_.extract(messages_.begin()).mapped());
    if (message.quit_code) {
      on_quit(*message.quit_code);
    } else {
      message.action();
    }
  }
  std::vector<std::int32_t> due;
  for (const auto& [id, timer] : timers) {
    if (timer.thread == ThisThread() && timer.due <= now) due.push_back(id);
  }
  for (const std::int32_t id : due) {
    const auto timer = timers.find(id);
    if (timer == timers.end()) continue;                                // ended by a tick before
    timer->second.due = now + Milliseconds(timer->second.interval_ms);  // missed ticks merge
    constexpr std::int32_t kWmTimer = 0x113;
    timer->second.callback(0, kWmTimer, id, static_cast<std::int32_t>(now.count() / 1000));
  }
}

void World::SleepUntilDue(Microseconds deadline) {
  const auto next = NextDue();
  now = std::max(now, next && *next < deadline ? *next : deadline);
  if (clock_set_at && now >= *clock_set_at) {
    wall_shift += clock_set_by;
    clock_set_at.reset();
  }
}

void World::Pump(Milliseconds time) {
  const Microseconds end = now + time;
  while (now < end) {
    SleepUntilDue(end);
    DispatchDue([](std::uintptr_t) {});
  }
}

void World::Enter(const std::string& call) const {
  if (const auto hook = before_call) hook(call);  // a copy: it may take itself away
  if (out_of_memory_in.contains(call)) throw std::bad_alloc();
}

void World::SetText(const std::string& path, const std::string& name, const std::string& text) {
  constexpr std::uint32_t kRegSz = 1;
  registry[path][name] = {kRegSz, text + '\0'};
}

void World::SetNumber(const std::string& path, const std::string& name, std::uint32_t number) {
  constexpr std::uint32_t kRegDword = 4;
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  registry[path][name] = {kRegDword, bytes};
}

void World::SetTexts(const std::string& path, const std::string& name,
                     const std::vector<std::string>& texts) {
  constexpr std::uint32_t kRegMultiSz = 7;
  std::string bytes;
  for (const std::string& text : texts) bytes += text + '\0';
  registry[path][name] = {kRegMultiSz, bytes + '\0'};
}

}  // namespace qmzentrel::fakes
