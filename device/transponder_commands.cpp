// Reading, resetting and writing the transponder.
#include "device/Zentrel.h"
#include "device/record_facts.h"
#include "device/wait_for_clock.h"
#include "platform/clock.h"
#include "platform/number.h"
#include "simulator/simulator_switch.h"
#include "support/conversion.h"
#include "support/modCOM_IsWithinMinMax.h"

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

// Where the box facts stand in a reply.
constexpr std::int32_t kBoxFactsOffset = 12;

// Byte 10 of a block-2 write frame: what tells the transponder that this is block 2.
constexpr std::uint8_t kBlock2Mark = 0x20;

constexpr double kFirstLeakVersion = 8.0;

// Transponders from version 4.0 to below 8.0 have no block 2.
constexpr double kFirstVersionWithoutBlock2 = 4.0;
constexpr double kNextVersionWithBlock2 = 8.0;

// What stands for the radio settings after a failed read of block 2.
constexpr std::int32_t kUnreadEolControl = 23;
constexpr std::int32_t kUnreadLeakThreshold = 255;

constexpr std::int32_t kMaxNibble = 15;
constexpr std::int32_t kMaxMif = 63;
constexpr std::int32_t kMax24Bit = 0xFFFFFF;

std::int32_t Get24Bit(const FrameBuffer& bytes, std::int32_t first) {
  return bytes[first] << 16 | bytes[first + 1] << 8 | bytes[first + 2];
}

void Put24Bit(FrameBuffer& bytes, std::int32_t first, std::int32_t value) {
  bytes[first] = static_cast<std::uint8_t>(value / 65536 & 0xFF);
  bytes[first + 1] = static_cast<std::uint8_t>(value / 256 & 0xFF);
  bytes[first + 2] = static_cast<std::uint8_t>(value & 0xFF);
}

// The leading decimal number of a version text: "8.0" is 8, "1.A" is 1, "A.0" is 0.
double VersionValue(const std::string& version) {
  double value = 0;
  double place = 1;
  bool fraction = false;
  for (const char c : version) {
    if (c == '.' && !fraction) {
      fraction = true;
    } else if (c < '0' || c > '9') {
      break;
    } else if (fraction) {
      place /= 10;
      value += (c - '0') * place;
    } else {
      value = value * 10 + (c - '0');
    }
  }
  return value;
}

}  // namespace

ZentrelStatus Zentrel::ReadXpdr() {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "ReadXpdr", PARAMETERS(), LOCALS(bytTx, bytRx, lngStatus));
  return frame.Run([&] {
    STEP if (simulator::SimulatorEnabled()) return SimulatedRead();
    STEP WaitForVerifyDelay();
    STEP bytTx[0] = kReadBlock1;
    STEP lngStatus = CommandWithRetry("ReadXpdr", bytTx, 1, bytRx, ReadTimeout());
    STEP ParseXpdrData(lngStatus, bytRx);
    // A failed block 1 leaves version 0.0, so block 2 is then tried as well; its status is what the
    // caller sees.
    STEP if (HasBlock2()) {
      STEP bytTx[0] = kReadBlock2;
      STEP lngStatus = CommandWithRetry("ReadXpdr Block 2", bytTx, 1, bytRx, ReadTimeout());
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
    STEP if (simulator::SimulatorEnabled()) return SimulatedReset();
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
    STEP if (simulator::SimulatorEnabled()) return SimulatedWrite();
    STEP if (!RecordIsInRange()) return S_BAD_DATA;
    STEP if (m_blnHasLeak && m_lngTamperCount < kLeakFlag) m_lngTamperCount += kLeakFlag;
    STEP if (!m_blnHasLeak && m_lngTamperCount >= kLeakFlag) m_lngTamperCount -= kLeakFlag;
    // Built before the wait: a property changed from within the wait belongs to the next write.
    STEP bytTx = Block1Frame();
    STEP WaitForVerifyDelay();
    STEP lngStatus = CommandWithRetry("WriteXpdr", bytTx, kWriteLength, bytRx, kWriteMs);
    STEP if (lngStatus == S_OKAY) ParseXpdrData(S_OKAY, bytRx);
    STEP StartVerifyDelay();
    STEP if (lngStatus == S_OKAY && HasBlock2()) {
      STEP bytTx = Block2Frame();
      STEP WaitForVerifyDelay();
      STEP lngStatus = CommandWithRetry("WriteXpdrRF", bytTx, kWriteLength, bytRx, kWriteMs);
      STEP if (lngStatus == S_OKAY) ParseXpdrBlock2(S_OKAY, bytRx);
      STEP StartVerifyDelay();
    }
    STEP return lngStatus;
  });
}

// The step's name is logged before each sending; a time-out, and only that, is tried once more.
ZentrelStatus Zentrel::CommandWithRetry(const char* step, const FrameBuffer& bytTx,
                                        std::int32_t TxLength, FrameBuffer& bytRx,
                                        std::int32_t Timeout) {
  LogStep(step);
  const ZentrelStatus status = ZentrelCommand(bytTx, TxLength, bytRx, kReplyLength, Timeout);
  if (status != S_TIMEOUT) return status;
  LogStep((std::string(step) + " retry").c_str());
  return ZentrelCommand(bytTx, TxLength, bytRx, kReplyLength, Timeout);
}

void Zentrel::ParseXpdrData(ZentrelStatus status, const FrameBuffer& bytes) {
  ErrorFrame frame(Fields(), "ParseXpdrData", PARAMETERS(status, bytes));
  frame.Run([&] {
    STEP if (status != S_OKAY) {
      STEP DeviceMIF(0);
      STEP m_lngUtil = 0;
      STEP m_lngXpdrID = 0;
      STEP m_lngReading = 0;
      STEP m_lngTamperCount = 0;
      STEP m_lngMSI = 0;
      STEP m_lngPLLWarmup = 0;
      STEP m_lngTXI = 0;
      STEP m_strXpdrVersion = VersionText(0);
      STEP m_blnHasLeak = false;
      return;
    }
    STEP DeviceMIF(bytes[0]);
    STEP m_lngUtil = bytes[1];
    STEP m_lngXpdrID = Get24Bit(bytes, 2);
    STEP m_lngTamperCount = bytes[5];
    STEP m_lngReading = Get24Bit(bytes, 6);
    STEP m_lngPLLWarmup = bytes[9] >> 4;
    STEP m_lngTXI = bytes[9] & 0xF;
    STEP m_lngMSI = bytes[10] & 0xF;
    STEP m_strXpdrVersion = VersionText(bytes[11]);
    STEP m_blnHasLeak =
        VersionValue(m_strXpdrVersion) >= kFirstLeakVersion && m_lngTamperCount >= kLeakFlag;
    STEP if (m_blnHasLeak && !m_blnMIFSelect) m_lngTamperCount -= kLeakFlag;
    STEP ParseBoxStatus(bytes, kBoxFactsOffset);
  });
}

void Zentrel::ParseXpdrBlock2(ZentrelStatus status, const FrameBuffer& bytes) {
  ErrorFrame frame(Fields(), "ParseXpdrBlock2", PARAMETERS(status, bytes));
  frame.Run([&] {
    const bool read = status == S_OKAY;
    STEP m_lngFreq_MSB = read ? bytes[1] : 0;
    STEP m_lngFreq_MID = read ? bytes[2] : 0;
    STEP m_lngFreq_LSB = read ? bytes[3] : 0;
    STEP m_lngBR_MSB = read ? bytes[4] : 0;
    STEP M_lngBR_LSB = read ? bytes[5] : 0;
    STEP m_lngPA_CTRL = read ? bytes[6] : 0;
    STEP m_lngEOL_CTRL = read ? bytes[7] : kUnreadEolControl;
    STEP m_lngLeakTHold = read ? kMaxByte - bytes[8] : kUnreadLeakThreshold;
  });
}

bool Zentrel::RecordIsInRange() const {
  using modCOM_IsWithinMinMax::IsWithinMinMax;
  return IsWithinMinMax(m_lngUtil, 0, kMaxByte) && IsWithinMinMax(m_lngMIF, 0, kMaxMif) &&
         IsWithinMinMax(m_lngXpdrID, 0, kMax24Bit) &&
         IsWithinMinMax(m_lngTamperCount, 0, kMaxByte) &&
         IsWithinMinMax(m_lngReading, 0, kMax24Bit) &&
         IsWithinMinMax(m_lngPLLWarmup, 0, kMaxNibble) && IsWithinMinMax(m_lngTXI, 0, kMaxNibble) &&
         IsWithinMinMax(m_lngMSI, 0, kMaxNibble);
}

FrameBuffer Zentrel::Block1Frame() const {
  FrameBuffer bytes;
  bytes[0] = ToByte(DeviceMIF());
  bytes[1] = ToByte(m_lngUtil);
  Put24Bit(bytes, 2, m_lngXpdrID);
  bytes[5] = ToByte(m_lngTamperCount);
  Put24Bit(bytes, 6, m_lngReading);
  bytes[9] = ToByte((m_lngPLLWarmup * 16 & 0xF0) | (m_lngTXI & 0x0F));
  bytes[10] = ToByte(m_lngMSI);
  bytes[11] = 0;
  return bytes;
}

FrameBuffer Zentrel::Block2Frame() const {
  FrameBuffer bytes;
  bytes[0] = ToByte(DeviceMIF());
  bytes[1] = ToByte(m_lngFreq_MSB);
  bytes[2] = ToByte(m_lngFreq_MID);
  bytes[3] = ToByte(m_lngFreq_LSB);
  bytes[4] = ToByte(m_lngBR_MSB);
  bytes[5] = ToByte(M_lngBR_LSB);
  bytes[6] = ToByte(m_lngPA_CTRL);
  bytes[7] = ToByte(m_lngEOL_CTRL);
  bytes[8] = ToByte(std::int64_t{kMaxByte} - m_lngLeakTHold);
  bytes[9] = 0;
  bytes[10] = kBlock2Mark;
  bytes[11] = 0;
  return bytes;
}

std::int32_t Zentrel::ReadTimeout() const {
  return m_blnIsElectric ? kElectricReadMs : kReadMs;
}

bool Zentrel::HasBlock2() const {
  const double version = VersionValue(m_strXpdrVersion);
  return version < kFirstVersionWithoutBlock2 || version >= kNextVersionWithBlock2;
}

void Zentrel::StartVerifyDelay() {
  m_sngVDelayTimeout = platform::SecondsSinceMidnight() + m_sngVDelay;
}

// The mark is read afresh each turn: a call from within the wait may move it. Plain seconds since
// midnight without a wrap: a mark beyond midnight is never reached, as clients know it.
void Zentrel::WaitForVerifyDelay() {
  WaitForClock([this] { return m_sngVDelayTimeout - platform::SecondsSinceMidnight(); });
}

std::int32_t Zentrel::DeviceMIF() const {
  return m_lngMIF | (m_blnIDToggle ? MIF_MASK_IDT : 0) | (m_blnMIFSelect ? MIF_MASK_2IF : 0);
}

void Zentrel::DeviceMIF(std::int32_t New_DeviceMIF) {
  m_lngMIF = New_DeviceMIF & MIF_MASK_TYPE;
  m_blnIDToggle = (New_DeviceMIF & MIF_MASK_IDT) != 0;
  m_blnMIFSelect = (New_DeviceMIF & MIF_MASK_2IF) != 0;
}

std::string Zentrel::PLLWarmUpName() const {
  ErrorFrame frame(Fields(), "PLLWarmUpName");
  return frame.Run(
      [&] { STEP return platform::FormatNumber(m_lngPLLWarmup / 5.0, "0.0") + " mS"; });
}

std::int32_t Zentrel::VDelay() const {
  ErrorFrame frame(Fields(), "VDelay");
  return frame.Run([&] { STEP return ToLong(static_cast<float>(m_sngVDelay * 1000.0)); });
}

void Zentrel::VDelay(std::int32_t New_VDelay) {
  m_sngVDelay = static_cast<float>(New_VDelay / 1000.0);
}

}  // namespace qmzentrel
