// The least that a COM object can be, made and called as those of the component are: it is what
// their cost is measured against.
#pragma once

#include <windows.h>

// After it, which they need.
#include <unknwn.h>

namespace qmzentrel::bench {

// The interface of no type library: only C++ calls it.
inline constexpr IID kBareInterface = {
    0x5d5b8f6e, 0x2a0f, 0x4c52, {0x9b, 0x6d, 0x1e, 0x42, 0x7a, 0x3c, 0x90, 0x11}};

class BareObject : public IUnknown {
 public:
  virtual HRESULT STDMETHODCALLTYPE get_Number(LONG* result) = 0;

 protected:
  ~BareObject() = default;
};

/// The entry of a library with one class, as the system calls it.
HRESULT STDMETHODCALLTYPE GetBareClassObject(REFIID riid, void** object);

}  // namespace qmzentrel::bench
