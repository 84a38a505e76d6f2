#include "tools/virtual_box/misbehaviour.h"

namespace qmzentrel::virtual_box {
namespace {

std::string MillisecondCount(Time time) {
  return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

}  // namespace

std::string Misbehaviour::Text() const {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (silent) add("not answered");
  if (answer_on > 1) add("answered on send " + std::to_string(answer_on));
  if (!stray.empty()) {
    add(stray_after == 0 ? "stray bytes ahead"
                         : "stray bytes after byte " + std::to_string(stray_after));
  }
  if (late > Time::zero()) add(MillisecondCount(late) + " ms late");
  if (garbage) add("garbage");
  if (wrong_sum) add("wrong sum");
  if (truncate_to) add("cut to " + std::to_string(*truncate_to) + " bytes");
  if (split_pause > Time::zero()) {
    add(MillisecondCount(split_pause) + " ms pause after byte " + std::to_string(split_after));
  }
  if (dribble > Time::zero()) add(MillisecondCount(dribble) + " ms between bytes");
  if (unplug_after) add("unplugged after " + std::to_string(*unplug_after) + " bytes");
  return text;
}

void MisbehaviourQueue::Add(const Misbehaviour& fault, unsigned count) {
  if (count > 0) entries_.push_back({fault, count});
}

void MisbehaviourQueue::Clear() {
  entries_.clear();
  counted_command_.clear();
  sends_ = 0;
}

Misbehaviour MisbehaviourQueue::Take(const Bytes& command) {
  if (entries_.empty()) return {};
  Entry& entry = entries_.front();
  Misbehaviour fault = entry.fault;
  if (fault.answer_on > 1) {
    if (command != counted_command_) sends_ = 0;
    counted_command_ = command;
    ++sends_;
    if (sends_ < fault.answer_on) {
      Misbehaviour asleep;
      asleep.silent = true;
      return asleep;
    }
    counted_command_.clear();
    sends_ = 0;
    fault.answer_on = 1;
  }
  if (--entry.count == 0) entries_.pop_front();
  return fault;
}

std::vector<std::string> MisbehaviourQueue::Lines() const {
  std::vector<std::string> lines;
  for (const Entry& entry : entries_) {
    lines.push_back(std::to_string(entry.count) + " x " + entry.fault.Text());
  }
  return lines;
}

}  // namespace qmzentrel::virtual_box
