// The messages of the sub-device in sessions.
#pragma once

#include "tests/fuzz/telic2_model.h"

namespace qmzentrel::fuzz {

inline const Telic2Catalog kSessionCatalog{{8, 2, 2, 2},   {9, 2, 1, 0},  {10, 1, 0, 4},
                                           {11, 3, 3, 1},  {12, 4, 4, 4}, {17, -4, 0, 0},
                                           {20, 0, 1, -1}, {21, 5, 0, 9}};

/// The type of sub-device whose test messages these are.
inline constexpr char kTelic2Device[] = "Meter";

}  // namespace qmzentrel::fuzz
