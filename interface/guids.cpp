// The one place where the identifiers of the library, the class and its interfaces are defined. The
// system's own are declared before <initguid.h>, so that they stay declarations.
#include <windows.h>

#include <ole2.h>

#include <initguid.h>

#include "QmZentrel_h.h"
