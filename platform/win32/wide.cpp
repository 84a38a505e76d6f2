#include "platform/win32/wide.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qmzentrel::platform {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kFirstBeyondPlaneZero = 0x10000;
constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr char32_t kHighSurrogates = 0xD800;
constexpr char32_t kLowSurrogates = 0xDC00;
constexpr char32_t kBehindSurrogates = 0xE000;

struct Decoded {
  char32_t code_point;
  std::size_t length;
};

// The code point at the start of `utf8`, which is not empty. A malformed sequence counts as one
// byte.
Decoded DecodeFirst(std::string_view utf8) {
  const auto lead = static_cast<std::uint8_t>(utf8.front());
  if (lead < 0x80) return {lead, 1};
  std::size_t length = 0;
  char32_t code_point = 0;
  if (lead >= 0xC0 && lead < 0xE0) {
    length = 2;
    code_point = lead & 0x1Fu;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3;
    code_point = lead & 0x0Fu;
  } else if (lead >= 0xF0 && lead < 0xF8) {
    length = 4;
    code_point = lead & 0x07u;
  }
  constexpr Decoded kMalformed{kReplacementCharacter, 1};
  if (length == 0 || utf8.size() < length) return kMalformed;
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<std::uint8_t>(utf8[i]);
    if ((byte & 0xC0) != 0x80) return kMalformed;
    code_point = code_point << 6 | (byte & 0x3Fu);
  }
  // The smallest code point that needs so many bytes: an overlong form is no character.
  constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, kFirstBeyondPlaneZero};
  if (code_point < kSmallest[length] || code_point > kLastCodePoint) return kMalformed;
  return {code_point, length};
}

void Encode(char32_t code_point, std::string& utf8) {
  const auto put = [&utf8](char32_t byte) { utf8.push_back(static_cast<char>(byte)); };
  const auto put_tail = [&put, code_point](int shift) { put(0x80 | (code_point >> shift & 0x3F)); };
  if (code_point < 0x80) {
    put(code_point);
  } else if (code_point < 0x800) {
    put(0xC0 | code_point >> 6);
    put_tail(0);
  } else if (code_point < kFirstBeyondPlaneZero) {
    put(0xE0 | code_point >> 12);
    put_tail(6);
    put_tail(0);
  } else {
    put(0xF0 | code_point >> 18);
    put_tail(12);
    put_tail(6);
    put_tail(0);
  }
}

}  // namespace

std::wstring Utf8ToWide(std::string_view utf8) {
  std::wstring wide;
  wide.reserve(utf8.size());
  while (!utf8.empty()) {
    const Decoded next = DecodeFirst(utf8);
    utf8.remove_prefix(next.length);
    if (next.code_point < kFirstBeyondPlaneZero) {
      wide.push_back(static_cast<wchar_t>(next.code_point));
    } else {
      const char32_t offset = next.code_point - kFirstBeyondPlaneZero;
      wide.push_back(static_cast<wchar_t>(kHighSurrogates + (offset >> 10)));
      wide.push_back(static_cast<wchar_t>(kLowSurrogates + (offset & 0x3FF)));
    }
  }
  return wide;
}

std::string WideToUtf8(std::wstring_view wide) {
  std::string utf8;
  utf8.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    char32_t code_point = wide[i];
    if (code_point >= kHighSurrogates && code_point < kLowSurrogates && i + 1 < wide.size()) {
      const char32_t low = wide[i + 1];
      if (low >= kLowSurrogates && low < kBehindSurrogates) {
        code_point =
            kFirstBeyondPlaneZero + ((code_point - kHighSurrogates) << 10) + (low - kLowSurrogates);
        ++i;
      }
    }
    Encode(code_point, utf8);
  }
  return utf8;
}

}  // namespace qmzentrel::platform
