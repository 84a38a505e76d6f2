// The one form of the process: how long it lives and who may use it.
#include <memory>
#include <utility>

#include "platform/process_lock.h"
#include "simulator/frmZentrelSim.h"
#include "support/run_time_error.h"

namespace qmzentrel::simulator {
namespace {

using platform::ProcessLock;

std::unique_ptr<frmZentrelSim> g_form;
std::int32_t g_objects = 0;
bool g_in_use = false;

bool AddObjectToLoadedForm() {
  const ProcessLock lock;
  if (!g_form) return false;
  ++g_objects;
  return true;
}

frmZentrelSim& TakeIntoUse() {
  const ProcessLock lock;
  if (g_in_use) RaiseError(kErrorFormAlreadyDisplayed);
  g_in_use = true;
  return *g_form;
}

}  // namespace

LoadedForm::LoadedForm() {
  if (AddObjectToLoadedForm()) return;
  // Outside the lock: loading asks the registry, and a fault in it is reported to the user.
  auto form = std::make_unique<frmZentrelSim>();
  form->Form_Load();
  const ProcessLock lock;
  if (!g_form) g_form = std::move(form);  // another apartment may have been faster
  ++g_objects;
}

LoadedForm::~LoadedForm() {
  std::unique_ptr<frmZentrelSim> form;
  {
    const ProcessLock lock;
    if (--g_objects > 0) return;
    form = std::move(g_form);
  }
  try {
    form->Form_Unload();
  } catch (...) {
    // Reported already; whoever releases the last object cannot be told.
  }
}

FormUse::FormUse() : form_(TakeIntoUse()) {}

FormUse::~FormUse() {
  const ProcessLock lock;
  g_in_use = false;
}

frmZentrelSim& SharedForm() {
  const ProcessLock lock;
  return *g_form;
}

}  // namespace qmzentrel::simulator
