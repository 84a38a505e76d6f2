#include "tools/virtual_box/log_line.h"

#include <charconv>
#include <cstdint>

namespace qmzentrel::virtual_box {
namespace {

// Whole numbers, for the reason given at MillisecondsText.
std::optional<Time> ParseMilliseconds(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int64_t whole = 0;
  std::int64_t fraction = 0;
  const char* const end = text.data() + text.size();
  auto result = std::from_chars(text.data(), end, whole);
  if (result.ec != std::errc() || end - result.ptr != 4 || *result.ptr != '.') return std::nullopt;
  result = std::from_chars(result.ptr + 1, end, fraction);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return std::chrono::milliseconds(whole) + std::chrono::microseconds(fraction);
}

}  // namespace

std::string FormatLogLine(const LogLine& line) {
  std::string text = MillisecondsText(line.start) + " +" + MillisecondsText(line.duration) + ' ' +
                     static_cast<char>(line.mark) + ' ' + HexText(line.bytes);
  if (!line.bytes.empty()) text += ' ';
  return text + "; " + line.meaning;
}

std::optional<LogLine> ParseLogLine(std::string_view text) {
  const std::size_t separator = text.find("; ");
  if (separator == std::string_view::npos) return std::nullopt;
  const std::vector<std::string> words = SplitWords(text.substr(0, separator));
  if (words.size() < 3 || words[2].size() != 1) return std::nullopt;

  LogLine line;
  const auto start = ParseMilliseconds(words[0]);
  const auto duration = ParseMilliseconds(words[1]);
  if (!start || !duration) return std::nullopt;
  line.start = *start;
  line.duration = *duration;

  line.mark = static_cast<LogMark>(words[2][0]);
  if (line.mark != LogMark::kToBox && line.mark != LogMark::kFromBox &&
      line.mark != LogMark::kEvent) {
    return std::nullopt;
  }
  std::string hex;
  for (std::size_t i = 3; i < words.size(); ++i) hex += words[i] + ' ';
  const auto bytes = ParseHexBytes(hex);
  if (!bytes) return std::nullopt;
  line.bytes = *bytes;
  line.meaning = text.substr(separator + 2);
  return line;
}

}  // namespace qmzentrel::virtual_box
