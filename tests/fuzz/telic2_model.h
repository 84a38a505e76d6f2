// Messages of the sub-device by their rules: which requests are sent, as which frame, and what a
// reply stores.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tests/fuzz/seen.h"

namespace qmzentrel::fuzz {

struct Telic2Length {
  std::int32_t id;
  std::int32_t bytes;        ///< of the message, 0 where there is none
  std::int32_t test_writes;  ///< of the test message of this number
  std::int32_t test_reads;
};

/// What is known of messages; of any other number nothing is.
using Telic2Catalog = std::vector<Telic2Length>;

using LengthOfMessage = std::function<std::int64_t(std::int32_t id)>;

/// The messages as they stand in a frame. Entries that `data` lacks are 0.
Bytes Packed(const Numbers& ids, const Numbers& data, const LengthOfMessage& length_of);

/// Stores what a reply says; false when it goes beyond `data`, or beyond the frame: what is before
/// that is stored.
bool Unpack(const Bytes& reply, const LengthOfMessage& length_of, Numbers& data);

/// Bytes of the frame ahead of the messages, and all that it has room for.
inline constexpr std::size_t kTelic2Header = 4;
inline constexpr std::size_t kTelic2Buffer = 33;

class Telic2Model {
 public:
  /// A request as the client makes it.
  Telic2Model(const Call& call, const Telic2Catalog& catalog);

  /// What ends the command before anything is sent.
  std::optional<std::int32_t> Refusal() const { return refusal_; }
  /// The error that ends one without a refusal before anything is sent, 0 for none.
  std::int32_t Error() const;
  const Bytes& Frame() const { return frame_; }
  /// Bytes of the reply.
  std::int64_t Expected() const { return expected_; }
  std::int32_t Timeout() const { return call_.what == What::kTelic2Write ? 2500 : 12500; }
  /// Stores what a whole reply says, as far as `data` goes; false when it ends before the reply.
  bool Store(const Bytes& reply, Numbers& data) const;

 private:
  Telic2Length Known(std::int32_t id) const;
  std::int64_t Length(std::int32_t id) const;
  void MakeRead();
  void MakeWrite();
  void MakeTest();
  void Finish(std::uint8_t command, bool replies, std::int64_t length, const Bytes& messages);

  const Call& call_;
  const Telic2Catalog& catalog_;
  std::optional<std::int32_t> refusal_;
  std::int32_t error_ = 0;
  Bytes frame_;
  std::int64_t expected_ = kTelic2Header;
};

}  // namespace qmzentrel::fuzz
