// Conversions of what a client hands over.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

namespace qmzentrel::platform {

/// As VariantChangeTypeEx, whatever arithmetic the client has in force; `to` is empty. An object is
/// asked for its value: what it does at that is its own, while a text or a reference that leads
/// nowhere is a fault like any other.
HRESULT ConvertVariant(VARIANT* to, const VARIANT* from, LCID lcid, VARTYPE type);

}  // namespace qmzentrel::platform
