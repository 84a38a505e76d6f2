#include "zentrel/step_line.h"

#include <cctype>

#include "support/CDebugLog.h"

namespace qmzentrel::program {
namespace {

// How a time stamp looks: 9 a digit, A a letter, everything else itself.
constexpr std::string_view kStamp = "99 AAA 9999, 99:99:99";

bool Matches(char letter, char pattern) {
  const auto byte = static_cast<unsigned char>(letter);
  // Not every language writes its months in plain letters.
  if (pattern == 'A') return std::isalpha(byte) != 0 || byte >= 0x80 || letter == '.';
  if (pattern == '9') return std::isdigit(byte) != 0;
  return letter == pattern;
}

bool IsStamp(std::string_view text) {
  for (std::size_t i = 0; i < kStamp.size(); ++i) {
    if (!Matches(text[i], kStamp[i])) return false;
  }
  return true;
}

// "INFO" and the step of "  INFO   ReadXpdr"; nothing when it begins otherwise.
std::optional<StepLine> ParseLabelled(std::string_view text, std::string_view label) {
  if (!text.starts_with(label)) return std::nullopt;
  const std::size_t first = label.find_first_not_of(' ');
  const std::size_t last = label.find_last_not_of(' ');
  return StepLine{std::string(label.substr(first, last - first + 1)),
                  std::string(text.substr(label.size()))};
}

}  // namespace

std::optional<StepLine> ParseStepLine(std::string_view line) {
  if (line.size() < kStamp.size() || !IsStamp(line)) return std::nullopt;
  const std::string_view rest = line.substr(kStamp.size());
  for (const CDebugLog::Label& label : CDebugLog::kLabels) {
    if (auto step = ParseLabelled(rest, label.text)) return step;
  }
  return ParseLabelled(rest, CDebugLog::kOtherLabel);
}

}  // namespace qmzentrel::program
