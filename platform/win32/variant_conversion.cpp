#include "platform/win32/variant_conversion.h"

#include "platform/hardware_faults.h"
#include "platform/win32/usual_arithmetic.h"

namespace qmzentrel::platform {
namespace {

// An object whose value is an object, and so on. Without an end where it answers itself.
constexpr int kMostObjects = 16;

// What a client's object is or has answered: its own code runs when it is let go of.
class ClientVariant {
 public:
  ClientVariant() = default;
  ~ClientVariant() noexcept(false) {
    CallOutToClient([this] { return VariantClear(&value_); });
  }
  ClientVariant(const ClientVariant&) = delete;
  ClientVariant& operator=(const ClientVariant&) = delete;

  VARIANT* Get() { return &value_; }

 private:
  VARIANT value_{};
};

const VARIANT& Referred(const VARIANT& given) {
  const bool refers = V_VT(&given) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&given) != nullptr;
  return refers ? *V_VARIANTREF(&given) : given;
}

bool HoldsObjects(const VARIANT& value) {
  const auto held = static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK);
  return held == VT_DISPATCH || held == VT_UNKNOWN;
}

// The object in `value` that a conversion asks for its own value; null: none.
IDispatch* Asked(const VARIANT& value) {
  if (V_VT(&value) == VT_DISPATCH) return V_DISPATCH(&value);
  const bool refers = V_VT(&value) == (VT_BYREF | VT_DISPATCH) && V_DISPATCHREF(&value) != nullptr;
  return refers ? *V_DISPATCHREF(&value) : nullptr;
}

HRESULT ConvertHeld(VARIANT* to, const VARIANT& from, LCID lcid, VARTYPE type) {
  const auto convert = [&] {
    return VariantChangeTypeEx(to, const_cast<VARIANT*>(&from), lcid, 0, type);
  };
  if (HoldsObjects(from)) return CallOutToClient(convert);
  const UsualArithmetic usual;
  return CallOut(convert);
}

HRESULT Convert(VARIANT* to, const VARIANT& given, LCID lcid, VARTYPE type, int objects_left) {
  const VARIANT& from = Referred(given);
  const bool wants_object = type == VT_DISPATCH || type == VT_UNKNOWN;
  if (wants_object || Asked(from) == nullptr) return ConvertHeld(to, from, lcid, type);
  if (objects_left == 0) return DISP_E_TYPEMISMATCH;
  // It may let go of itself while it answers.
  ClientVariant object;
  const HRESULT copied =
      CallOutToClient([&] { return VariantCopyInd(object.Get(), const_cast<VARIANT*>(&from)); });
  if (FAILED(copied)) return copied;
  ClientVariant value;
  DISPPARAMS none{};
  const HRESULT answered = CallOutToClient([&] {
    return V_DISPATCH(object.Get())
        ->Invoke(DISPID_VALUE, IID_NULL, lcid, DISPATCH_PROPERTYGET, &none, value.Get(), nullptr,
                 nullptr);
  });
  if (FAILED(answered)) return DISP_E_TYPEMISMATCH;
  return Convert(to, *value.Get(), lcid, type, objects_left - 1);
}

}  // namespace

HRESULT ConvertVariant(VARIANT* to, const VARIANT* from, LCID lcid, VARTYPE type) {
  return Convert(to, *from, lcid, type, kMostObjects);
}

}  // namespace qmzentrel::platform
