#include "platform/apartment.h"

#include <windows.h>

#include <new>

namespace qmzentrel::platform {

// The index is taken with the first pointer: a thread that ends while none is free only asks.
ApartmentSlot::ApartmentSlot() : index_(TLS_OUT_OF_INDEXES) {}

ApartmentSlot::~ApartmentSlot() {
  if (index_ != TLS_OUT_OF_INDEXES) TlsFree(index_);
}

void* ApartmentSlot::Get() const {
  return index_ == TLS_OUT_OF_INDEXES ? nullptr : TlsGetValue(index_);
}

void ApartmentSlot::Set(void* value) {
  DWORD index = index_;
  if (index == TLS_OUT_OF_INDEXES) {
    if (value == nullptr) return;
    const DWORD taken = TlsAlloc();
    if (taken == TLS_OUT_OF_INDEXES) throw std::bad_alloc();
    if (index_.compare_exchange_strong(index, taken)) {
      index = taken;
    } else {
      TlsFree(taken);  // another thread was first
    }
  }
  if (TlsSetValue(index, value) == FALSE) throw std::bad_alloc();
}

}  // namespace qmzentrel::platform
