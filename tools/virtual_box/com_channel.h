// A COM port, open for bytes in both directions (Windows).
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/event_wait.h"

namespace qmzentrel::virtual_box {

/// An overlapped call and the event that tells its end.
struct Pending {
  Pending() { overlapped.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  ~Pending() { CloseHandle(overlapped.hEvent); }
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  OVERLAPPED overlapped{};
  bool under_way = false;
};

class ComChannel {
 public:
  ComChannel() = default;
  ~ComChannel();
  ComChannel(const ComChannel&) = delete;
  ComChannel& operator=(const ComChannel&) = delete;

  /// Opens "COM7" at 9600 8 N 2, both of its modem lines on or off, and begins to listen; the
  /// reason when that fails, else empty.
  std::string Open(const std::string& name, bool lines_on);

  HANDLE Handle() const { return port_; }

  void AddTo(EventWait& wait) const;

  /// Whatever has arrived, without waiting.
  Bytes Read();
  /// False when nothing can arrive any more.
  bool IsListening() const { return read_.under_way; }
  /// Puts bytes on the line. What nobody takes is lost, as on a real line.
  void Write(std::span<const std::uint8_t> bytes);

 private:
  void StartRead();

  HANDLE port_ = INVALID_HANDLE_VALUE;
  Pending read_;
  std::uint8_t byte_ = 0;
};

}  // namespace qmzentrel::virtual_box
