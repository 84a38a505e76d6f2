// The chain of registrations, without the operating system to ask it.
#include "platform/hardware_faults.h"

#include <cstdlib>
#include <new>

#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"

namespace qmzentrel {
namespace {

enum class Kind { kProcedure, kCallOut, kClientCode };

// What a FaultRegistration holds here.
struct Registration {
  Registration* previous;
  Kind kind;
};
static_assert(sizeof(Registration) <= sizeof(platform::FaultRegistration));

platform::FaultRaiser g_raiser = nullptr;
thread_local Registration* g_first = nullptr;

void Enter(platform::FaultRegistration* room, Kind kind) {
  g_first = new (room) Registration{g_first, kind};
}

}  // namespace

namespace fakes {

bool RaiseHardwareFault(std::uint32_t code) {
  const bool taken = g_raiser != nullptr && IsInProcedure();
  if (taken) g_raiser(code);
  return taken;
}

bool IsInProcedure() {
  const Registration* place = g_first;
  while (place != nullptr && place->kind == Kind::kCallOut) place = place->previous;
  return place != nullptr && place->kind == Kind::kProcedure;
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
  Enter(registration, Kind::kProcedure);
  fakes::TheWorld().Enter("procedure");
  return 0;
}

int QmzEnterCallOut(FaultRegistration* registration) {
  Enter(registration, Kind::kCallOut);
  return 0;
}

void QmzLeaveFaultRegistration(FaultRegistration* registration) {
  g_first = reinterpret_cast<Registration*>(registration)->previous;
}

// Nothing leads back here: a fault is always raised where it is.
void RaiseWhatLedBackTo(const FaultRegistration& /*registration*/) {
  std::abort();
}

ClientUnwinding::~ClientUnwinding() = default;

// On to the next procedure or call out; past the last one it is the client's again.
void ResumeUnwinding(KeptUnwinding* kept) {
  if (g_first != nullptr) throw ClientUnwinding(kept);
  throw fakes::ClientException();
}

ClientCode::ClientCode() {
  Enter(&registration_, Kind::kClientCode);
}

ClientCode::~ClientCode() {
  QmzLeaveFaultRegistration(&registration_);
}

}  // namespace platform
}  // namespace qmzentrel
