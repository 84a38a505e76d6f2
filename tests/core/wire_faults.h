// Everything that can go wrong between the component and the box, as one table: what happens on the
// wire, and beside it what that has to mean for the send that it befalls.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "interface/enumerations.h"
#include "tests/fakes/fake_serial_port.h"

namespace qmzentrel::tests::matrix {

using fakes::Bytes;
using fakes::Microseconds;
using fakes::Milliseconds;

/// One send of a command, to a box that has nothing wrong with it.
struct Exchange {
  Bytes frame;
  Bytes reply;         ///< empty: none is expected
  bool summed = true;  ///< the last byte of the reply has to be the sum of the others
  Milliseconds limit;  ///< for the first byte of the reply
};

/// What has to come of one send.
struct Met {
  ZentrelStatus status = S_OKAY;
  Bytes reply;  ///< as it was received, when the status is S_OKAY
  Microseconds takes{0};
};

/// How port and supply stand while a command runs.
struct Link {
  bool open = true;
  bool gone = false;  ///< pulled out while open
  bool line = false;  ///< the supply line is on
  bool lines_refused = false;
  bool fed_by_line = true;
  Milliseconds write_takes{0};  ///< until the driver has taken a write
  bool stray_came = false;      ///< a byte that comes in a wait, once

  void SetLine(bool on) {
    if (!lines_refused) line = on;
  }
};

/// The frame does not reach the box, and somebody knows.
Met Unsent(const Exchange& exchange);
/// Nothing at all comes.
Met Nothing(const Exchange& exchange);
/// The exchange as it should be; also a command without a reply that has reached the wire.
Met Whole(const Exchange& exchange);

/// What the test does to the port around a command.
enum class Around {
  kNothing,
  kBusy,       ///< another program has the port, so that opening it was refused
  kMissing,    ///< it was gone when it was opened
  kGoneBack,   ///< it was gone, is back and has been opened again
  kGone,       ///< it has been pulled out
  kDarkened,   ///< the supply line has dropped
  kBytesLeft,  ///< bytes that nobody asked for have come in
  kNoLines,    ///< the driver refuses the modem lines; a box with a supply of its own
  kNoSupply,   ///< the driver refuses the modem lines
};

struct Fault {
  static constexpr int kAlways = 1'000'000;

  std::string name;
  Around around = Around::kNothing;
  /// The sends of a step that it befalls, counted from 0 through all tries.
  int first = 0;
  int count = kAlways;
  /// What the box does instead of answering; the port may be changed. None: it answers.
  std::function<fakes::Reaction(fakes::FakePort&, const Exchange&, int send)> react{};
  /// What has to come of it. None: what comes of a whole exchange.
  std::function<Met(Link&, const Exchange&, int send)> met{};
  /// Instead of `met`: the whole reply comes so long after the send, whatever is at work then.
  std::function<Milliseconds(const Exchange&)> delay{};
  /// It concerns the bytes to the box, too, and so a command without a reply.
  bool hits_sending = false;
  /// What is left of it would come into the step that follows.
  bool one_step_only = false;
  /// One of many that differ in bytes of the reply only, not in time.
  bool takes_turns = false;
  /// Bytes of the frame that the driver takes, if not all.
  std::optional<std::size_t> driver_room{};
  /// As in Link.
  Milliseconds write_takes{0};
  /// The driver hands over nothing of a read that it has to cut short.
  bool loses_cut_reads = false;

  bool Befalls(int send) const { return send >= first && send - first < count; }
};

/// All of them, for commands with this exchange as their first.
std::vector<Fault> FaultsOf(const Exchange& exchange);

}  // namespace qmzentrel::tests::matrix
