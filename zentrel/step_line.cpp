#include "zentrel/step_line.h"

#include <algorithm>

#include "support/CDebugLog.h"

namespace qmzentrel::program {
namespace {

constexpr std::size_t kDayLength = 2;
constexpr std::size_t kTimeLength = 8;
constexpr std::size_t kFewestYearDigits = 4;

// As many as `text` begins with.
std::size_t Digits(std::string_view text) {
  return std::min(text.find_first_not_of("0123456789"), text.size());
}

bool IsTime(std::string_view text) {
  return text.size() == kTimeLength && Digits(text) == 2 && text[2] == ':' &&
         Digits(text.substr(3)) == 2 && text[5] == ':' && Digits(text.substr(6)) == 2;
}

// "22 Nov 2026". The month is the user's: of any length, in any letters or in digits, and in
// question marks where the code page has no letter for it.
bool IsDate(std::string_view text) {
  const std::size_t year = text.rfind(' ');
  if (year == std::string_view::npos || year < kDayLength + 2) return false;
  const std::string_view digits = text.substr(year + 1);
  return Digits(text) == kDayLength && text[kDayLength] == ' ' &&
         digits.size() >= kFewestYearDigits && Digits(digits) == digits.size();
}

// What comes behind the time stamp that `line` begins with; nothing where it begins with none.
std::optional<std::string_view> BehindStamp(std::string_view line) {
  constexpr std::string_view kBeforeTime = ", ";
  const std::size_t date_end = line.find(kBeforeTime);
  if (date_end == std::string_view::npos || !IsDate(line.substr(0, date_end))) return std::nullopt;
  const std::string_view time = line.substr(date_end + kBeforeTime.size());
  if (!IsTime(time.substr(0, kTimeLength))) return std::nullopt;
  return time.substr(kTimeLength);
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
  const auto rest = BehindStamp(line);
  if (!rest) return std::nullopt;
  for (const CDebugLog::Label& label : CDebugLog::kLabels) {
    if (auto step = ParseLabelled(*rest, label.text)) return step;
  }
  return ParseLabelled(*rest, CDebugLog::kOtherLabel);
}

}  // namespace qmzentrel::program
