#include "tools/virtual_box/basics.h"

#include <charconv>
#include <cstdio>

namespace qmzentrel::virtual_box {

std::string MillisecondsText(Time time) {
  const auto microseconds =
      static_cast<long long>(std::chrono::floor<std::chrono::microseconds>(time).count());
  char text[40];
  std::snprintf(text, sizeof text, "%lld.%03lld", microseconds / 1000, microseconds % 1000);
  return text;
}

std::string HexText(const Bytes& bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::optional<Bytes> ParseHexBytes(std::string_view text) {
  return ParseHexWords(SplitWords(text), 0);
}

std::optional<Bytes> ParseHexWords(const std::vector<std::string>& words, std::size_t first) {
  Bytes bytes;
  for (std::size_t at = first; at < words.size(); ++at) {
    const std::string& word = words[at];
    if (word.size() % 2 != 0) return std::nullopt;
    for (std::size_t i = 0; i < word.size(); i += 2) {
      const char* const end = word.data() + i + 2;
      unsigned value = 0;
      const auto result = std::from_chars(word.data() + i, end, value, 16);
      if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
      bytes.push_back(static_cast<std::uint8_t>(value));
    }
  }
  return bytes;
}

std::optional<std::uint32_t> ParseNumber(std::string_view text, std::uint32_t max) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  std::uint32_t value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value, base);
  if (result.ec != std::errc() || result.ptr != end || value > max) return std::nullopt;
  return value;
}

std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  std::string word;
  for (const char c : line) {
    if (c != ' ' && c != '\t' && c != '\r') {
      word += c;
    } else if (!word.empty()) {
      words.push_back(std::move(word));
      word.clear();
    }
  }
  if (!word.empty()) words.push_back(std::move(word));
  return words;
}

}  // namespace qmzentrel::virtual_box
