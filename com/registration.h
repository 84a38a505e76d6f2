// The entries of the class in the registry.
#pragma once

#include <windows.h>

namespace qmzentrel::com {

/// Registers the class with its programmatic identifier, the type library and the interfaces. Needs
/// the right to write to the machine's classes, which is an administrator's: E_ACCESSDENIED without
/// it. Whatever stops it, nothing stays half done: an earlier registration is there again.
HRESULT RegisterComponent() noexcept;

/// Takes all of it away again, the surrogate included. S_OK when there was nothing.
HRESULT UnregisterComponent() noexcept;

/// Lets clients of the other width have their objects in the system's surrogate process, which
/// loads this library for them. Nothing changes for those that have it in their own process. All or
/// nothing, too; REGDB_E_CLASSNOTREG when the component is not registered.
HRESULT RegisterSurrogate() noexcept;

/// Takes that away, and leaves the component registered. S_OK when there was nothing.
HRESULT UnregisterSurrogate() noexcept;

}  // namespace qmzentrel::com
