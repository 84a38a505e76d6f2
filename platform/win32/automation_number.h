// The errors of automation by number.
#pragma once

#include <windows.h>

#include <cstdint>

namespace qmzentrel::platform {

/// The number by which automation clients know a result code: the classic one where there is one,
/// else that of the facility of controls, else the code itself.
std::int32_t AutomationNumber(HRESULT result);

}  // namespace qmzentrel::platform
