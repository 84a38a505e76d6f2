#include "simulator/simulator_values.h"

#include <map>
#include <optional>

#include "platform/process_lock.h"
#include "support/modCOM_Registry.h"

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

// The type of `absent` chooses the conversion.
Variant Read(const std::string& name, const Variant& absent) {
  if (auto unsaved = FindUnsaved(name)) return *unsaved;
  Variant slot = absent;
  modCOM_Registry::RegGetValue(platform::kLocalMachine, kSimulatorKey, name, slot, absent);
  return slot;
}

}  // namespace

std::int32_t ReadSimulatorNumber(const std::string& name, std::int32_t absent) {
  const Variant value = Read(name, absent);
  const auto* const number = std::get_if<std::int32_t>(&value);
  return number != nullptr ? *number : absent;
}

std::string ReadSimulatorText(const std::string& name, const std::string& absent) {
  const Variant value = Read(name, absent);
  const auto* const text = std::get_if<std::string>(&value);
  return text != nullptr ? *text : absent;
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
