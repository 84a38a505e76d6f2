// Messages of the sub-device by their rules: which requests are sent, as which frame, and what a
// reply stores.
#pragma once

#include <cstdint>
#include <optional>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

struct Telic2Length {
  std::int32_t id;
  std::int32_t bytes;        ///< of the message, 0 where there is none
  std::int32_t test_writes;  ///< of the test message of this number
  std::int32_t test_reads;
};

/// What is known of messages; of any other number nothing is.
inline constexpr Telic2Length kTelic2Lengths[] = {{8, 2, 2, 2},   {9, 2, 1, 0},  {10, 1, 0, 4},
                                                  {11, 3, 3, 1},  {12, 4, 4, 4}, {17, -4, 0, 0},
                                                  {20, 0, 1, -1}, {21, 5, 0, 9}};

/// The type of sub-device whose test messages these are.
inline constexpr char kTelic2Device[] = "Meter";

class Telic2Model {
 public:
  /// A request as the client makes it.
  explicit Telic2Model(const Call& call);

  /// What ends the command before anything is sent.
  std::optional<std::int32_t> Refusal() const { return refusal_; }
  /// The arrays lack entries.
  bool IsShort() const;
  const Bytes& Frame() const { return frame_; }
  std::int32_t Expected() const { return expected_; }
  std::int32_t Timeout() const { return call_.what == What::kTelic2Write ? 2500 : 12500; }
  /// Stores what a whole reply says, as far as `data` goes; false when it ends before the reply.
  bool Unpack(const Bytes& reply, Numbers& data) const;

 private:
  void MakeRead();
  void MakeWriteOrTest();
  void Finish(std::uint8_t command, bool replies);

  const Call& call_;
  std::optional<std::int32_t> refusal_;
  Bytes frame_{0x7E, 0x20, 0, 0};
  std::int32_t expected_ = 4;
};

}  // namespace qmzentrel::fuzz
