#include "tools/virtual_box/frame_log.h"

namespace qmzentrel::virtual_box {

void FrameLog::Add(LogLine line) {
  line.start -= origin_;
  lines_.push_back(FormatLogLine(line));
  if (lines_.size() > kKeptLines) lines_.pop_front();
  if (line.IsFrame()) ++frame_count_;
  for (const Sink& sink : sinks_) sink(lines_.back());
}

void FrameLog::Clear() {
  lines_.clear();
  frame_count_ = 0;
}

}  // namespace qmzentrel::virtual_box
