#include "com/safe_array.h"

#include "com/error_info.h"
#include "platform/hardware_faults.h"

namespace qmzentrel::com {

bool HoldsElementsOf(VARTYPE type, ULONG element_size, SAFEARRAY* array) {
  // Calls out, so that a fault at what is no array lets go of everything on its way.
  if (platform::CallOut([&] { return SafeArrayGetDim(array); }) != 1) return false;
  VARTYPE held = VT_EMPTY;
  if (SUCCEEDED(platform::CallOut([&] { return SafeArrayGetVartype(array, &held); }))) {
    return held == type;
  }
  constexpr USHORT kOwnedElements =
      FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
  return array->cbElements == element_size && (array->fFeatures & kOwnedElements) == 0;
}

ArrayLock::ArrayLock(SAFEARRAY* array) : array_(array) {
  const HRESULT locked = SafeArrayLock(array);
  if (FAILED(locked)) throw ComError{locked, "An array cannot be locked for the time of the call"};
}

}  // namespace qmzentrel::com
