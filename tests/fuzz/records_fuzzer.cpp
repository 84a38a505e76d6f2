// The record of a transponder and the facts of the box: what replies make of them, and the frames
// that come of them.
#include <algorithm>
#include <limits>

#include "interface/box_facts.h"
#include "interface/transponder_record.h"
#include "support/run_time_error.h"
#include "tests/fuzz/drawn_number.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/record_model.h"
#include "tests/fuzz/seen_text.h"

namespace qmzentrel::fuzz {
namespace {

constexpr std::int32_t kOverflow = 6;
constexpr std::size_t kReply = 19;
constexpr std::int32_t kFactsInReply = 12;

using Slot = std::int32_t& (*)(TransponderRecord&);
template <auto kNumber>
std::int32_t& InRecord(TransponderRecord& record) {
  return record.*kNumber;
}
template <auto kNumber>
std::int32_t& InRadio(TransponderRecord& record) {
  return record.radio.*kNumber;
}
// In the order of Property; null where a number alone does not do.
constexpr Slot kSlots[kProperties] = {nullptr,
                                      nullptr,
                                      nullptr,
                                      InRecord<&TransponderRecord::m_lngUtil>,
                                      InRecord<&TransponderRecord::m_lngXpdrID>,
                                      InRecord<&TransponderRecord::m_lngTamperCount>,
                                      InRecord<&TransponderRecord::m_lngReading>,
                                      InRecord<&TransponderRecord::m_lngPLLWarmup>,
                                      InRecord<&TransponderRecord::m_lngTXI>,
                                      InRecord<&TransponderRecord::m_lngMSI>,
                                      InRadio<&RadioSettings::m_lngFreq_MSB>,
                                      InRadio<&RadioSettings::m_lngFreq_MID>,
                                      InRadio<&RadioSettings::m_lngFreq_LSB>,
                                      InRadio<&RadioSettings::m_lngBR_MSB>,
                                      InRadio<&RadioSettings::M_lngBR_LSB>,
                                      InRadio<&RadioSettings::m_lngPA_CTRL>,
                                      InRadio<&RadioSettings::m_lngEOL_CTRL>,
                                      nullptr,
                                      InRadio<&RadioSettings::m_lngLeakTHold>};

FrameBuffer FrameOf(const Bytes& bytes) {
  FrameBuffer frame;
  std::ranges::copy(bytes, frame.Range(0, static_cast<std::int32_t>(bytes.size())).begin());
  return frame;
}

Bytes SentOf(const FrameBuffer& frame) {
  const std::span<const std::uint8_t> bytes = frame;
  constexpr std::size_t kSent = 12;
  return {bytes.begin(), bytes.begin() + kSent};
}

class Records {
 public:
  explicit Records(FuzzedDataProvider& input) : input_(input) {}

  void Change() {
    switch (input_.ConsumeIntegralInRange(0, 7)) {
      case 0:
        return TakeBlock1();
      case 1:
        return TakeBlock2();
      case 2:
        return TakeFacts();
      case 3:
        record_.ClearBlock1();
        return model_.ClearBlock1();
      case 4:
        record_.radio.Clear();
        return model_.ClearBlock2();
      default:
        return Set();
    }
  }

  void Compare() {
    const Shown seen = Seen();
    Shown wanted;
    model_.Show(wanted);
    if (seen != wanted) Require(false, "shows " + Text(seen) + "\ninstead of " + Text(wanted));
    Require(record_.HasBlock2() == model_.HasBlock2(), "has a second block or not");
    Require(box_.m_blnIsElectric == model_.IsElectric(), "an electric box or not");
    Require(record_.IsInRange() == model_.InRange(), "in range or not");
    if (!model_.InRange()) return;
    TransponderRecord sent = record_;
    RecordModel expected = model_;
    sent.PutLeakFlag();
    expected.AdjustLeak();
    Require(SentOf(sent.Block1Frame()) == expected.Block1(), "another first block");
    Require(Block2Of(sent) == expected.Block2(), "another second block");
  }

 private:
  Bytes Reply() {
    Bytes reply = input_.ConsumeBytes<std::uint8_t>(kReply);
    reply.resize(kReply);
    return reply;
  }

  void TakeBlock1() {
    const Bytes reply = Reply();
    record_.ParseBlock1(FrameOf(reply));
    box_.Parse(FrameOf(reply), kFactsInReply);
    model_.TakeBlock1(reply);
  }

  void TakeBlock2() {
    const Bytes reply = Reply();
    record_.radio.Parse(FrameOf(reply));
    model_.TakeBlock2(reply);
  }

  void TakeFacts() {
    const Bytes reply = Reply();
    box_.Parse(FrameOf(reply), 0);
    model_.TakeBoxFacts(reply.data());
  }

  void Set() {
    constexpr std::int32_t kEnds[] = {
        std::numeric_limits<std::int32_t>::min(), -1,  16,  63,       64,        127,
        std::numeric_limits<std::int32_t>::max(), 128, 255, 0xFFFFFF, 0x1000000, 256};
    const auto property =
        static_cast<Property>(input_.ConsumeIntegralInRange<std::size_t>(0, kProperties - 1));
    const std::int32_t value = DrawnNumber(input_, kEnds, 0, 15);
    switch (property) {
      case kDeviceMif:
        record_.DeviceMIF(value);
        return model_.Set(property, value);
      case kIdToggle:
        record_.m_blnIDToggle = value != 0;
        return model_.Set(property, value != 0);
      case kMifSelect:
        record_.m_blnMIFSelect = value != 0;
        return model_.Set(property, value != 0);
      case kHasLeak:
        record_.radio.m_blnHasLeak = value != 0;
        return model_.Set(property, value != 0);
      case kThreshold:
        record_.radio.LeakThreshold(value);
        return model_.Set(property, value);
      default:
        kSlots[property](record_) = value;
        model_.Set(property, value);
    }
  }

  Shown Seen() {
    Shown shown;
    for (std::size_t i = 0; i < kProperties; ++i) {
      if (kSlots[i] != nullptr) shown.properties[i] = kSlots[i](record_);
    }
    shown.properties[kDeviceMif] = record_.DeviceMIF();
    shown.properties[kIdToggle] = record_.m_blnIDToggle;
    shown.properties[kMifSelect] = record_.m_blnMIFSelect;
    shown.properties[kHasLeak] = record_.radio.m_blnHasLeak;
    shown.transponder_version = record_.m_strXpdrVersion;
    shown.box_version = box_.m_strZentrelVersion;
    shown.signature = {box_.m_bytZentrelSignature[0], box_.m_bytZentrelSignature[1]};
    shown.volts = box_.m_sngBatteryVolts;
    return shown;
  }

  static std::optional<Bytes> Block2Of(const TransponderRecord& record) {
    try {
      return SentOf(record.Block2Frame());
    } catch (const RunTimeError& error) {
      Require(error.number == kOverflow, "an error that is no overflow");
      return std::nullopt;
    }
  }

  FuzzedDataProvider& input_;
  TransponderRecord record_;
  BoxFacts box_;
  RecordModel model_;
};

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  Records records(input);
  for (int turn = 0; turn < 8 && input.remaining_bytes() > 0; ++turn) {
    records.Change();
    records.Compare();
  }
  return 0;
}
