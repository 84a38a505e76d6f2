#include "com/array_argument.h"

#include <algorithm>

namespace qmzentrel::com {
namespace {

// The elements of an array while it is held in place.
template <class Element>
class HeldElements {
 public:
  explicit HeldElements(SAFEARRAY* array) : array_(array) {
    void* data = nullptr;
    held_ = SUCCEEDED(SafeArrayAccessData(array, &data));
    elements_ = static_cast<Element*>(data);
  }
  ~HeldElements() {
    if (held_) SafeArrayUnaccessData(array_);  // an array without elements is held as well
  }
  HeldElements(const HeldElements&) = delete;
  HeldElements& operator=(const HeldElements&) = delete;

  explicit operator bool() const { return elements_ != nullptr; }
  Element& operator[](ULONG index) const { return elements_[index]; }

 private:
  SAFEARRAY* array_;
  bool held_ = false;
  Element* elements_ = nullptr;
};

// An array made from a bare descriptor does not say what it holds; then its element size speaks for
// the type that the caller states.
bool HoldsElementsOf(VARTYPE type, ULONG element_size, SAFEARRAY* array) {
  if (SafeArrayGetDim(array) != 1) return false;
  VARTYPE held = VT_EMPTY;
  if (SUCCEEDED(SafeArrayGetVartype(array, &held))) return held == type;
  constexpr USHORT kOwnedElements =
      FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
  return array->cbElements == element_size && (array->fFeatures & kOwnedElements) == 0;
}

bool IsLocked(const SAFEARRAY* array) {
  return array->cLocks != 0;
}

}  // namespace

ArrayArgument::~ArrayArgument() {
  if (converted_ == nullptr) return;
  if (IsLocked(converted_)) SafeArrayUnlock(converted_);
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
      variants_ = *array;
      numbers_ = &converted_;
      return variants_ == nullptr ? S_OK : ConvertElements(lcid);
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT ArrayArgument::ConvertElements(LCID lcid) {
  if (!HoldsElementsOf(VT_VARIANT, sizeof(VARIANT), variants_)) return DISP_E_TYPEMISMATCH;
  SAFEARRAYBOUND bound = variants_->rgsabound[0];
  converted_ = SafeArrayCreate(VT_I4, 1, &bound);
  if (converted_ == nullptr) return E_OUTOFMEMORY;
  // The procedure judges whether it may work on an array that its owner has locked.
  if (IsLocked(variants_)) SafeArrayLock(converted_);
  const HeldElements<VARIANT> from(variants_);
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
  if (variants_ == nullptr || converted_ == nullptr) return S_OK;
  const HeldElements<LONG> from(converted_);
  const HeldElements<VARIANT> to(variants_);
  if (!from || !to) return E_OUTOFMEMORY;
  const ULONG count =
      std::min(converted_->rgsabound[0].cElements, variants_->rgsabound[0].cElements);
  for (ULONG i = 0; i < count; ++i) {
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
