// Commands that the simulator's dialog answers instead of a box. What a reply would have brought
// comes from its controls. A fault in here is one of the command, which reports it.
#pragma once

#include <cstdint>

#include "interface/box_facts.h"
#include "interface/enumerations.h"
#include "interface/long_array.h"
#include "interface/transponder_record.h"

namespace qmzentrel::simulator {

/// As the dialog was left by the command before; shows nothing and changes no facts.
ZentrelStatus BoxStatus();

/// Both return when a button or the close box has hidden the dialog, and take what it holds
/// whatever the status. Error 13 for a battery that is no number, 400 while another command uses
/// the dialog.
ZentrelStatus ReadXpdr(TransponderRecord& record, BoxFacts& box);
/// Puts the record into the dialog first.
ZentrelStatus WriteXpdr(TransponderRecord& record, BoxFacts& box);

/// Always S_OKAY: a factory test has no reply to miss.
ZentrelStatus ResetXpdr();

/// The entries 0 to `count` - 1 of both arrays. A message that nobody has written reads as 0.
void ReadMessages(std::int32_t count, const LongArray& identifiers, const LongArray& data);
void WriteMessages(std::int32_t count, const LongArray& identifiers, const LongArray& data);

}  // namespace qmzentrel::simulator
