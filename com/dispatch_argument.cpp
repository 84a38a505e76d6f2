#include "com/dispatch_argument.h"

#include "platform/hardware_faults.h"
#include "platform/win32/variant_conversion.h"

namespace qmzentrel::com {
namespace {

// A variant that refers to a variant that refers to a value: as deep as languages go.
constexpr int kDeepestReference = 2;

// What an argument stands for when it refers to a variant; null when the reference leads nowhere.
VARIANTARG* Dereferenced(VARIANTARG& given) {
  VARIANTARG* argument = &given;
  for (int depth = 0; V_VT(argument) == (VT_BYREF | VT_VARIANT); ++depth) {
    if (depth == kDeepestReference || V_VARIANTREF(argument) == nullptr) return nullptr;
    argument = V_VARIANTREF(argument);
  }
  return V_ISBYREF(argument) && V_BYREF(argument) == nullptr ? nullptr : argument;
}

bool IsMissing(const VARIANTARG& argument) {
  if (V_VT(&argument) == VT_ERROR) return V_ERROR(&argument) == DISP_E_PARAMNOTFOUND;
  if (V_VT(&argument) == (VT_BYREF | VT_ERROR)) {
    return *V_ERRORREF(&argument) == DISP_E_PARAMNOTFOUND;
  }
  return false;
}

// A failed conversion, as a caller of Invoke may hear of it. An object that was asked for its value
// can answer anything.
HRESULT ConversionFailure(HRESULT result) {
  switch (result) {
    case DISP_E_OVERFLOW:
    case DISP_E_BADVARTYPE:
    case E_OUTOFMEMORY:
      return result;
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

}  // namespace

BoundArgument::~BoundArgument() noexcept(false) {
  if (owned_) platform::CallOutToClient([this] { return VariantClear(&value_); });
}

HRESULT BoundArgument::Bind(VARIANTARG& given, const Parameter& parameter, std::int32_t entries,
                            LCID lcid) {
  VARIANTARG* const argument = Dereferenced(given);
  if (argument == nullptr) return DISP_E_TYPEMISMATCH;
  if (IsMissing(*argument)) return BindDefault(parameter);
  HRESULT result = S_OK;
  switch (parameter.type) {
    case kLongArrayByReference:
      result = array_.Bind(*argument, entries, lcid);
      break;
    case kObjectByReference:
      result = BindObject(*argument, lcid);
      break;
    default:
      result = BindValue(*argument, parameter.type, lcid);
      break;
  }
  return SUCCEEDED(result) ? S_OK : ConversionFailure(result);
}

HRESULT BoundArgument::BindDefault(const Parameter& parameter) {
  if (!parameter.optional) return DISP_E_PARAMNOTOPTIONAL;
  V_VT(&value_) = parameter.type;
  if (parameter.type == VT_BOOL) {
    V_BOOL(&value_) = parameter.default_value;
  } else {
    V_I4(&value_) = parameter.default_value;
  }
  return S_OK;
}

Argument BoundArgument::ForProcedure(VARTYPE type) const {
  switch (type) {
    case kLongArrayByReference:
      return Argument(array_.View());
    case kObjectByReference:
      return Argument(object_);
    default:
      return Argument(V_I4(&value_));  // the values of a variant share one place
  }
}

HRESULT BoundArgument::BindValue(VARIANTARG& given, VARTYPE type, LCID lcid) {
  if (V_VT(&given) != type) return Convert(given, type, lcid);
  value_ = given;
  return S_OK;
}

HRESULT BoundArgument::Convert(VARIANTARG& given, VARTYPE type, LCID lcid) {
  owned_ = true;
  return platform::ConvertVariant(&value_, &given, lcid, type);
}

HRESULT BoundArgument::BindObject(VARIANTARG& given, LCID lcid) {
  if (V_VT(&given) == kObjectByReference) {
    object_ = V_DISPATCHREF(&given);
    return S_OK;
  }
  object_ = &V_DISPATCH(&value_);
  return Convert(given, VT_DISPATCH, lcid);
}

}  // namespace qmzentrel::com
