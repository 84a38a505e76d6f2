#include "com/variant_conversion.h"

#include "platform/hardware_faults.h"
#include "platform/win32/usual_arithmetic.h"

namespace qmzentrel::com {

HRESULT ConvertVariant(VARIANT* to, VARIANT* from, LCID lcid, VARTYPE type) {
  const auto convert = [&] { return VariantChangeTypeEx(to, from, lcid, 0, type); };
  const auto held = static_cast<VARTYPE>(V_VT(from) & VT_TYPEMASK);
  const bool is_object = held == VT_DISPATCH || held == VT_UNKNOWN;
  if (is_object) return platform::CallOutToClient(convert);
  const platform::UsualArithmetic usual;
  return platform::CallOut(convert);
}

}  // namespace qmzentrel::com
