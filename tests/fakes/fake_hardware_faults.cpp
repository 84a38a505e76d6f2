// The chain of registrations, without the operating system to ask it.
#include "platform/hardware_faults.h"

#include <cstdlib>

#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"

namespace qmzentrel {
namespace {

platform::FaultRaiser g_raiser = nullptr;
thread_local platform::FaultRegistration* g_first = nullptr;

// Any address that is none of a function's: the handler of a registration of client code.
char g_client_mark;

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
  return g_first != nullptr && g_first->handler != &g_client_mark;
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

void QmzLeaveFaultRegistration(FaultRegistration* registration) {
  g_first = static_cast<FaultRegistration*>(registration->previous);
}

// Nothing leads back here: a fault is always raised where it is.
void RaiseFaultOf(const FaultRegistration& /*registration*/) {
  std::abort();
}

ClientCode::ClientCode() {
  Enter(&registration_, &g_client_mark);
}

ClientCode::~ClientCode() {
  QmzLeaveFaultRegistration(&registration_);
}

}  // namespace platform
}  // namespace qmzentrel
