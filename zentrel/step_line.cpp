#include "zentrel/step_line.h"

#include <array>
#include <cctype>

namespace qmzentrel::program {
namespace {

// How a time stamp looks: 9 a digit, A a letter, everything else itself.
constexpr std::string_view kStamp = "99 AAA 9999, 99:99:99";
constexpr std::array<std::string_view, 6> kLabels{"  ERROR  ", "  WARN   ", "  INFO   ",
                                                  "  WPROC  ", "  *RES*  ", "  CHECK  "};

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

}  // namespace

std::optional<StepLine> ParseStepLine(std::string_view line) {
  if (line.size() < kStamp.size() || !IsStamp(line)) return std::nullopt;
  const std::string_view rest = line.substr(kStamp.size());
  for (const std::string_view label : kLabels) {
    if (!rest.starts_with(label)) continue;
    const std::size_t first = label.find_first_not_of(' ');
    const std::size_t last = label.find_last_not_of(' ');
    return StepLine{std::string(label.substr(first, last - first + 1)),
                    std::string(rest.substr(label.size()))};
  }
  return std::nullopt;
}

}  // namespace qmzentrel::program
