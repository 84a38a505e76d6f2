// Reading, resetting and writing the transponder.
#include <algorithm>
#include <array>

#include "device/Zentrel.h"
#include "device/wait_for_clock.h"
#include "platform/clock.h"
#include "platform/number.h"
#include "simulator/simulated_commands.h"
#include "simulator/simulator_switch.h"
#include "support/conversion.h"

namespace qmzentrel {
namespace {

// Commands of the box; every reply to them has the same length. A write frame has no command byte:
// it starts with the MIF byte.
constexpr std::uint8_t kReadBlock1 = 0x40;
constexpr std::uint8_t kReadBlock2 = 0x42;
constexpr std::uint8_t kReset = 0xC0;
constexpr std::int32_t kReplyLength = 19;
constexpr std::int32_t kWriteLength = 12;

// How long an electric box may be woken with resends; any other box is sent a command once.
constexpr std::int32_t kElectricReadMs = 12500;
constexpr std::int32_t kReadMs = 2500;
constexpr std::int32_t kWriteMs = 2500;
constexpr std::int32_t kResetMs = 10;

// What tells one block from the other, as it was last. Block 1: the identity, the settings, the
// versions and the signature, but neither what the meter counts nor the battery, which may have
// gone on since. Block 2: the settings.
bool IsSameBlock1(const FrameBuffer& a, const FrameBuffer& b) {
  constexpr std::array kTold{0, 1, 2, 3, 4, 9, 10, 11, 12, 14, 15};
  return std::ranges::all_of(kTold, [&](std::int32_t i) { return a[i] == b[i]; });
}
bool IsSameBlock2(const FrameBuffer& a, const FrameBuffer& b) {
  return std::ranges::equal(a.Range(1, 8), b.Range(1, 8));
}

// Where the box facts stand in a reply.
constexpr std::int32_t kBoxFactsOffset = 12;

}  // namespace

ZentrelStatus Zentrel::ReadXpdr() {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "ReadXpdr", PARAMETERS(), LOCALS(bytTx, bytRx, lngStatus));
  return frame.Run([&] {
    STEP if (simulator::SimulatorEnabled()) return simulator::ReadXpdr(record_, box_);
    STEP WaitForVerifyDelay();
    STEP bytTx[0] = kReadBlock1;
    STEP lngStatus = CommandWithRetry(Block::k1, "ReadXpdr", bytTx, 1, bytRx, ReadTimeout());
    STEP ParseXpdrData(lngStatus, bytRx);
    // A failed block 1 leaves version 0.0, so block 2 is then tried as well; its status is what the
    // caller sees.
    STEP if (record_.HasBlock2()) {
      STEP bytTx[0] = kReadBlock2;
      STEP lngStatus =
          CommandWithRetry(Block::k2, "ReadXpdr Block 2", bytTx, 1, bytRx, ReadTimeout());
      STEP ParseXpdrBlock2(lngStatus, bytRx);
    }
    STEP return lngStatus;
  });
}

ZentrelStatus Zentrel::ResetXpdr() {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  ErrorFrame frame(Fields(), "ResetXpdr", PARAMETERS(), LOCALS(bytTx, bytRx));
  return frame.Run([&] {
    STEP if (simulator::SimulatorEnabled()) return simulator::ResetXpdr();
    STEP bytTx[0] = kReset;
    STEP return ZentrelCommand(bytTx, 1, bytRx, kReplyLength, kResetMs);
  });
}

ZentrelStatus Zentrel::WriteXpdr() {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "WriteXpdr", PARAMETERS(), LOCALS(bytTx, bytRx, lngStatus));
  return frame.Run([&] {
    STEP if (simulator::SimulatorEnabled()) return simulator::WriteXpdr(record_, box_);
    STEP if (!record_.IsInRange()) return S_BAD_DATA;
    STEP record_.PutLeakFlag();
    // Built before the wait: a property changed from within the wait belongs to the next write.
    STEP bytTx = record_.Block1Frame();
    STEP WaitForVerifyDelay();
    STEP lngStatus = CommandWithRetry(Block::k1, "WriteXpdr", bytTx, kWriteLength, bytRx, kWriteMs);
    STEP if (lngStatus == S_OKAY) ParseXpdrData(S_OKAY, bytRx);
    STEP StartVerifyDelay();
    STEP if (lngStatus == S_OKAY && record_.HasBlock2()) {
      STEP bytTx = record_.Block2Frame();
      STEP WaitForVerifyDelay();
      STEP lngStatus =
          CommandWithRetry(Block::k2, "WriteXpdrRF", bytTx, kWriteLength, bytRx, kWriteMs);
      STEP if (lngStatus == S_OKAY) ParseXpdrBlock2(S_OKAY, bytRx);
      STEP StartVerifyDelay();
    }
    STEP return lngStatus;
  });
}

// The step's name is logged before each sending; a time-out, and only that, is tried once more.
ZentrelStatus Zentrel::CommandWithRetry(Block block, const char* step, const FrameBuffer& bytTx,
                                        std::int32_t TxLength, FrameBuffer& bytRx,
                                        std::int32_t Timeout) {
  const auto command = [&] {
    return ZentrelCommand(bytTx, TxLength, bytRx, kReplyLength, Timeout, block);
  };
  LogStep(step);
  ZentrelStatus status = command();
  if (status == S_TIMEOUT) {
    LogStep((std::string(step) + " retry").c_str());
    status = command();
  }
  if (status == S_OKAY) last_blocks_[static_cast<std::size_t>(block)] = bytRx;
  return status;
}

// An answer about the other block, as that was last: taken for this one it would make the
// identifier the frequency, which the next write stores in the transponder. But a blank transponder
// looks like the settings of another: what looks like this block as it was last is it, and of what
// nothing was sent about lately nothing is late.
bool Zentrel::IsLate(std::optional<Block> asked, const FrameBuffer& reply) {
  if (!asked) return false;
  const auto& [block1, block2] = last_blocks_;
  const bool is_block1 = block1 && IsSameBlock1(reply, *block1);
  const bool is_block2 = block2 && IsSameBlock2(reply, *block2);
  const bool is_other = *asked == Block::k1 ? is_block2 && !is_block1 : is_block1 && !is_block2;
  return is_other && unanswered_sends_.TakeOtherThan(*asked);
}

void Zentrel::ParseXpdrData(ZentrelStatus status, const FrameBuffer& bytes) {
  ErrorFrame frame(Fields(), "ParseXpdrData", PARAMETERS(status, bytes));
  frame.Run([&] {
    STEP if (status != S_OKAY) return record_.ClearBlock1();
    STEP record_.ParseBlock1(bytes);
    STEP ParseBoxStatus(bytes, kBoxFactsOffset);
  });
}

void Zentrel::ParseXpdrBlock2(ZentrelStatus status, const FrameBuffer& bytes) {
  ErrorFrame frame(Fields(), "ParseXpdrBlock2", PARAMETERS(status, bytes));
  frame.Run([&] {
    STEP if (status != S_OKAY) return record_.radio.Clear();
    STEP record_.radio.Parse(bytes);
  });
}

std::int32_t Zentrel::ReadTimeout() const {
  return box_.m_blnIsElectric ? kElectricReadMs : kReadMs;
}

void Zentrel::StartVerifyDelay() {
  m_sngVDelayTimeout = platform::SecondsSinceMidnight() + m_sngVDelay;
}

// The mark is read afresh each turn: a call from within the wait may move it. Plain seconds since
// midnight without a wrap: a mark beyond midnight is never reached, as clients know it.
void Zentrel::WaitForVerifyDelay() {
  WaitForClock([this] { return m_sngVDelayTimeout - platform::SecondsSinceMidnight(); });
}

std::string Zentrel::PLLWarmUpName() const {
  ErrorFrame frame(Fields(), "PLLWarmUpName");
  return frame.Run(
      [&] { STEP return platform::FormatNumber(record_.m_lngPLLWarmup / 5.0, "0.0") + " mS"; });
}

std::int32_t Zentrel::VDelay() const {
  ErrorFrame frame(Fields(), "VDelay");
  return frame.Run([&] { STEP return ToLong(static_cast<float>(m_sngVDelay * 1000.0)); });
}

void Zentrel::VDelay(std::int32_t New_VDelay) {
  m_sngVDelay = static_cast<float>(New_VDelay / 1000.0);
}

}  // namespace qmzentrel
