// The locale that the component calculates in.
#pragma once

#include <windows.h>

namespace qmzentrel::platform {

/// English (United States), the locale of the type library: what is stored in catalogs and computed
/// from them must not depend on the user's settings.
inline constexpr LCID kComponentLocale = 0x0409;

}  // namespace qmzentrel::platform
