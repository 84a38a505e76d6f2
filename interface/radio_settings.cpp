// The one radio setting that is not stored as given.
#include <algorithm>

#include "device/Zentrel.h"

namespace qmzentrel {

void Zentrel::LeakThreshold(std::int32_t New_LeakThreshold) {
  m_lngLeakTHold = std::min(New_LeakThreshold, std::int32_t{255});  // the transponder holds a byte
}

}  // namespace qmzentrel
