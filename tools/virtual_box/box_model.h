// The box itself: bytes in, replies out, in time that the caller tells. No port, no clock, no
// thread, so that tests drive it in virtual time and the program drives it on a real port.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "tools/virtual_box/basics.h"
#include "tools/virtual_box/command_frame.h"
#include "tools/virtual_box/facts.h"
#include "tools/virtual_box/log_line.h"
#include "tools/virtual_box/misbehaviour.h"
#include "tools/virtual_box/sub_device.h"

namespace qmzentrel::virtual_box {

/// One byte on the wire: 9600 baud, start bit, 8 data bits, two stop bits.
inline constexpr Time kByteTime{11'000'000'000 / 9600};

class BoxModel {
 public:
  using LogSink = std::function<void(const LogLine&)>;

  /// `log` is told each frame and event. The box begins supplied and ready.
  explicit BoxModel(LogSink log);

  Facts facts;
  MisbehaviourQueue faults;
  SubDevice sub_device;

  /// Bytes arrived at the port. Without supply and during the start-up time they are lost.
  void Receive(std::span<const std::uint8_t> bytes, Time now);

  /// The pause that ends a command has not begun before `now`: bytes have been found that may count
  /// as older.
  void KeepInputOpen(Time now);

  /// The supply came on or went off. Off cuts a reply short; on begins the start-up time.
  void SetSupply(bool on, Time now);
  bool HasSupply() const { return supplied_; }

  /// Queues bytes that no command asked for; false when the box is not able to send.
  bool SendUnasked(const Bytes& bytes, Time now);

  /// The next moment at which Advance has something to do, if any.
  std::optional<Time> NextDue() const;

  struct Output {
    Bytes bytes;          ///< to be put on the port now
    bool unplug = false;  ///< afterwards the port disappears
  };

  /// Everything that is due by `now`.
  Output Advance(Time now);

  /// The port was unplugged: what is under way is lost.
  void DropTraffic(Time now);

 private:
  struct Sending {
    std::deque<Time> due;  // of each byte not yet sent
    Time end{0};           // when the last byte is due, or the whole of a reply without bytes
    Bytes bytes;
    std::size_t sent = 0;
    Time first_sent{0};
    std::string meaning;
    bool unplug = false;
  };
  struct Reply {
    Bytes bytes;
    bool has_sum = true;
  };

  Time ByteTime() const { return facts.pace != 0 ? kByteTime : Time::zero(); }
  bool IsReady(Time now) const { return supplied_ && now >= ready_; }
  void EndStaleInput(Time now);
  void EndInput();
  void Handle(const CommandFrame& command);
  std::optional<Reply> CarryOut(const CommandFrame& command, std::string& remark);
  bool TransponderHasBlock2() const;
  Bytes BoxStatusReply() const;
  Bytes Block1Reply() const;
  Bytes Block2Reply() const;
  void Spoil(Reply& reply, const Misbehaviour& fault);
  void Schedule(Bytes bytes, std::string meaning, const Misbehaviour& fault, Time earliest);
  void LogSent(const Sending& sending, Time now, const std::string& meaning);
  void LogEvent(Time now, const std::string& meaning);

  LogSink log_;
  CommandSplitter splitter_;
  bool supplied_ = true;
  bool starting_ = false;
  Time ready_ = Time::min();
  Time first_received_{0};     // first byte of the frame being received
  Time last_received_{0};      // last byte of it
  Time receive_line_free_{0};  // when the received bytes have all passed the wire
  Time send_line_free_{0};
  std::deque<Sending> sending_;
  std::uint32_t noise_ = 1;
};

}  // namespace qmzentrel::virtual_box
