// What a client does that is after the supply of the box.
#pragma once

#include "tests/fuzz/client.h"

namespace qmzentrel::fuzz {

inline constexpr What kSupplyCalls[] = {What::kOpen,
                                        What::kOpen,
                                        What::kOpen,
                                        What::kInit,
                                        What::kBoxStatus,
                                        What::kBoxStatus,
                                        What::kRead,
                                        What::kWrite,
                                        What::kReset,
                                        What::kClose,
                                        What::kTelic2Read,
                                        What::kPower,
                                        What::kPower,
                                        What::kPower,
                                        What::kPowerManagement,
                                        What::kPowerManagement,
                                        What::kPowerTimeout,
                                        What::kPowerTimeout,
                                        What::kPump,
                                        What::kPump,
                                        What::kPump,
                                        What::kPump,
                                        What::kPost,
                                        What::kPost,
                                        What::kPlug,
                                        What::kAccept,
                                        What::kTimers,
                                        What::kSetClock,
                                        What::kVerifyDelay,
                                        What::kRelease};

inline void RunSupplySession(FuzzedDataProvider& chance) {
  Client(chance, kSupplyCalls, false).RunSession();
}

}  // namespace qmzentrel::fuzz
