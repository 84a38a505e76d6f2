// What the simulator keeps between commands and between processes.
#pragma once

#include <cstdint>
#include <string>

#include "support/variant.h"

namespace qmzentrel::simulator {

/// Below HKEY_LOCAL_MACHINE; its unnamed value is the simulator's switch.
inline constexpr const char* kSimulatorKey =
    "SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator";

/// The stored number or text, or `absent`. A value that could not be written is read from where the
/// process keeps it.
std::int32_t ReadSimulatorNumber(const std::string& name, std::int32_t absent);
std::string ReadSimulatorText(const std::string& name, const std::string& absent);

/// Stores a number or a text. Whoever may not write to the machine's registry still finds it again
/// until the process ends.
void WriteSimulatorValue(const std::string& name, const Variant& value);

/// Whether every value written so far is in the registry, and the next one can be stored. Nothing
/// is written to find out.
bool SimulatorValuesAreStored();

/// Forgets what could not be written, as the end of the process does; for tests.
void ForgetUnsavedSimulatorValues();

}  // namespace qmzentrel::simulator
