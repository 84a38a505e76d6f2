// What code of Windows asks of automation objects beside platform/late_bound.h.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <optional>
#include <string_view>

#include "platform/late_bound.h"

namespace qmzentrel::platform {

/// Reads a property as it is into `value`, which is empty. The object is asked for a property only,
/// never for a method: an object of a script language would call a function that it holds there.
std::optional<LateFailure> LateGet(ClientObject object, std::string_view name, VARIANT* value);

/// Whether the object says that it has no member of that name; one that cannot say it may have it.
bool LateLacksMember(ClientObject object, std::string_view name);

/// Makes a member where the object takes new ones, as objects of script languages do. One that it
/// has stays as it is.
void LateEnsureMember(ClientObject object, std::string_view name);

}  // namespace qmzentrel::platform
