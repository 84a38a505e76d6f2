// The entries of the class in the registry.
#pragma once

#include <windows.h>

namespace qmzentrel::com {

/// Registers the class with its programmatic identifier, the type library and the interfaces. Needs
/// the right to write to the machine's classes, which is an administrator's: E_ACCESSDENIED without
/// it. Whatever stops it, nothing stays half done: an earlier registration is there again.
HRESULT RegisterComponent() noexcept;

/// Takes all of it away again. S_OK when there was nothing.
HRESULT UnregisterComponent() noexcept;

}  // namespace qmzentrel::com
