// The buffer of one command or reply.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "support/run_time_error.h"

namespace qmzentrel {

/// 33 bytes, indices 0 to 32. An index or a range outside is error 9, never a read or a write
/// outside.
class FrameBuffer {
 public:
  static constexpr std::int32_t kSize = 33;

  std::uint8_t& operator[](std::int32_t index) {
    CheckRange(index, 1);
    return bytes_[static_cast<std::size_t>(index)];
  }
  std::uint8_t operator[](std::int32_t index) const {
    CheckRange(index, 1);
    return bytes_[static_cast<std::size_t>(index)];
  }

  /// `count` bytes from `first` on.
  std::span<std::uint8_t> Range(std::int32_t first, std::int32_t count) {
    CheckRange(first, count);
    return std::span(bytes_).subspan(static_cast<std::size_t>(first),
                                     static_cast<std::size_t>(count));
  }
  std::span<const std::uint8_t> Range(std::int32_t first, std::int32_t count) const {
    CheckRange(first, count);
    return std::span(bytes_).subspan(static_cast<std::size_t>(first),
                                     static_cast<std::size_t>(count));
  }

  // NOLINTNEXTLINE(google-explicit-constructor): a frame stands for its bytes
  operator std::span<const std::uint8_t>() const { return bytes_; }

 private:
  static void CheckRange(std::int32_t first, std::int32_t count) {
    if (first < 0 || count < 0 || first > kSize || count > kSize - first) {
      RaiseError(kErrorSubscriptOutOfRange);
    }
  }

  std::array<std::uint8_t, kSize> bytes_{};
};

}  // namespace qmzentrel
