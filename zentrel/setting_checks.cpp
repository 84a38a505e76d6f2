#include <windows.h>

// After it, which it needs.
#include <oaidl.h>

#include "platform/win32/com_pointer.h"
#include "platform/win32/wide.h"
#include "simulator/simulator_switch.h"
#include "simulator/simulator_values.h"
#include "tools/catalog_checker/catalog_checks.h"
#include "zentrel/component.h"
#include "zentrel/doctor_checks.h"
#include "zentrel/failure.h"
#include "zentrel/system_program.h"

namespace qmzentrel::program {
namespace {

constexpr const char* kCatalog = "catalog";
constexpr const char* kHandler = "error handler";

// The key that every catalog has, below that of all software.
constexpr wchar_t kCatalogName[] = L"QuenmoorComms\\Kernel";

// Above everything that the component reads and writes.
constexpr wchar_t kVendorName[] = L"QuenmoorComms";

// More of them hide what else there is to say.
constexpr std::size_t kMostLines = 5;

bool ExplainMissingCatalog(const Machine& machine, Diagnoses& diagnoses) {
  if (IsThere(machine.software.Below(kCatalogName))) return false;
  const std::string import =
      "import the catalog with " + SystemProgram("reg.exe") + ", without WOW6432Node in the file";
  if (machine.software64 && IsThere(machine.software64->Below(kCatalogName))) {
    diagnoses.push_back({"registry view", Grade::kFault,
                         "the catalog lies in the 64-bit view of the registry, where the component "
                         "does not look",
                         import});
  } else if (!machine.software64 &&
             IsThere(machine.software.Below(L"Wow6432Node").Below(kCatalogName))) {
    diagnoses.push_back({"registry view", Grade::kFault,
                         "the catalog lies below Wow6432Node, where 32-bit Windows never looks",
                         import});
  } else {
    diagnoses.push_back({kCatalog, Grade::kWarning,
                         "there is no catalog: no names, no lists, no lengths of sub-device "
                         "messages",
                         import});
  }
  return true;
}

}  // namespace

void CheckCatalogEntries(const Machine& machine, Diagnoses& diagnoses) {
  if (ExplainMissingCatalog(machine, diagnoses)) return;
  const catalog_checker::Findings findings = catalog_checker::CheckCatalog();
  const std::size_t faults = Count(findings, catalog_checker::Grade::kFault);
  std::size_t shown = 0;
  for (const catalog_checker::Finding& finding : findings) {
    if (finding.grade != catalog_checker::Grade::kFault || shown == kMostLines) continue;
    ++shown;
    // Its grade stands in front of it already.
    const std::string line = Line(finding);
    diagnoses.push_back(
        {kCatalog, Grade::kFault, line.substr(line.find(' ') + 1), "mend the entry"});
  }
  if (faults > shown) {
    diagnoses.push_back({kCatalog, Grade::kFault,
                         "and " + std::to_string(faults - shown) + " more faults",
                         "run catalog_checker for all of them"});
  }
  if (faults == 0) diagnoses.push_back({kCatalog, Grade::kOk, Summary(findings), ""});
}

void CheckSimulator(Diagnoses& diagnoses) {
  if (simulator::SimulatorEnabled()) {
    diagnoses.push_back({"simulator", Grade::kWarning,
                         "the simulator is switched on: a dialog answers instead of a box",
                         "set the unnamed value of HKEY_LOCAL_MACHINE\\" +
                             std::string(simulator::kSimulatorKey) + " to 0 with " +
                             SystemProgram("reg.exe") + " when you are done with it"});
  } else {
    diagnoses.push_back({"simulator", Grade::kOk, "switched off", ""});
  }
}

void CheckErrorHandler(Diagnoses& diagnoses) {
  constexpr wchar_t kName[] = L"QuenmoorCommunications.Error";
  CLSID identifier{};
  const bool registered = SUCCEEDED(CLSIDFromProgID(kName, &identifier));
  platform::ComPointer<IDispatch> handler;
  const bool made =
      registered &&
      SUCCEEDED(CoCreateInstance(identifier, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                 IID_IDispatch, handler.ReceiveVoid()));
  if (made) {
    diagnoses.push_back({kHandler, Grade::kOk, "QuenmoorCommunications.Error is registered", ""});
    return;
  }
  diagnoses.push_back(
      {kHandler, Grade::kWarning,
       std::string("the error handler ") +
           (registered ? "is registered, but cannot be made" : "is not registered") +
           ": a fault inside the component waits in a message box for somebody to "
           "close it",
       "register QmZentrelReports.dll, which keeps reports in a file"});
}

// Where Windows leads the writes of a program that may not write for the machine and whose manifest
// states no rights. Such programs of this user see what lies there in place of the machine's.
// The vendor's other keys belong to other programs, too.
void CheckUserCopies(const Machine& machine, Diagnoses& diagnoses) {
  const RegistryPlace store = machine.user_classes.Below(L"VirtualStore\\MACHINE\\SOFTWARE");
  for (const RegistryPlace& software : {store, store.Below(L"WOW6432Node")}) {
    for (const wchar_t* const own : {L"Zentrel", L"QMC Software Library\\Zentrel"}) {
      const RegistryPlace copy = software.Below(kVendorName).Below(own);
      if (!IsThere(copy)) continue;
      diagnoses.push_back(
          {"user's copy", Grade::kWarning,
           "a program whose manifest states no rights has stored settings of the component for "
           "this user alone, which hide the machine's from all such programs of his",
           "delete the key HKEY_CURRENT_USER\\" + platform::WideToUtf8(copy.path)});
    }
  }
}

void CheckRights(const Machine& machine, Diagnoses& diagnoses) {
  constexpr const char* kCheck = "rights";
  const std::size_t before = diagnoses.size();
  if (!simulator::SimulatorValuesAreStored()) {
    diagnoses.push_back(
        {kCheck, Grade::kWarning,
         "this user may not write the simulator's values, which last no longer than "
         "the program then",
         "let users set values in HKEY_LOCAL_MACHINE\\" + std::string(simulator::kSimulatorKey)});
  }
  if (!CanWrite(machine.classes)) {
    diagnoses.push_back({kCheck, Grade::kNote,
                         "nothing can be registered from this prompt: it may not write the classes "
                         "of the machine",
                         "open an administrator's prompt to register"});
  }
  if (diagnoses.size() == before) {
    diagnoses.push_back({kCheck, Grade::kOk, "this user may register, and use the simulator", ""});
  }
}

void CheckCreation(Diagnoses& diagnoses) {
  constexpr const char* kCheck = "object";
  // What is wrong already would come up in a message box now.
  if (HasFault(diagnoses)) {
    diagnoses.push_back({kCheck, Grade::kNote, "no object was made because of the faults above",
                         "mend them and run zentrel doctor again"});
    return;
  }
  try {
    RequireRegisteredClass();
    diagnoses.push_back({kCheck, Grade::kOk, "an object of the class can be made", ""});
  } catch (const ForbiddenByRule& failure) {
    diagnoses.push_back({kCheck, Grade::kFault, failure.what(), failure.next});
  } catch (const Failure& failure) {
    diagnoses.push_back(
        {kCheck, Grade::kFault, failure.what(), "repair the DLL by installing it again"});
  }
}

}  // namespace qmzentrel::program
