#include "platform/apartment.h"

#include <windows.h>

#include <new>

namespace qmzentrel::platform {

ApartmentSlot::ApartmentSlot() : index_(TlsAlloc()) {}

ApartmentSlot::~ApartmentSlot() {
  if (index_ != TLS_OUT_OF_INDEXES) TlsFree(index_);
}

void* ApartmentSlot::Get() const {
  return index_ == TLS_OUT_OF_INDEXES ? nullptr : TlsGetValue(index_);
}

// NOLINTNEXTLINE(readability-make-member-function-const): the slot's value is its own.
void ApartmentSlot::Set(void* value) {
  if (index_ == TLS_OUT_OF_INDEXES || TlsSetValue(index_, value) == FALSE) throw std::bad_alloc();
}

}  // namespace qmzentrel::platform
