// What doctor looks at. Every check adds at least one line of its own, but CheckUserCopies, which
// adds one for what it finds; none changes anything.
#pragma once

#include <cstdint>
#include <string>

#include "zentrel/diagnosis.h"
#include "zentrel/options.h"
#include "zentrel/program_file.h"
#include "zentrel/registry_place.h"

namespace qmzentrel::program {

/// The component that lies beside this program, whether it is registered or not.
struct OwnComponent {
  std::wstring path;
  Version version;
};

/// The class, its DLL, its version, its type library and interfaces.
void CheckRegistration(const Machine& machine, const OwnComponent& own, Diagnoses& diagnoses);

/// Whether 64-bit programs, and the one that is named if any, reach the component.
void CheckCallers(const Machine& machine, const std::string& caller, Diagnoses& diagnoses);

/// Whether somebody hears of faults inside the component.
void CheckErrorHandler(Diagnoses& diagnoses);

/// The entries of the catalog, and whether they lie where the component looks.
void CheckCatalogEntries(const Machine& machine, Diagnoses& diagnoses);

/// The switch of the simulator.
void CheckSimulator(Diagnoses& diagnoses);

/// Settings of the component that Windows keeps for this user alone.
void CheckUserCopies(const Machine& machine, Diagnoses& diagnoses);

/// What has to be written: by the simulator, and by who registers.
void CheckRights(const Machine& machine, Diagnoses& diagnoses);

/// The ports of the machine, and the one that is named: whether it is there and free, and, if the
/// user agrees, whether a box is fed by the line that the component raises.
void CheckPorts(const Options& options, Diagnoses& diagnoses);

/// Makes an object of the class and lets it go.
void CheckCreation(Diagnoses& diagnoses);

}  // namespace qmzentrel::program
