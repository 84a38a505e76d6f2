#include "com/safe_array.h"

namespace qmzentrel::com {

bool HoldsElementsOf(VARTYPE type, ULONG element_size, SAFEARRAY* array) {
  if (SafeArrayGetDim(array) != 1) return false;
  VARTYPE held = VT_EMPTY;
  if (SUCCEEDED(SafeArrayGetVartype(array, &held))) return held == type;
  constexpr USHORT kOwnedElements =
      FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
  return array->cbElements == element_size && (array->fFeatures & kOwnedElements) == 0;
}

}  // namespace qmzentrel::com
