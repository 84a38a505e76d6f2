// From automation's variants to values that can be shown.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include "platform/late_value.h"

namespace qmzentrel::platform {

/// Takes a reference of its own; null is nothing.
HeldObject Hold(IDispatch* object);

/// What `value` holds. Its own references stay with it.
LateValue ToLateValue(const VARIANT& value);

}  // namespace qmzentrel::platform
