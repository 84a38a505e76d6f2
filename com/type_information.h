// The component's type library, taken from its own module.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oaidl.h>

namespace qmzentrel::com {

/// The description of an interface or the class. The library is loaded when somebody asks for the
/// first time, and kept. Any thread.
HRESULT TypeInfoOf(REFGUID identifier, ITypeInfo** info) noexcept;

/// Gives the kept library back; it is loaded again when somebody asks again.
void ReleaseTypeLibrary() noexcept;

}  // namespace qmzentrel::com
