#include "platform/win32/wide.h"
#include "zentrel/doctor_checks.h"
#include "zentrel/system_program.h"

namespace qmzentrel::program {
namespace {

// Whether a process of the system stands between: only where somebody has set it up.
bool HasSurrogate(const RegistryPlace& classes) {
  const std::wstring application = ReadText(ClassKey(classes), L"AppID");
  return !application.empty() && IsThere(classes.Below(L"AppID\\" + application), L"DllSurrogate");
}

Diagnosis Diagnose64BitCallers(bool has_64_bit_programs, bool has_surrogate) {
  constexpr const char* kCheck = "64-bit callers";
  if (!has_64_bit_programs) {
    return {kCheck, Grade::kOk, "there are none on 32-bit Windows", ""};
  }
  if (has_surrogate) {
    return {kCheck, Grade::kNote, "64-bit programs reach the component through a surrogate process",
            ""};
  }
  return {kCheck, Grade::kNote, "a 64-bit program is told \"class not registered\"",
          "use 32-bit programs, such as " + SystemProgram("cscript.exe")};
}

Diagnosis DiagnoseCaller(const std::string& caller, bool has_64_bit_programs, bool has_surrogate) {
  const auto diagnosis = [&](Grade grade, const std::string& text, const std::string& next) {
    return Diagnosis{"caller", grade, caller + " " + text, next};
  };
  switch (KindOfCaller(platform::Utf8ToWide(caller))) {
    case FileKind::kMissing:
      return diagnosis(Grade::kFault, "is not there or cannot be read", "name the program's file");
    case FileKind::kOther:
      return diagnosis(Grade::kFault, "is no program for Windows", "name the program's .exe file");
    case FileKind::k32Bit:
      return diagnosis(Grade::kOk, "is a 32-bit program", "");
    case FileKind::k64Bit:
      if (has_surrogate) {
        return diagnosis(Grade::kNote, "is a 64-bit program, and goes by the surrogate", "");
      }
      return diagnosis(Grade::kFault,
                       "is a 64-bit program, and is told \"class not registered\": the component "
                       "is a 32-bit one",
                       "use its 32-bit version, or build it for x86");
    case FileKind::kEitherBit:
      break;
  }
  if (!has_64_bit_programs) {
    return diagnosis(Grade::kOk, "is a .NET program for any processor, here a 32-bit one", "");
  }
  if (has_surrogate) {
    return diagnosis(Grade::kNote,
                     "is a .NET program for any processor, here a 64-bit one, and goes by the "
                     "surrogate",
                     "");
  }
  return diagnosis(Grade::kFault,
                   "is a .NET program for any processor: here it runs as a 64-bit program, which "
                   "is told \"class not registered\"",
                   "build it for x86");
}

}  // namespace

void CheckCallers(const Machine& machine, const std::string& caller, Diagnoses& diagnoses) {
  const bool has_64_bit_programs = machine.classes64.has_value();
  const bool has_surrogate = has_64_bit_programs && HasSurrogate(machine.classes);
  diagnoses.push_back(Diagnose64BitCallers(has_64_bit_programs, has_surrogate));
  if (caller.empty()) return;
  diagnoses.push_back(DiagnoseCaller(caller, has_64_bit_programs, has_surrogate));
}

}  // namespace qmzentrel::program
