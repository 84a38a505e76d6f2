// The chain of registrations, without the operating system to ask it.
#include "platform/hardware_faults.h"

#include <new>

#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"

namespace qmzentrel {
namespace {

enum class Kind { kProcedure, kCallOut, kClientCode };

struct Registration {
  Registration* previous;
  Kind kind;
};

platform::FaultRaiser g_raiser = nullptr;
thread_local Registration* g_first = nullptr;

void RunWithin(Kind kind, platform::ErasedCall run, void* call) {
  struct Entered : Registration {
    ~Entered() { g_first = previous; }
  } entered{{g_first, kind}};
  g_first = &entered;
  if (kind == Kind::kProcedure) fakes::TheWorld().Enter("procedure");
  run(call);
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

void RunAsProcedure(ErasedCall run, void* call) {
  RunWithin(Kind::kProcedure, run, call);
}

void RunAsCallOut(ErasedCall run, void* call) {
  RunWithin(Kind::kCallOut, run, call);
}

ClientUnwinding::~ClientUnwinding() = default;

// On to the next procedure or call out; past the last one it is the client's again.
void ResumeUnwinding(KeptUnwinding* kept) {
  if (g_first != nullptr) throw ClientUnwinding(kept);
  throw fakes::ClientException();
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): room for what is placed in it.
ClientCode::ClientCode() {
  static_assert(sizeof(Registration) <= kRoom);
  g_first = new (&registration_) Registration{g_first, Kind::kClientCode};
}

ClientCode::~ClientCode() {
  g_first = g_first->previous;
}

}  // namespace platform
}  // namespace qmzentrel
