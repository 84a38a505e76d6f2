// The commands that send messages to the sub-device, with catalogs and replies of any kind.
#include <algorithm>
#include <string>

#include "device/Zentrel.h"
#include "tests/core/catalog_writer.h"
#include "tests/fakes/fake_world.h"
#include "tests/fuzz/drawn_messages.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::TheWorld;

constexpr std::int32_t kPort = 7;
constexpr std::int32_t kOutOfRange = 9;
constexpr char kDevice[] = "Meter";

void Install(const Telic2Catalog& catalog) {
  for (const Telic2Length& message : catalog) {
    tests::SetMessage(message.id, message.bytes);
    tests::SetTest(kDevice, message.id, message.test_writes, message.test_reads);
  }
}

void TryCommand(FreshWorld& world, Zentrel& object, const Telic2Catalog& catalog,
                FuzzedDataProvider& input) {
  struct Command {
    What what;
    ZentrelStatus (Zentrel::*run)(std::int32_t, const LongArray&, const LongArray&);
  };
  constexpr Command kCommands[] = {{What::kTelic2Read, &Zentrel::TELIC2Read},
                                   {What::kTelic2Write, &Zentrel::TELIC2Write},
                                   {What::kTelic2Test, &Zentrel::TELIC2Test}};
  const Command& command = input.PickValueInArray(kCommands);
  const auto most = input.ConsumeBool() ? std::size_t{4} : std::size_t{35};
  Call call;
  call.what = command.what;
  call.ids = DrawnMessages(input, input.ConsumeIntegralInRange<std::size_t>(0, most));
  call.data = DrawnMessages(input, call.ids.size());
  call.number = static_cast<std::int32_t>(call.ids.size());
  const Telic2Model request(call, catalog);
  Numbers ids = call.ids;
  Numbers data = call.data;

  auto& port = TheWorld().ports[kPort];
  port.written.clear();
  Bytes reply;
  const bool is_sent = !request.Refusal() && request.Error() == 0;
  if (is_sent) {
    const auto expected = static_cast<std::size_t>(request.Expected());
    reply = input.ConsumeBytes<std::uint8_t>(kTelic2Buffer);
    if (input.ConsumeIntegralInRange(0, 9) > 0) reply.resize(expected);
    reply.resize(std::min(reply.size(), expected));
  }
  port.device = [&](std::span<const std::uint8_t>) {
    return fakes::Reaction{{reply, fakes::Milliseconds(1)}};
  };
  std::int32_t status = S_OKAY;
  const std::int32_t fault = world.FaultOf(
      [&] { status = (object.*command.run)(call.number, LongArray(ids, 0), LongArray(data, 0)); });
  port.device = nullptr;
  if (!is_sent) {
    Require(
        request.Refusal() ? fault == 0 && status == *request.Refusal() : fault == request.Error(),
        "is not refused so");
    Require(port.written.empty() && data == call.data, "something was sent or stored");
    return;
  }
  Require(port.written == std::vector<Bytes>{request.Frame()}, "another frame");
  const bool complete = std::ssize(reply) == request.Expected();
  Numbers expected_data = call.data;
  const bool fits = !complete || request.Store(reply, expected_data);
  Require(fault == (fits ? 0 : kOutOfRange), "a reply fits or not");
  Require(data == expected_data, "other data");
  Require(fault != 0 || status == (complete        ? S_OKAY
                                   : reply.empty() ? S_TIMEOUT
                                                   : S_BAD_RESPONSE),
          "another status");
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  FreshWorld world;
  const Telic2Catalog catalog = DrawnCatalog(input);
  Install(catalog);
  TheWorld().ports[kPort];
  const auto object = qmzentrel::Zentrel::Create();
  object->DeviceOpen(kPort, true);
  object->TELIC2Device(kDevice);
  for (int turn = 0; turn < 8 && input.remaining_bytes() > 0; ++turn) {
    TryCommand(world, *object, catalog, input);
  }
  return 0;
}
