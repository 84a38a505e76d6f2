#include "tests/fuzz/sent_rules.h"

#include "tests/fuzz/record_model.h"
#include "tests/fuzz/session_catalog.h"

namespace qmzentrel::fuzz {
namespace {

RecordModel RecordShowing(const Shown& shown) {
  RecordModel record;
  for (std::size_t i = 0; i < kProperties; ++i) {
    record.Set(static_cast<Property>(i), shown.properties[i]);
  }
  return record;
}

// The reply to the first block comes in between, and changes the MIF byte.
bool IsBlock2(const Bytes& frame, const std::optional<Bytes>& expected) {
  return expected && frame.size() == expected->size() &&
         Bytes(frame.begin() + 1, frame.end()) == Bytes(expected->begin() + 1, expected->end());
}

}  // namespace

bool MaySend(const Call& call, const Shown& before, const Bytes& frame) {
  switch (call.what) {
    case What::kInit:
    case What::kBoxStatus:
      return frame == Bytes{0x80};
    case What::kRead:
      return frame == Bytes{0x40} || frame == Bytes{0x42};
    case What::kReset:
      return frame == Bytes{0xC0};
    case What::kWrite: {
      RecordModel record = RecordShowing(before);
      record.AdjustLeak();
      return frame == record.Block1() || IsBlock2(frame, record.Block2());
    }
    case What::kTelic2Read:
    case What::kTelic2Write:
    case What::kTelic2Test: {
      const Telic2Model request(call, kSessionCatalog);
      return !request.Refusal() && request.Error() == 0 && frame == request.Frame();
    }
    default:
      return false;
  }
}

Shown ShownAfter(const Bytes& box_status, const Bytes& block_1, const Bytes& block_2) {
  RecordModel record;
  record.TakeBoxFacts(box_status.data());
  record.TakeBlock1(block_1);
  record.TakeBlock2(block_2);
  Shown shown;
  record.Show(shown);
  return shown;
}

}  // namespace qmzentrel::fuzz
