// The class object: makes objects of the class.
#pragma once

#include <windows.h>

// After it, which it needs.
#include <unknwn.h>

#include "com/heap_object.h"

namespace qmzentrel::com {

class ClassFactory final : public HeapObject<IClassFactory, IID_IClassFactory> {
 public:
  /// The class cannot be part of another object's identity: `outer` must be null.
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
  STDMETHODIMP LockServer(BOOL lock) override;
};

}  // namespace qmzentrel::com
