// The log of everything that passed the port: kept for tests, and handed on line by line.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "tools/virtual_box/log_line.h"

namespace qmzentrel::virtual_box {

class FrameLog {
 public:
  /// Times are shown as counted from `origin`.
  explicit FrameLog(Time origin = Time::zero()) : origin_(origin) {}
  Time Origin() const { return origin_; }

  /// Called with each formatted line as it is added.
  using Sink = std::function<void(const std::string& text)>;

  void AddSink(Sink sink) { sinks_.push_back(std::move(sink)); }
  void Add(LogLine line);

  /// The lines since the last Clear, oldest first; beyond kKeptLines the oldest are forgotten.
  const std::deque<std::string>& Lines() const { return lines_; }

  /// How many frames, both directions together, were added since the last Clear.
  std::size_t FrameCount() const { return frame_count_; }

  void Clear();

  /// A box left running for days must not fill the memory.
  static constexpr std::size_t kKeptLines = 100000;

 private:
  Time origin_;
  std::deque<std::string> lines_;
  std::size_t frame_count_ = 0;
  std::vector<Sink> sinks_;
};

}  // namespace qmzentrel::virtual_box
