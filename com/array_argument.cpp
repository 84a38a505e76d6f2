#include "com/array_argument.h"

#include "com/safe_array.h"

namespace qmzentrel::com {
ArrayArgument::~ArrayArgument() {
  if (converted_ == nullptr) return;
  if (converted_->cLocks != 0) SafeArrayUnlock(converted_);
  SafeArrayDestroy(converted_);
}

HRESULT ArrayArgument::Bind(VARIANTARG& given, LCID lcid) {
  if (!V_ISARRAY(&given)) return DISP_E_TYPEMISMATCH;
  SAFEARRAY** const array = V_ISBYREF(&given) ? V_ARRAYREF(&given) : &V_ARRAY(&given);
  if (array == nullptr) return DISP_E_TYPEMISMATCH;
  switch (V_VT(&given) & VT_TYPEMASK) {
    case VT_I4:
      // An array without dimensions has no descriptor; the procedure judges it.
      if (*array != nullptr && !HoldsElementsOf(VT_I4, sizeof(LONG), *array)) {
        return DISP_E_TYPEMISMATCH;
      }
      numbers_ = array;
      return S_OK;
    case VT_VARIANT:
      numbers_ = &converted_;
      return *array == nullptr ? S_OK : ConvertElements(*array, lcid);
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT ArrayArgument::ConvertElements(SAFEARRAY* array, LCID lcid) {
  if (!HoldsElementsOf(VT_VARIANT, sizeof(VARIANT), array)) return DISP_E_TYPEMISMATCH;
  SAFEARRAYBOUND bound = array->rgsabound[0];
  converted_ = SafeArrayCreate(VT_I4, 1, &bound);
  if (converted_ == nullptr) return E_OUTOFMEMORY;
  // The procedure judges whether it may work on an array that its owner has locked.
  if (IsLockedByClient(array)) SafeArrayLock(converted_);
  variants_.emplace(array);  // until the elements are written back
  const HeldElements<VARIANT> from(array);
  const HeldElements<LONG> to(converted_);
  if (!from || !to) return E_OUTOFMEMORY;
  for (ULONG i = 0; i < bound.cElements; ++i) {
    VARIANT number;
    VariantInit(&number);
    const HRESULT result = VariantChangeTypeEx(&number, &from[i], lcid, 0, VT_I4);
    if (FAILED(result)) return result;
    to[i] = V_I4(&number);
  }
  return S_OK;
}

HRESULT ArrayArgument::WriteBack() {
  // An array that the client has locked is not the component's to change.
  if (!variants_ || converted_->cLocks != 0) return S_OK;
  const HeldElements<LONG> from(converted_);
  const HeldElements<VARIANT> to(variants_->Array());
  if (!from || !to) return E_OUTOFMEMORY;
  for (ULONG i = 0; i < converted_->rgsabound[0].cElements; ++i) {
    VARIANT number;
    VariantInit(&number);
    V_VT(&number) = VT_I4;
    V_I4(&number) = from[i];
    const HRESULT result = VariantCopy(&to[i], &number);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

}  // namespace qmzentrel::com
