#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <array>

#include "QmZentrel_h.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/guid_text.h"
#include "platform/win32/wide.h"
#include "zentrel/doctor_checks.h"
#include "zentrel/system_program.h"

namespace qmzentrel::program {
namespace {

using platform::GuidText;

constexpr const char* kRegistration = "registration";
constexpr const char* kLibrary = "dll";
constexpr const char* kVersion = "version";
constexpr const char* kTypeLibrary = "type library";

constexpr wchar_t kProgrammaticIdentifier[] = L"QmZentrel.Zentrel";
constexpr wchar_t kTypeLibraryVersion[] = L"1.3";

std::string Shown(const std::wstring& wide) {
  return platform::WideToUtf8(wide);
}

// As the system looks for it: without quotes, by the search path where no folder is named.
std::wstring FileOf(std::wstring server) {
  if (server.size() > 1 && server.front() == L'"') {
    server = server.substr(1, server.find(L'"', 1) - 1);
  }
  std::array<wchar_t, 1024> found{};
  if (server.find(L'\\') == std::wstring::npos &&
      SearchPathW(nullptr, server.c_str(), nullptr, static_cast<DWORD>(found.size()), found.data(),
                  nullptr) != 0) {
    return found.data();
  }
  return server;
}

std::wstring ServerIn(const RegistryPlace& classes) {
  return FileOf(ReadText(ClassKey(classes).Below(L"InprocServer32")));
}

std::string HowToRegister(const OwnComponent& own) {
  const std::string file =
      KindOf(own.path) == FileKind::k32Bit ? "\"" + Shown(own.path) + "\"" : "QmZentrel.dll";
  return (IsNoLibraryOf32Bits(own.path) ? "take the QmZentrel.dll of the release and " : "") +
         ("run " + SystemProgram("regsvr32.exe") + " " + file + " from an administrator's prompt");
}

// A person who has just seen zentrel read a box must not take it for a registration.
std::string WhatZentrelUses(const OwnComponent& own) {
  if (IsNoLibraryOf32Bits(own.path)) {
    return "; the file beside zentrel is no 32-bit DLL: " + Shown(own.path);
  }
  return KindOf(own.path) == FileKind::k32Bit ? "; zentrel itself uses the library beside it" : "";
}

// Where else the class is, when 32-bit programs do not find it.
void ExplainMissingClass(const Machine& machine, const OwnComponent& own, Diagnoses& diagnoses) {
  const bool in_other_view = machine.classes64 && !ServerIn(*machine.classes64).empty();
  // On a 32-bit system nothing looks there.
  const bool below_node =
      !machine.classes64 && !ServerIn(machine.classes.Below(L"Wow6432Node")).empty();
  if (in_other_view) {
    diagnoses.push_back({"registry view", Grade::kFault,
                         "the class is registered in the 64-bit view of the registry only, where a "
                         "32-bit component is never found" +
                             WhatZentrelUses(own),
                         HowToRegister(own)});
  } else if (below_node) {
    diagnoses.push_back({"registry view", Grade::kFault,
                         "the class is registered below Wow6432Node, where 32-bit Windows never "
                         "looks" +
                             WhatZentrelUses(own),
                         HowToRegister(own)});
  } else {
    diagnoses.push_back({kRegistration, Grade::kFault,
                         "the class is not registered" + WhatZentrelUses(own), HowToRegister(own)});
  }
}

bool CheckFile(const std::wstring& server, const OwnComponent& own, Diagnoses& diagnoses) {
  const std::string path = Shown(server);
  switch (KindOf(server)) {
    case FileKind::kMissing:
      diagnoses.push_back({kLibrary, Grade::kFault,
                           "the registered DLL is not there any more: " + path,
                           HowToRegister(own)});
      return false;
    case FileKind::k32Bit:
      diagnoses.push_back({kLibrary, Grade::kOk, path, ""});
      return true;
    default:
      diagnoses.push_back({kLibrary, Grade::kFault, "the registered file is no 32-bit DLL: " + path,
                           HowToRegister(own)});
      return false;
  }
}

void CheckVersion(const std::wstring& server, const OwnComponent& own, Diagnoses& diagnoses) {
  const auto version = VersionOf(server);
  if (!version) {
    diagnoses.push_back({kVersion, Grade::kWarning, "the registered DLL does not tell its version",
                         HowToRegister(own)});
  } else if (*version < own.version) {
    diagnoses.push_back({kVersion, Grade::kFault,
                         "an older version is registered: " + VersionNumbers(*version) + " in " +
                             Shown(server) + ", this program is of " + VersionNumbers(own.version),
                         HowToRegister(own)});
  } else {
    diagnoses.push_back({kVersion, Grade::kOk, VersionNumbers(*version), ""});
  }
}

// A user's own registration comes first for him, and is easily forgotten.
void CheckUser(const Machine& machine, const OwnComponent& own, Diagnoses& diagnoses) {
  const std::wstring users = ServerIn(machine.user_classes);
  if (users.empty()) return;
  const auto version = VersionOf(users);
  const bool older = version && *version < own.version;
  diagnoses.push_back(
      {"user's registration", older ? Grade::kFault : Grade::kWarning,
       "for this user the class is registered apart, and that comes before the machine's: " +
           Shown(users) + (version ? ", version " + VersionNumbers(*version) : ""),
       "delete the key HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\" +
           Shown(GuidText(CLSID_Zentrel)) + " if that is not meant"});
}

void CheckName(const Machine& machine, const OwnComponent& own, Diagnoses& diagnoses) {
  const std::wstring identifier =
      ReadText(machine.classes.Below(kProgrammaticIdentifier).Below(L"CLSID"));
  if (CompareStringOrdinal(identifier.c_str(), -1, GuidText(CLSID_Zentrel).c_str(), -1, TRUE) ==
      CSTR_EQUAL) {
    return;
  }
  diagnoses.push_back({kRegistration, Grade::kFault,
                       "the name QmZentrel.Zentrel " +
                           (identifier.empty() ? std::string("is not registered")
                                               : "stands for another class: " + Shown(identifier)),
                       HowToRegister(own)});
}

// What scripts and clients in other apartments need beside the class.
void CheckTypeLibrary(const Machine& machine, const OwnComponent& own, Diagnoses& diagnoses) {
  const RegistryPlace library =
      machine.classes.Below(L"TypeLib\\" + GuidText(LIBID_QmZentrel)).Below(kTypeLibraryVersion);
  std::wstring file = ReadText(library.Below(L"409\\win32"));
  if (file.empty()) file = ReadText(library.Below(L"0\\win32"));
  const auto add_fault = [&](const std::string& text) {
    diagnoses.push_back({kTypeLibrary, Grade::kFault, text, HowToRegister(own)});
  };
  if (file.empty()) return add_fault("the type library is not registered");
  if (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
    return add_fault("the file of the type library is not there: " + Shown(file));
  }
  platform::ComPointer<ITypeLib> loaded;
  if (FAILED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, loaded.Receive()))) {
    return add_fault("there is no type library in " + Shown(file));
  }
  for (const IID& identifier : {IID__Zentrel, DIID___Zentrel}) {
    const RegistryPlace key = machine.classes.Below(L"Interface\\" + GuidText(identifier));
    if (ReadText(key.Below(L"ProxyStubClsid32")).empty()) {
      return add_fault("an interface has no marshaller: " + Shown(GuidText(identifier)));
    }
  }
  diagnoses.push_back({kTypeLibrary, Grade::kOk, Shown(file), ""});
}

}  // namespace

void CheckRegistration(const Machine& machine, const OwnComponent& own, Diagnoses& diagnoses) {
  CheckUser(machine, own, diagnoses);
  const std::wstring server = ServerIn(machine.classes);
  if (server.empty()) return ExplainMissingClass(machine, own, diagnoses);
  CheckName(machine, own, diagnoses);
  if (CheckFile(server, own, diagnoses)) CheckVersion(server, own, diagnoses);
  CheckTypeLibrary(machine, own, diagnoses);
}

}  // namespace qmzentrel::program
