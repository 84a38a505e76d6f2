// Every condition that doctor is to find, brought about in the registry and the files of the
// prefix.
#include <algorithm>
#include <array>

#include "platform/win32/guid_text.h"
#include "platform/win32/wide.h"
#include "tests/automation/read_only_key.h"
#include "tests/automation/replaced_import.h"
#include "tests/program/crafted_file.h"
#include "tests/program/program_test.h"
#include "zentrel/doctor_checks.h"

namespace qmzentrel::program_tests {
namespace {

using Json = nlohmann::json;
using program::Diagnoses;
using program::Diagnosis;
using program::Grade;

constexpr wchar_t kClasses[] = L"Software\\Classes\\";

std::wstring ServerKey() {
  return L"CLSID\\" + platform::GuidText(CLSID_Zentrel) + L"\\InprocServer32";
}
std::wstring TypeLibraryKey() {
  return L"TypeLib\\" + platform::GuidText(LIBID_QmZentrel) + L"\\1.3";
}

void SetText(HKEY root, const std::wstring& key, const std::wstring& name,
             const std::wstring& text) {
  RegSetKeyValueW(root, key.c_str(), name.c_str(), REG_SZ, text.c_str(),
                  static_cast<DWORD>(text.size() + 1) * sizeof(wchar_t));
}

// A text in the registry as long as it lives; then whatever was there before, or nothing.
class ChangedText {
 public:
  ChangedText(HKEY root, std::wstring key, const std::wstring& text, std::wstring name = L"")
      : root_(root), key_(std::move(key)), name_(std::move(name)) {
    DWORD size = 0;
    if (Query(nullptr, size) == ERROR_SUCCESS) {
      before_.resize(size);
      Query(before_.data(), size);
    }
    SetText(root_, key_, name_, text);
  }
  ~ChangedText() {
    if (type_ == REG_NONE) {
      RegDeleteKeyValueW(root_, key_.c_str(), name_.c_str());
    } else {
      RegSetKeyValueW(root_, key_.c_str(), name_.c_str(), type_, before_.data(),
                      static_cast<DWORD>(before_.size()));
    }
  }
  ChangedText(const ChangedText&) = delete;
  ChangedText& operator=(const ChangedText&) = delete;

 private:
  LSTATUS Query(BYTE* data, DWORD& size) {
    return RegGetValueW(root_, key_.c_str(), name_.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &type_, data,
                        &size);
  }

  HKEY root_;
  std::wstring key_;
  std::wstring name_;
  DWORD type_ = REG_NONE;
  std::vector<BYTE> before_;
};

// A key that is there as long as it lives, with everything that is put below it.
class TemporaryKey {
 public:
  TemporaryKey(HKEY root, std::wstring path) : root_(root), path_(std::move(path)) {
    HKEY key = nullptr;
    RegCreateKeyW(root_, path_.c_str(), &key);
    RegCloseKey(key);
  }
  ~TemporaryKey() {
    RegDeleteTreeW(root_, path_.c_str());
    RegDeleteKeyW(root_, path_.c_str());
  }
  TemporaryKey(const TemporaryKey&) = delete;
  TemporaryKey& operator=(const TemporaryKey&) = delete;

 private:
  HKEY root_;
  std::wstring path_;
};

// A file whose resources say that it is an older version of the DLL.
std::wstring OldLibrary() {
  std::array<wchar_t, MAX_PATH> path{};
  GetEnvironmentVariableW(L"QMZ_OLD_DLL", path.data(), MAX_PATH);
  std::wstring name = path.data();
  std::ranges::replace(name, L'/', L'\\');
  return name.front() == L'\\' ? L"Z:" + name : name;
}

void RunSystemProgram(std::wstring command) {
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                             &start, &process));
  WaitForSingleObject(process.hProcess, INFINITE);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

// On a machine with a sound installation.
class DoctorFinds : public clients::BoxTest {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK);
    ImportCatalog();
  }
  static void TearDownTestSuite() {
    EXPECT_EQ(clients::LoadedLibrary().UnregisterServer(), S_OK);
    RemoveCatalog();
  }

  static void ImportCatalog() {
    RunSystemProgram(L"reg.exe import Z:" + platform::Utf8ToWide(CATALOG_FILE));
  }
  static void RemoveCatalog() {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QuenmoorComms");
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QuenmoorComms");
  }

  // What doctor says in the document.
  static Json Checks(const std::string& arguments, int exit_code) {
    const Outcome outcome = RunZentrel("doctor --json " + arguments);
    EXPECT_EQ(outcome.exit_code, exit_code) << outcome.output;
    return outcome.Document()["checks"];
  }

  // The one of that grade about a thing; its text and next step as one text. Empty when there is
  // none, and each but a good one has to have a next step.
  static std::string Found(const Json& checks, const std::string& check, const std::string& grade) {
    for (const Json& entry : checks) {
      if (entry["check"] != check || entry["grade"] != grade) continue;
      const std::string next = entry["next"];
      EXPECT_EQ(next.empty(), grade == "ok") << entry;
      return entry["text"].get<std::string>() + " => " + next;
    }
    return "";
  }
  static std::string Found(const Diagnoses& diagnoses, const std::string& check, Grade grade) {
    for (const Diagnosis& diagnosis : diagnoses) {
      if (diagnosis.check == check && diagnosis.grade == grade) {
        return diagnosis.text + " => " + diagnosis.next;
      }
    }
    return "";
  }

  // The same by a check itself, without a program around it: "" when it finds nothing of the kind.
  template <class Check>
  static std::string FoundBy(Check check, const std::string& name, Grade grade) {
    Diagnoses found;
    check(found);
    return Found(found, name, grade);
  }
  static std::string FaultOfRegistration(const std::string& name) {
    return FoundBy(
        [](Diagnoses& found) {
          CheckRegistration(program::ThisMachine(), {LibraryUnderTest(), {6, 2, 0}}, found);
        },
        name, Grade::kFault);
  }
  static std::string FoundInCatalog(const std::string& name, Grade grade) {
    return FoundBy([](Diagnoses& found) { CheckCatalogEntries(program::ThisMachine(), found); },
                   name, grade);
  }
  static std::string FoundAtPort(std::int32_t port, const std::string& name, Grade grade) {
    program::Options options;
    options.port = port;
    return FoundBy([&](Diagnoses& found) { CheckPorts(options, found); }, name, grade);
  }

  static testing::AssertionResult Says(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "\"" << part << "\" is not in \"" << text << "\"";
  }
};

TEST_F(DoctorFinds, NothingOnASoundMachine) {
  const Json checks = Checks("--yes" + (" --port " + std::to_string(Port())), 0);
  for (const Json& entry : checks) EXPECT_EQ(entry["grade"], "ok") << entry;
  for (const char* const check :
       {"dll", "version", "type library", "catalog", "object", "64-bit callers", "error handler",
        "simulator", "rights", "port", "supply line"}) {
    EXPECT_NE(Found(checks, check, "ok"), "") << check;
  }
}

TEST_F(DoctorFinds, AClassThatIsNotRegistered) {
  ASSERT_EQ(clients::LoadedLibrary().UnregisterServer(), S_OK);
  const Json checks = Checks("", 11);
  EXPECT_TRUE(Says(Found(checks, "registration", "fault"),
                   "the class is not registered; zentrel itself uses the library beside it => "));
  EXPECT_TRUE(Says(Found(checks, "registration", "fault"), "regsvr32.exe"));
  EXPECT_TRUE(Says(Found(checks, "object", "note"), "faults above"));
  ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK);
}

TEST_F(DoctorFinds, AClassBelowTheNodeThatA32BitSystemDoesNotKnow) {
  ASSERT_EQ(clients::LoadedLibrary().UnregisterServer(), S_OK);
  {
    const TemporaryKey node(HKEY_LOCAL_MACHINE, L"Software\\Classes\\Wow6432Node");
    SetText(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"Wow6432Node\\" + ServerKey(), L"",
            LibraryUnderTest());
    EXPECT_TRUE(Says(FaultOfRegistration("registry view"), "Wow6432Node"));
  }
  ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK);
}

TEST_F(DoctorFinds, ACatalogBelowTheNodeThatA32BitSystemDoesNotKnow) {
  RemoveCatalog();
  {
    const TemporaryKey node(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Wow6432Node");
    const TemporaryKey catalog(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Wow6432Node\\QuenmoorComms\\Kernel");
    EXPECT_TRUE(Says(FoundInCatalog("registry view", Grade::kFault), "reg.exe"));
  }
  EXPECT_TRUE(Says(FoundInCatalog("catalog", Grade::kWarning), "no catalog"));
  ImportCatalog();
}

// A prefix of 32 bits has one view. What a 64-bit one has in its second is laid out apart here, and
// handed to the checks as that view.
class DoctorOn64BitWindows : public DoctorFinds {
 protected:
  const TemporaryKey apart_{HKEY_CURRENT_USER, L"Software\\QmzDoctorTest"};
  program::Machine machine_ = [] {
    program::Machine machine = program::ThisMachine();
    machine.classes64 = {HKEY_CURRENT_USER, L"Software\\QmzDoctorTest\\Classes64"};
    machine.software64 = {HKEY_CURRENT_USER, L"Software\\QmzDoctorTest\\Software64"};
    return machine;
  }();
  const program::OwnComponent own_{LibraryUnderTest(), {6, 2, 0}};
};

TEST_F(DoctorOn64BitWindows, AClassInTheOtherViewOnly) {
  SetText(HKEY_CURRENT_USER, L"Software\\QmzDoctorTest\\Classes64\\" + ServerKey(), L"",
          LibraryUnderTest());
  machine_.classes.path = L"Software\\QmzNothing";
  Diagnoses found;
  CheckRegistration(machine_, own_, found);
  EXPECT_TRUE(Says(Found(found, "registry view", Grade::kFault), "64-bit view"));
  EXPECT_TRUE(Says(Found(found, "registry view", Grade::kFault), "regsvr32.exe"));
}

TEST_F(DoctorOn64BitWindows, ACatalogInTheOtherViewOnly) {
  const TemporaryKey catalog(HKEY_CURRENT_USER,
                             L"Software\\QmzDoctorTest\\Software64\\QuenmoorComms\\Kernel");
  machine_.software.path = L"Software\\QmzNothing";
  Diagnoses found;
  CheckCatalogEntries(machine_, found);
  EXPECT_TRUE(Says(Found(found, "registry view", Grade::kFault), "64-bit view"));
}

TEST_F(DoctorOn64BitWindows, ACallerWith64Bits) {
  const CraftedFile caller(IMAGE_FILE_MACHINE_AMD64);
  Diagnoses found;
  CheckCallers(machine_, platform::WideToUtf8(caller.Path()), found);
  EXPECT_TRUE(Says(Found(found, "64-bit callers", Grade::kNote), "class not registered"));
  EXPECT_TRUE(Says(Found(found, "caller", Grade::kFault), "64-bit program"));
}

// As Windows makes it for a program that may not write for the machine.
TEST_F(DoctorOn64BitWindows, ACopyOfTheSettingsThatHidesTheMachines) {
  machine_.user_classes.path = L"Software\\QmzDoctorTest\\UserClasses";
  const auto found = [this] {
    return FoundBy([this](Diagnoses& diagnoses) { CheckUserCopies(machine_, diagnoses); },
                   "user's copy", Grade::kWarning);
  };
  EXPECT_EQ(found(), "");
  const std::wstring store = machine_.user_classes.path + L"\\VirtualStore\\MACHINE\\SOFTWARE";
  for (const wchar_t* const node : {L"", L"\\WOW6432Node"}) {
    const std::wstring vendor = store + node + L"\\QuenmoorComms";
    const TemporaryKey of_others(HKEY_CURRENT_USER, vendor + L"\\Kernel");
    EXPECT_EQ(found(), "");
    for (const wchar_t* const own : {L"\\Zentrel", L"\\QMC Software Library\\Zentrel"}) {
      const TemporaryKey copy(HKEY_CURRENT_USER, vendor + own);
      EXPECT_TRUE(Says(found(), "delete the key HKEY_CURRENT_USER\\" +
                                    platform::WideToUtf8(vendor) + platform::WideToUtf8(own)));
    }
  }
}

constexpr DWORD kIntermediateOnly = 1;
constexpr DWORD kRequires32Bit = 2;

TEST_F(DoctorOn64BitWindows, ACallerForAnyProcessorHas64Bits) {
  const CraftedFile caller(IMAGE_FILE_MACHINE_I386, kIntermediateOnly);
  Diagnoses found;
  CheckCallers(machine_, platform::WideToUtf8(caller.Path()), found);
  EXPECT_TRUE(Says(Found(found, "caller", Grade::kFault), "any processor"));
}

TEST_F(DoctorOn64BitWindows, AnApplicationWithoutASurrogateTakesNobody) {
  const std::wstring id = platform::GuidText(CLSID_Zentrel);
  const ChangedText application(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"CLSID\\" + id, id,
                                L"AppID");
  const TemporaryKey without(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"AppID\\" + id);
  const CraftedFile caller(IMAGE_FILE_MACHINE_AMD64);
  Diagnoses found;
  CheckCallers(machine_, platform::WideToUtf8(caller.Path()), found);
  EXPECT_TRUE(Says(Found(found, "64-bit callers", Grade::kNote), "class not registered"));
  EXPECT_TRUE(Says(Found(found, "caller", Grade::kFault), "64-bit program"));
}

TEST_F(DoctorOn64BitWindows, ASurrogateThatTakes64BitCallers) {
  const std::wstring id = platform::GuidText(CLSID_Zentrel);
  const ChangedText application(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"CLSID\\" + id, id,
                                L"AppID");
  const TemporaryKey surrogate(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"AppID\\" + id);
  const ChangedText system(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"AppID\\" + id, L" ",
                           L"DllSurrogate");
  const CraftedFile with_64_bits(IMAGE_FILE_MACHINE_AMD64);
  const CraftedFile any(IMAGE_FILE_MACHINE_I386, kIntermediateOnly);
  for (const CraftedFile* caller : {&with_64_bits, &any}) {
    Diagnoses found;
    CheckCallers(machine_, platform::WideToUtf8(caller->Path()), found);
    EXPECT_TRUE(Says(Found(found, "64-bit callers", Grade::kNote), "surrogate"));
    EXPECT_TRUE(Says(Found(found, "caller", Grade::kNote), "surrogate"));
  }
}

TEST_F(DoctorFinds, CallersThatCannotReachTheComponent) {
  const CraftedFile with_64_bits(IMAGE_FILE_MACHINE_AMD64);
  const CraftedFile with_32_bits(IMAGE_FILE_MACHINE_I386);
  const CraftedFile any(IMAGE_FILE_MACHINE_I386, kIntermediateOnly);
  const CraftedFile x86(IMAGE_FILE_MACHINE_I386, kIntermediateOnly | kRequires32Bit);
  const CraftedFile text("just a text");
  const std::string named = platform::WideToUtf8(with_64_bits.Path());
  EXPECT_TRUE(
      Says(Found(Checks("--caller \"" + named + "\"", 11), "caller", "fault"), "64-bit program"));
  Diagnoses found;
  for (const CraftedFile* file : {&with_32_bits, &any, &x86, &text}) {
    CheckCallers(program::ThisMachine(), platform::WideToUtf8(file->Path()), found);
  }
  CheckCallers(program::ThisMachine(), "C:\\nowhere.exe", found);
  std::erase_if(found, [](const Diagnosis& diagnosis) { return diagnosis.check != "caller"; });
  ASSERT_EQ(found.size(), 5u);
  EXPECT_TRUE(Says(found[0].text, "32-bit program"));
  EXPECT_TRUE(Says(found[1].text, "any processor, here a 32-bit one"));
  EXPECT_EQ(found[1].grade, Grade::kOk);
  EXPECT_EQ(found[2].grade, Grade::kOk);
  EXPECT_TRUE(Says(found[3].text, "no program"));
  EXPECT_TRUE(Says(found[4].text, "not there"));
}

// In the place of the system, where a rule forbids the library.
HRESULT g_reason = S_OK;
HRESULT WINAPI RefuseToLoad(REFCLSID, IUnknown*, DWORD, REFIID, void** object) {
  *object = nullptr;
  return g_reason;
}

TEST_F(DoctorFinds, ARuleThatForbidsTheDll) {
  const automation::ReplacedImport<decltype(&CoCreateInstance)> refused(
      GetModuleHandleW(nullptr), L"ole32", "CoCreateInstance", RefuseToLoad);
  const auto found = [] { return FoundBy(program::CheckCreation, "object", Grade::kFault); };
  for (const DWORD error : {1260UL, 4551UL}) {  // of AppLocker, of App Control
    g_reason = HRESULT_FROM_WIN32(error);
    EXPECT_TRUE(Says(found(), "a rule of this machine forbids QmZentrel.dll")) << error;
    EXPECT_TRUE(Says(found(), "an administrator")) << error;
  }
  g_reason = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
  EXPECT_TRUE(Says(found(), "installing it again"));
}

HMODULE WINAPI FindBeside(LPCWSTR /*file*/, HANDLE /*none*/, DWORD /*flags*/) {
  return clients::LoadedLibrary().module;
}

// Whatever zentrel itself could use instead.
TEST_F(DoctorFinds, AClassThatTheSystemDoesNotFind) {
  const automation::ReplacedImport<decltype(&CoCreateInstance)> refused(
      GetModuleHandleW(nullptr), L"ole32", "CoCreateInstance", RefuseToLoad);
  const automation::ReplacedImport<decltype(&LoadLibraryExW)> beside(
      GetModuleHandleW(nullptr), L"kernel32", "LoadLibraryExW", FindBeside);
  g_reason = REGDB_E_CLASSNOTREG;
  EXPECT_TRUE(Says(FoundBy(program::CheckCreation, "object", Grade::kFault), "not registered"));
}

TEST_F(DoctorFinds, ADllThatHasBeenMovedAway) {
  const ChangedText moved(HKEY_LOCAL_MACHINE, kClasses + ServerKey(), L"C:\\gone\\QmZentrel.dll");
  const std::string fault = Found(Checks("", 11), "dll", "fault");
  EXPECT_TRUE(Says(fault, "not there any more: C:\\gone\\QmZentrel.dll"));
  // It says where the DLL lies now.
  EXPECT_TRUE(Says(fault, platform::WideToUtf8(LibraryUnderTest())));
}

TEST_F(DoctorFinds, AFileThatIsNoDllOf32Bits) {
  const CraftedFile other(IMAGE_FILE_MACHINE_AMD64);
  const ChangedText wrong(HKEY_LOCAL_MACHINE, kClasses + ServerKey(), other.Path());
  EXPECT_TRUE(Says(FaultOfRegistration("dll"), "no 32-bit DLL"));
}

TEST_F(DoctorFinds, AnOlderVersionThatIsRegisteredElsewhere) {
  const ChangedText old(HKEY_LOCAL_MACHINE, kClasses + ServerKey(), OldLibrary());
  const std::string fault = Found(Checks("", 11), "version", "fault");
  EXPECT_TRUE(Says(fault, "6.1.0 in " + platform::WideToUtf8(OldLibrary())));
}

TEST_F(DoctorFinds, AnOlderVersionThatTheUserHasForHimself) {
  const TemporaryKey own(HKEY_CURRENT_USER, std::wstring(kClasses) + L"CLSID");
  SetText(HKEY_CURRENT_USER, kClasses + ServerKey(), L"", OldLibrary());
  const std::string fault = FaultOfRegistration("user's registration");
  EXPECT_TRUE(Says(fault, "version 6.1.0"));
  EXPECT_TRUE(Says(fault, "HKEY_CURRENT_USER"));
}

TEST_F(DoctorFinds, ANameThatStandsForAnotherClass) {
  const ChangedText other(HKEY_LOCAL_MACHINE, std::wstring(kClasses) + L"QmZentrel.Zentrel\\CLSID",
                          L"{00000000-0000-0000-0000-000000000000}");
  EXPECT_TRUE(Says(FaultOfRegistration("registration"), "another class"));
}

TEST_F(DoctorFinds, AMissingTypeLibrary) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (kClasses + TypeLibraryKey()).c_str());
  EXPECT_TRUE(Says(Found(Checks("", 11), "type library", "fault"), "not registered"));
  ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK);
}

TEST_F(DoctorFinds, ATypeLibraryWhoseFileIsGoneOrHoldsNone) {
  const auto found_with = [&](const std::wstring& file) {
    const ChangedText changed(HKEY_LOCAL_MACHINE, kClasses + TypeLibraryKey() + L"\\409\\win32",
                              file);
    return FaultOfRegistration("type library");
  };
  EXPECT_TRUE(Says(found_with(L"C:\\gone\\QmZentrel.dll"), "is not there: C:\\gone"));
  EXPECT_TRUE(Says(found_with(OldLibrary()), "there is no type library in"));
}

TEST_F(DoctorFinds, AnInterfaceWithoutMarshaller) {
  RegDeleteTreeW(
      HKEY_LOCAL_MACHINE,
      (std::wstring(kClasses) + L"Interface\\" + platform::GuidText(DIID___Zentrel)).c_str());
  EXPECT_TRUE(Says(FaultOfRegistration("type library"), "marshaller"));
  ASSERT_EQ(clients::LoadedLibrary().RegisterServer(), S_OK);
}

TEST_F(DoctorFinds, FaultsOfTheCatalog) {
  const ChangedText wrong(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QuenmoorComms\\Kernel\\MIF", L"many",
                          L"Mask");
  EXPECT_TRUE(Says(FoundInCatalog("catalog", Grade::kFault), "Kernel\\MIF, Mask"));
}

TEST_F(DoctorFinds, ALineThatNoBoxIsFedBy) {
  const ChangedText wrong(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QuenmoorComms\\Zentrel", L"CTS",
                          L"SupplyLine");
  EXPECT_TRUE(Says(FoundInCatalog("catalog", Grade::kFault), "DTR, RTS and BOTH"));
}

TEST_F(DoctorFinds, ABoxThatIsFedByAnotherLine) {
  Box().Tell("supply rts");
  const std::string fault =
      Found(Checks("--yes --port " + std::to_string(Port()), 11), "supply line", "fault");
  EXPECT_TRUE(Says(fault, "answers with RTS, but the component raises DTR"));
  EXPECT_TRUE(Says(fault, "SupplyLine"));
  const ChangedText mended(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QuenmoorComms\\Zentrel", L"RTS",
                           L"SupplyLine");
  EXPECT_TRUE(Says(Found(Checks("--yes --port " + std::to_string(Port()), 0), "supply line", "ok"),
                   "answers with RTS"));
}

TEST_F(DoctorFinds, SevenBytesWithoutTheirSumAreNoBox) {
  Box().Tell("wrong-sum 1000");
  EXPECT_TRUE(
      Says(Found(Checks("--yes --port " + std::to_string(Port()), 11), "supply line", "fault"),
           "no box answers"));
}

TEST_F(DoctorFinds, NoLineIsRaisedWithoutAYes) {
  EXPECT_TRUE(Says(Found(Checks("--port " + std::to_string(Port()), 0), "supply line", "note"),
                   "no box was looked for"));
  EXPECT_EQ(Box().Supply(), clients::Journal{});
}

TEST_F(DoctorFinds, APortThatIsMissing) {
  EXPECT_TRUE(Says(FoundAtPort(33, "port", Grade::kFault), "there is no COM33"));
}

// Wine opens a port for everybody; a device that refuses with the code of one in use stands for it.
TEST_F(DoctorFinds, APortThatIsBusy) {
  EXPECT_TRUE(Says(Found(Checks("--port 11", 11), "port", "fault"), "in use by another program"));
}

TEST_F(DoctorFinds, ASimulatorThatWasLeftOn) {
  const TemporaryKey key(HKEY_LOCAL_MACHINE,
                         L"SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator");
  SetText(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator",
          L"", L"1");
  const Json checks = Checks("--yes --port " + std::to_string(Port()), 0);
  EXPECT_TRUE(Says(Found(checks, "simulator", "warning"), "switched on"));
  EXPECT_EQ(Box().Supply(), clients::Journal{});
}

TEST_F(DoctorFinds, NoErrorHandler) {
  SetEnvironmentVariableW(L"QMZ_NO_ERROR_HANDLER", L"1");
  const std::string missing = FoundBy(program::CheckErrorHandler, "error handler", Grade::kWarning);
  SetEnvironmentVariableW(L"QMZ_NO_ERROR_HANDLER", nullptr);
  EXPECT_TRUE(Says(missing, "message box"));
  EXPECT_TRUE(Says(missing, "QmZentrelReports.dll"));
}

TEST_F(DoctorFinds, NoRightsToWrite) {
  const TemporaryKey key(HKEY_LOCAL_MACHINE,
                         L"SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator");
  const automation::ReadOnlyKey values(
      L"SOFTWARE\\QuenmoorComms\\QMC Software Library\\Zentrel\\Simulator");
  const automation::ReadOnlyKey classes(L"Software\\Classes");
  Diagnoses found;
  CheckRights(program::ThisMachine(), found);
  EXPECT_TRUE(Says(Found(found, "rights", Grade::kWarning), "simulator's values"));
  EXPECT_TRUE(Says(Found(found, "rights", Grade::kNote), "administrator"));
}

}  // namespace
}  // namespace qmzentrel::program_tests
