// Whole sessions of one object: random commands, replies, faults and calls from within events.
#include "tests/fuzz/client.h"

namespace qmzentrel::fuzz {
namespace {

constexpr What kAnyCalls[] = {
    What::kOpen,         What::kOpen,        What::kInit,        What::kBoxStatus,
    What::kRead,         What::kRead,        What::kRead,        What::kWrite,
    What::kWrite,        What::kWrite,       What::kReset,       What::kClose,
    What::kTelic2Read,   What::kTelic2Read,  What::kTelic2Write, What::kTelic2Write,
    What::kTelic2Test,   What::kTelic2Test,  What::kPower,       What::kPowerManagement,
    What::kPowerTimeout, What::kVerifyDelay, What::kProperty,    What::kProperty,
    What::kProperty,     What::kProperty,    What::kPump,        What::kPump,
    What::kPost,         What::kPlug,        What::kAccept,      What::kTimers,
    What::kSetClock,     What::kRelease};

const LateAnswersSaid kSaidAtTheEnd;

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider chance(data, size);
  const bool breaks = chance.ConsumeIntegralInRange(0, 3) == 0;
  Client(chance, kAnyCalls, breaks).RunSession();
  return 0;
}
