#include "tools/virtual_box/fault_command.h"

#include <algorithm>

#include "tools/virtual_box/basics.h"

namespace qmzentrel::virtual_box {
namespace {

constexpr std::uint32_t kMaxCount = 1000000;
constexpr std::uint32_t kMaxBytes = 1000;
constexpr std::uint32_t kMaxMilliseconds = 600000;

// What stands at one place of a fault command.
enum class Slot { kCount, kBytes, kMilliseconds, kSends };

using Words = std::vector<std::string>;

struct FaultWord {
  std::string_view word;
  std::vector<Slot> slots;  // in the order in which they are written
  std::size_t needed;       // how many of them must be given
  std::string_view help;
  void (*set)(Misbehaviour&, std::uint32_t bytes, std::uint32_t milliseconds, std::uint32_t sends);
};

const std::vector<FaultWord>& FaultWords() {
  using enum Slot;
  using U = std::uint32_t;
  static const std::vector<FaultWord> words = {
      {"silence",
       {kCount},
       0,
       "silence [N]            no answer to the next N commands",
       [](Misbehaviour& m, U, U, U) { m.silent = true; }},
      {"answer-on",
       {kSends, kCount},
       1,
       "answer-on K [N]        answer the next N commands on the K-th send only",
       [](Misbehaviour& m, U, U, U sends) { m.answer_on = sends; }},
      {"truncate",
       {kCount, kBytes},
       2,
       "truncate N K           K bytes of the next N replies",
       [](Misbehaviour& m, U bytes, U, U) { m.truncate_to = bytes; }},
      {"wrong-sum",
       {kCount},
       0,
       "wrong-sum [N]          a wrong sum in the next N replies",
       [](Misbehaviour& m, U, U, U) { m.wrong_sum = true; }},
      {"garbage",
       {kCount, kBytes},
       2,
       "garbage N K            K bytes of nonsense instead of the next N replies",
       [](Misbehaviour& m, U bytes, U, U) { m.garbage = bytes; }},
      {"late",
       {kMilliseconds, kCount},
       1,
       "late MS [N]            the next N replies MS ms late",
       [](Misbehaviour& m, U, U ms, U) { m.late = std::chrono::milliseconds(ms); }},
      {"split",
       {kBytes, kMilliseconds, kCount},
       2,
       "split K MS [N]         a pause of MS ms after byte K of the next N replies",
       [](Misbehaviour& m, U bytes, U ms, U) {
         m.split_after = bytes;
         m.split_pause = std::chrono::milliseconds(ms);
       }},
      {"dribble",
       {kMilliseconds, kCount},
       1,
       "dribble MS [N]         a pause of MS ms between any two bytes of the next N replies",
       [](Misbehaviour& m, U, U ms, U) { m.dribble = std::chrono::milliseconds(ms); }},
      {"unplug-at",
       {kBytes},
       1,
       "unplug-at K            unplugged after K bytes of the next reply",
       [](Misbehaviour& m, U bytes, U, U) { m.unplug_after = bytes; }},
  };
  return words;
}

constexpr std::string_view kStrayWord = "stray";
constexpr std::string_view kStrayHelp =
    "stray HEX...           these bytes ahead of the next reply";
constexpr std::string_view kStrayAfterWord = "stray-after";
constexpr std::string_view kStrayAfterHelp =
    "stray-after K HEX...   these bytes behind byte K of the next reply";

bool IsStray(std::string_view word) {
  return word == kStrayWord || word == kStrayAfterWord;
}

bool ParseStray(const Words& words, Misbehaviour& fault, std::string& error) {
  const bool is_after = words[0] == kStrayAfterWord;
  const auto place = is_after && words.size() > 1 ? ParseNumber(words[1], kMaxBytes)
                                                  : std::optional<std::uint32_t>(0);
  const auto bytes = ParseHexWords(words, is_after ? 2 : 1);
  if (!place || !bytes || bytes->empty()) {
    error = "usage: " + std::string(is_after ? kStrayAfterHelp : kStrayHelp);
    return false;
  }
  fault.stray = *bytes;
  fault.stray_after = *place;
  return true;
}

bool ParseNumbers(const FaultWord& fault_word, const Words& words, FaultCommand& command,
                  bool& counted, std::string& error) {
  if (words.size() - 1 < fault_word.needed || words.size() - 1 > fault_word.slots.size()) {
    error = "usage: " + std::string(fault_word.help);
    return false;
  }
  std::uint32_t bytes = 0;
  std::uint32_t milliseconds = 0;
  std::uint32_t sends = 1;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const Slot slot = fault_word.slots[i - 1];
    const std::uint32_t max = slot == Slot::kBytes          ? kMaxBytes
                              : slot == Slot::kMilliseconds ? kMaxMilliseconds
                                                            : kMaxCount;
    const auto value = ParseNumber(words[i], max);
    const bool at_least_one = slot == Slot::kCount || slot == Slot::kSends;
    if (!value || (at_least_one && *value == 0)) {
      error = "not a number in range: " + words[i];
      return false;
    }
    switch (slot) {
      case Slot::kCount:
        if (counted && command.count != *value) {
          error = "faults joined by + need the same count";
          return false;
        }
        command.count = *value;
        counted = true;
        break;
      case Slot::kBytes:
        bytes = *value;
        break;
      case Slot::kMilliseconds:
        milliseconds = *value;
        break;
      case Slot::kSends:
        sends = *value;
        break;
    }
  }
  fault_word.set(command.fault, bytes, milliseconds, sends);
  return true;
}

}  // namespace

bool IsFaultWord(std::string_view word) {
  return IsStray(word) || std::ranges::count(FaultWords(), word, &FaultWord::word) > 0;
}

std::optional<FaultCommand> ParseFault(std::string_view text, std::string& error) {
  FaultCommand command;
  bool counted = false;
  while (true) {
    const std::size_t plus = text.find('+');
    const Words words = SplitWords(text.substr(0, plus));
    if (words.empty()) {
      error = "a fault is missing";
      return std::nullopt;
    }
    if (IsStray(words[0])) {
      if (!ParseStray(words, command.fault, error)) return std::nullopt;
    } else {
      const auto found = std::ranges::find(FaultWords(), words[0], &FaultWord::word);
      if (found == FaultWords().end()) {
        error = "unknown fault: " + words[0];
        return std::nullopt;
      }
      if (!ParseNumbers(*found, words, command, counted, error)) return std::nullopt;
    }
    if (plus == std::string_view::npos) return command;
    text.remove_prefix(plus + 1);
  }
}

std::vector<std::string> FaultHelp() {
  std::vector<std::string> lines;
  for (const FaultWord& fault_word : FaultWords()) lines.emplace_back(fault_word.help);
  lines.emplace_back(kStrayHelp);
  lines.emplace_back(kStrayAfterHelp);
  return lines;
}

}  // namespace qmzentrel::virtual_box
