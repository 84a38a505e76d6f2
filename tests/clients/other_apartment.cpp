#include "tests/clients/other_apartment.h"

#include <objbase.h>

#include <stdexcept>
#include <utility>

#include "tests/clients/message_pump.h"

namespace qmzentrel::clients {

OtherApartment::OtherApartment(DWORD kind, std::function<void()> body, SIZE_T stack)
    : kind_(kind), body_(std::move(body)) {
  thread_ = platform::OwnedHandle(
      CreateThread(nullptr, stack, Main, this, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
  if (!thread_.IsValid()) throw std::runtime_error("no thread for another apartment");
}

OtherApartment::~OtherApartment() {
  Await();
}

void OtherApartment::Join() {
  Await();
  if (!failure_.empty()) throw std::runtime_error("in the other apartment: " + failure_);
}

void OtherApartment::Await() {
  // Without a limit: the thread uses what the test owns.
  PumpUntilSignalled(thread_.Get(), INFINITE);
}

// The operating system promises a stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) DWORD WINAPI OtherApartment::Main(void* argument) {
  auto& apartment = *static_cast<OtherApartment*>(argument);
  if (FAILED(CoInitializeEx(nullptr, apartment.kind_))) {
    apartment.failure_ = "no COM";
    return 0;
  }
  try {
    apartment.body_();
  } catch (const std::exception& error) {
    apartment.failure_ = error.what();
  }
  CoUninitialize();
  return 0;
}

}  // namespace qmzentrel::clients
