// One argument on its way from a late-bound call to a procedure.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <cstdint>

#include "com/array_argument.h"
#include "com/member_types.h"
#include "com/procedure.h"

namespace qmzentrel::com {

/// A parameter as published.
struct Parameter {
  const wchar_t* name = nullptr;  ///< null for the value of a let procedure
  VARTYPE type = VT_EMPTY;
  bool optional = false;
  std::int16_t default_value = 0;  ///< of an optional parameter
};

/// Holds the converted value, or refers to the client's own, until the call is over.
class BoundArgument {
 public:
  BoundArgument() = default;
  ~BoundArgument() noexcept(false);
  BoundArgument(const BoundArgument&) = delete;
  BoundArgument& operator=(const BoundArgument&) = delete;

  /// Converts `given` as automation does in the locale `lcid`, through any reference. A missing
  /// argument takes the default. DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADVARTYPE,
  /// E_OUTOFMEMORY, or DISP_E_PARAMNOTOPTIONAL when it is missing and has no default. Of an array
  /// the entries 0 to `entries` - 1 are used; throws ComError when it cannot be held.
  HRESULT Bind(VARIANTARG& given, const Parameter& parameter, std::int32_t entries, LCID lcid);

  /// For a parameter that no argument was given for. DISP_E_PARAMNOTOPTIONAL when it has no
  /// default.
  HRESULT BindDefault(const Parameter& parameter);

  /// After the call: what it has stored in a copy of the client's array. Throws ComError or
  /// RunTimeError when the array refuses it.
  void WriteBack() { array_.WriteBack(); }

  std::int32_t Number() const { return V_I4(&value_); }
  /// For a procedure, as bound to a parameter of `type`.
  Argument ForProcedure(VARTYPE type) const;

 private:
  HRESULT BindValue(VARIANTARG& given, VARTYPE type, LCID lcid);
  HRESULT BindObject(VARIANTARG& given, LCID lcid);

  HRESULT Convert(VARIANTARG& given, VARTYPE type, LCID lcid);

  VARIANT value_{};
  bool owned_ = false;  // value_ was converted and does not belong to the client
  IDispatch** object_ = nullptr;
  ArrayArgument array_;
};

}  // namespace qmzentrel::com
