// What passes between a client and a box, cut into the frames of both directions, in time that the
// caller tells. It only listens: the bytes go their way without it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/command_frame.h"
#include "tools/virtual_box/log_line.h"

namespace qmzentrel::virtual_box {

class Tap {
 public:
  using LogSink = std::function<void(const LogLine&)>;

  /// `log` is told each frame as soon as it is known to be whole, or to stay incomplete.
  explicit Tap(LogSink log);

  /// Bytes came from the client, or from the box.
  void ToBox(std::span<const std::uint8_t> bytes, Time now);
  void FromBox(std::span<const std::uint8_t> bytes, Time now);

  /// The next moment at which Advance has something to do, if any.
  std::optional<Time> NextDue() const;

  /// A pause that has lasted long enough ends what is incomplete.
  void Advance(Time now);

  /// The line is cut: nothing more belongs to what is incomplete.
  void EndTraffic();

 private:
  /// When the bytes of an incomplete frame came.
  struct Span {
    Time first{0};
    Time last{0};
  };

  void EndCommand();
  void EndReply();
  std::string ReplyMeaning() const;
  void Log(const Span& span, LogMark mark, const Bytes& bytes, std::string meaning);

  LogSink log_;
  CommandSplitter to_box_;
  Span to_box_span_;
  Bytes from_box_;
  Span from_box_span_;
  std::optional<CommandFrame> unanswered_;  // what the bytes from the box may be the reply to
  std::optional<Time> last_;                // when the last byte of the frame before came
};

}  // namespace qmzentrel::virtual_box
