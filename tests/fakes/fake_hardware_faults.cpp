// The chain of registrations, without the operating system to ask it.
#include "platform/hardware_faults.h"

#include <cstdlib>

#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"

namespace qmzentrel {
namespace {

platform::FaultRaiser g_raiser = nullptr;
thread_local platform::FaultRegistration* g_first = nullptr;

// Any addresses that are none of a function's: the handlers of registrations.
char g_client_mark;
char g_call_out_mark;

void Enter(platform::FaultRegistration* registration, void* handler) {
  registration->previous = g_first;
  registration->handler = handler;
  g_first = registration;
}

}  // namespace

namespace fakes {

bool RaiseHardwareFault(std::uint32_t code) {
  const bool taken = g_raiser != nullptr && IsInProcedure();
  if (taken) g_raiser(code);
  return taken;
}

bool IsInProcedure() {
  const auto* place = g_first;
  while (place != nullptr && place->handler == &g_call_out_mark) {
    place = static_cast<const platform::FaultRegistration*>(place->previous);
  }
  return place != nullptr && place->handler != &g_client_mark;
}

void RaiseClientException() {
  platform::ResumeUnwinding(nullptr);
}

}  // namespace fakes

namespace platform {

void InstallFaultHandling(FaultRaiser raiser) {
  g_raiser = raiser;
}

int QmzEnterFaultRegistration(FaultRegistration* registration) {
  Enter(registration, nullptr);
  fakes::TheWorld().Enter("procedure");
  return 0;
}

int QmzEnterCallOut(FaultRegistration* registration) {
  Enter(registration, &g_call_out_mark);
  return 0;
}

void QmzLeaveFaultRegistration(FaultRegistration* registration) {
  g_first = static_cast<FaultRegistration*>(registration->previous);
}

// Nothing leads back here: a fault is always raised where it is.
void RaiseWhatLedBackTo(const FaultRegistration& /*registration*/) {
  std::abort();
}

ClientUnwinding::~ClientUnwinding() = default;

// Past the next procedure or call out, or to the client itself.
void ResumeUnwinding(KeptUnwinding* kept) {
  if (g_first != nullptr) throw ClientUnwinding(kept);
  throw fakes::ClientException();
}

ClientCode::ClientCode() {
  Enter(&registration_, &g_client_mark);
}

ClientCode::~ClientCode() {
  QmzLeaveFaultRegistration(&registration_);
}

}  // namespace platform
}  // namespace qmzentrel
