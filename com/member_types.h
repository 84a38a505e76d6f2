// The types of the published members, named as the table of members names them.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include "QmZentrel_h.h"

namespace qmzentrel::com {

/// In/out parameters, as their types stand in the type library.
inline constexpr VARTYPE kLongArrayByReference = VT_BYREF | VT_ARRAY | VT_I4;
inline constexpr VARTYPE kObjectByReference = VT_BYREF | VT_DISPATCH;

namespace types {

/// `Given` is what a procedure of the dual interface takes; it answers through a pointer to one.
template <class T, VARTYPE kType>
struct Published {
  using Given = T;
  static constexpr VARTYPE kVariant = kType;
};

struct Integer : Published<SHORT, VT_I2> {};
struct Long : Published<LONG, VT_I4> {};
struct Single : Published<FLOAT, VT_R4> {};
struct Boolean : Published<VARIANT_BOOL, VT_BOOL> {};
struct String : Published<BSTR, VT_BSTR> {};
struct ZentrelStatus : Published<::ZentrelStatus, VT_I4> {};
struct Longs : Published<SAFEARRAY**, kLongArrayByReference> {};
struct Object : Published<IDispatch**, kObjectByReference> {};

}  // namespace types
}  // namespace qmzentrel::com
