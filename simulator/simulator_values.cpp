#include "simulator/simulator_values.h"

#include <map>
#include <optional>

#include "platform/process_lock.h"
#include "support/modCOM_Registry.h"
#include "support/registry_values.h"

namespace qmzentrel::simulator {
namespace {

using platform::ProcessLock;

std::map<std::string, Variant>& Unsaved() {
  static std::map<std::string, Variant> values;
  return values;
}

std::optional<Variant> FindUnsaved(const std::string& name) {
  const ProcessLock lock;
  const auto found = Unsaved().find(name);
  if (found == Unsaved().end()) return std::nullopt;
  return found->second;
}

// The value, or `absent` when it is of another kind.
template <class Kind>
Kind ValueOr(const Variant& unsaved, const Kind& absent) {
  const auto* const value = std::get_if<Kind>(&unsaved);
  return value != nullptr ? *value : absent;
}

modCOM_Registry::OpenKey SavedValues() {
  return {platform::kLocalMachine, kSimulatorKey};
}

}  // namespace

std::int32_t ReadSimulatorNumber(const std::string& name, std::int32_t absent) {
  if (const auto unsaved = FindUnsaved(name)) return ValueOr(*unsaved, absent);
  return registry::Number(SavedValues(), name, absent);
}

std::string ReadSimulatorText(const std::string& name, const std::string& absent) {
  if (const auto unsaved = FindUnsaved(name)) return ValueOr(*unsaved, absent);
  return registry::Text(SavedValues(), name, absent, absent);
}

void WriteSimulatorValue(const std::string& name, const Variant& value) {
  const bool written =
      modCOM_Registry::RegSetValue(platform::kLocalMachine, kSimulatorKey, name, value);
  const ProcessLock lock;
  if (written) {
    Unsaved().erase(name);
  } else {
    Unsaved()[name] = value;
  }
}

bool SimulatorValuesAreStored() {
  {
    const ProcessLock lock;
    if (!Unsaved().empty()) return false;
  }
  return modCOM_Registry::RegCanSetValue(platform::kLocalMachine, kSimulatorKey);
}

void ForgetUnsavedSimulatorValues() {
  const ProcessLock lock;
  Unsaved().clear();
}

}  // namespace qmzentrel::simulator
