// Types and text conversions that every part of the virtual box shares.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmzentrel::virtual_box {

/// A moment on the monotonic clock of the machine, or a span of it.
using Time = std::chrono::nanoseconds;
using Bytes = std::vector<std::uint8_t>;

/// "81236.412" milliseconds. Composed of whole numbers: the locale of a test program must not turn
/// the point into a comma.
std::string MillisecondsText(Time time);

/// "A6 00": two upper-case digits a byte, one blank between bytes.
std::string HexText(const Bytes& bytes);

/// Bytes from "A6 00", "a600" or a mixture; nothing when the text holds anything else.
std::optional<Bytes> ParseHexBytes(std::string_view text);

/// The same from the words of a line, `first` and those behind it; no bytes when there are none.
std::optional<Bytes> ParseHexWords(const std::vector<std::string>& words, std::size_t first);

/// A number from "123" or "0x7B", 0 to `max`; nothing when it is none or outside.
std::optional<std::uint32_t> ParseNumber(std::string_view text, std::uint32_t max);

/// The words of a line, separated by blanks or tabs.
std::vector<std::string> SplitWords(std::string_view line);

}  // namespace qmzentrel::virtual_box
