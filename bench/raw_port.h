// What a program without the component writes to talk to the box: nothing but system calls. It is
// what the component is measured against, so it shares no code with it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>

namespace qmzentrel::bench {

/// A serial port as the box needs it, open for as long as the object lives.
class RawPort {
 public:
  explicit RawPort(int number);
  ~RawPort();
  RawPort(const RawPort&) = delete;
  RawPort& operator=(const RawPort&) = delete;

  /// Forgets what has been received.
  void Purge();
  void Write(std::span<const std::uint8_t> bytes);
  /// Fills `buffer`; false when the time limit in milliseconds ends it.
  bool Read(std::span<std::uint8_t> buffer, DWORD limit_ms);

 private:
  HANDLE port_;
  HANDLE event_;
};

/// True when the last byte is the sum of the others.
bool HasRightSum(std::span<const std::uint8_t> reply);

}  // namespace qmzentrel::bench
