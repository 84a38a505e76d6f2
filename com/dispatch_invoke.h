// Late binding: from names to identifiers, from a late-bound call to a procedure of the dual
// interface.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

namespace qmzentrel::com {

class ZentrelObject;

/// IDispatch::GetIDsOfNames, for a member and its parameters.
HRESULT GetIDsOfMemberNames(REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) noexcept;

/// IDispatch::Invoke on `object`, which may lose its last other reference meanwhile. Raises
/// nothing.
HRESULT InvokeMember(ZentrelObject& object, DISPID id, REFIID riid, LCID lcid, WORD flags,
                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* failure,
                     UINT* wrong_argument);

}  // namespace qmzentrel::com
