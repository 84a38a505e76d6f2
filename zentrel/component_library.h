// The component's library as a file beside this program, for a machine on which the class is not
// registered: an installation for one user cannot register it.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <string>

#include "QmZentrel_h.h"
#include "platform/win32/com_pointer.h"

namespace qmzentrel::program {

/// The full path of the library that belongs beside this program, whether it is there or not.
std::wstring LibraryBeside();

/// Makes an object of the class by the library beside this program, without a registration.
/// REGDB_E_CLASSNOTREG when there is no such file; else what Windows or the library answers.
HRESULT MakeByLibraryBeside(platform::ComPointer<_Zentrel>& object);

}  // namespace qmzentrel::program
