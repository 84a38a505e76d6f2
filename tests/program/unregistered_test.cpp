// The program where nobody has registered the class, as after an installation for one user: by the
// library beside it, and where there is none.
#include <array>

#include "tests/automation/replaced_import.h"
#include "tests/program/crafted_file.h"
#include "tests/program/program_test.h"
#include "zentrel/component.h"
#include "zentrel/component_library.h"
#include "zentrel/failure.h"

namespace qmzentrel::program_tests {
namespace {

using Json = nlohmann::json;

constexpr char kNotice[] =
    "The component is not registered: zentrel uses the QmZentrel.dll beside it, which other "
    "programs do not find until it is registered.\n";

class UnregisteredClass : public ProgramTest {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(clients::LoadedLibrary().UnregisterServer(), S_OK); }
  static void TearDownTestSuite() {}

  void SetUp() override {
    ProgramTest::SetUp();
    CLSID identifier{};
    ASSERT_NE(CLSIDFromProgID(L"QmZentrel.Zentrel", &identifier), S_OK) << "it is registered";
  }

  // Runs a command that has to end so and to say once what it uses; what else is on its error
  // output is handed back.
  static std::string ErrorsOf(const std::string& command, int exit_code, std::string& output) {
    const Outcome outcome = RunZentrel(command);
    EXPECT_EQ(outcome.exit_code, exit_code) << outcome.errors;
    EXPECT_TRUE(outcome.errors.starts_with(kNotice)) << outcome.errors;
    output = outcome.output;
    return outcome.errors.substr(outcome.errors.find('\n') + 1);
  }
  static Json DocumentByTheLibrary(const std::string& command) {
    std::string output;
    const std::string more = ErrorsOf(command + PortOption() + " --json", 0, output);
    EXPECT_EQ(more.find("not registered"), std::string::npos) << more;
    return Json::parse(output);
  }
};

TEST_F(UnregisteredClass, EveryCommandUsesTheLibraryBesideTheProgramAndSaysSoOnce) {
  Box().Tell("set box-version 3.4 version 8.0 util 1 tamper 5");
  Box().Tell("message 8 12 34");
  EXPECT_EQ(DocumentByTheLibrary("info")["box"]["version"], "3.4");
  EXPECT_EQ(DocumentByTheLibrary("read")["record"]["Util"], 1);
  EXPECT_EQ(DocumentByTheLibrary("radio")["version"], "8.0");
  EXPECT_EQ(DocumentByTheLibrary("messages 8")["messages"][0]["data"], 0x1234);
  EXPECT_EQ(DocumentByTheLibrary("probe --yes")["ports"][0]["outcome"], "box");
  DocumentByTheLibrary("reset --yes");
  EXPECT_EQ(Box().Tell("get tamper"), "0");
  // By two objects, the second of which reads it back.
  EXPECT_EQ(DocumentByTheLibrary("write Util=42 --yes")["written"], true);
  EXPECT_EQ(Box().Tell("get util"), "42");
}

TEST_F(UnregisteredClass, TheStandardOutputIsThatOfARegisteredOne) {
  std::string output;
  EXPECT_EQ(ErrorsOf("info" + PortOption(), 0, output), "");
  EXPECT_TRUE(output.starts_with("Box on COM")) << output;
}

TEST_F(UnregisteredClass, ACallThatTakesItsTimeShowsIt) {
  Box().Tell("late 1200");
  std::string output;
  const std::string shown = ErrorsOf("info --progress" + PortOption(), 0, output);
  EXPECT_NE(shown.find("Asking the box on COM" + std::to_string(Port()) + " ... 1 s"),
            std::string::npos)
      << shown;
}

TEST_F(UnregisteredClass, APortThatIsNotThereIsOneOfThePort) {
  std::string output;
  EXPECT_TRUE(Sentence(ErrorsOf("info --port 33", 4, output)).starts_with("zentrel: COM33 cannot"));
}

TEST_F(UnregisteredClass, AFaultOfTheComponentIsOneOfItsOwn) {
  catalog.Text(L"Kernel\\MIF", L"Max", L"-2");
  DocumentOf("info" + PortOption(), 10);
}

TEST_F(UnregisteredClass, WhatNeedsNoComponentSaysNothingOfIt) {
  EXPECT_EQ(RunZentrel("ports").errors, "");
  EXPECT_EQ(RunZentrel("messages --list 8").errors, "");
  EXPECT_EQ(RunZentrel("watch --seconds 1").errors, "");
}

// A copy of the program in a folder of its own, with nothing beside it but what a test puts there.
class ProgramElsewhere : public UnregisteredClass {
 protected:
  ProgramElsewhere() {
    std::array<wchar_t, MAX_PATH> temporary{};
    GetTempPathW(MAX_PATH, temporary.data());
    folder_ = temporary.data() + std::wstring(L"zentrel ") + std::to_wstring(GetCurrentProcessId());
    CreateDirectoryW(folder_.c_str(), nullptr);
    CopyFileW(ProgramUnderTest().c_str(), Program().c_str(), FALSE);
  }
  ~ProgramElsewhere() override {
    DeleteFileW(Library().c_str());
    DeleteFileW(Program().c_str());
    RemoveDirectoryW(folder_.c_str());
  }

  std::wstring Program() const { return folder_ + L"\\zentrel.exe"; }
  std::wstring Library() const { return folder_ + L"\\QmZentrel.dll"; }

  // The end of the library's path, which the folder of temporary files may have in two ways.
  std::string NameInFolder() const {
    return platform::WideToUtf8(Library().substr(folder_.find_last_of(L'\\')));
  }

  std::string OutputOfDoctor() const {
    const Outcome outcome = RunningProgram("doctor", nullptr, Program()).Await();
    EXPECT_EQ(outcome.exit_code, 11) << outcome.errors;
    return outcome.output;
  }

  // The one sentence of a failure that is that of a missing component.
  std::string SentenceOfInfo() const {
    const Outcome outcome = RunningProgram("info" + PortOption(), nullptr, Program()).Await();
    EXPECT_EQ(outcome.exit_code, 3) << outcome.errors;
    EXPECT_EQ(outcome.output, "");
    return Sentence(outcome.errors);
  }

 private:
  std::wstring folder_;
};

TEST_F(ProgramElsewhere, WithoutALibraryBesideItSaysHowToRegister) {
  // The folder in which it is started is not asked, whoever can write to it.
  std::array<wchar_t, MAX_PATH> before{};
  GetCurrentDirectoryW(MAX_PATH, before.data());
  const std::wstring tested = ProgramUnderTest();
  ASSERT_TRUE(SetCurrentDirectoryW(tested.substr(0, tested.find_last_of(L"\\/")).c_str()));
  ASSERT_NE(GetFileAttributesW(L"QmZentrel.dll"), INVALID_FILE_ATTRIBUTES);
  const std::string sentence = SentenceOfInfo();
  SetCurrentDirectoryW(before.data());
  EXPECT_TRUE(sentence.starts_with("zentrel: the component QmZentrel is not registered; register "))
      << sentence;
  EXPECT_NE(sentence.find("regsvr32.exe"), std::string::npos) << sentence;
}

// Broken off while it was copied, and that of another program.
class FileOfAnotherKindBeside : public ProgramElsewhere, public testing::WithParamInterface<bool> {
 protected:
  FileOfAnotherKindBeside() {
    EXPECT_TRUE(CopyFileW(LibraryUnderTest().c_str(), Library().c_str(), FALSE));
  }
  void Spoil() const {
    const CraftedFile empty("");
    const CraftedFile wide(IMAGE_FILE_MACHINE_AMD64);
    ASSERT_TRUE(CopyFileW((GetParam() ? wide : empty).Path().c_str(), Library().c_str(), FALSE));
  }
};
INSTANTIATE_TEST_SUITE_P(EmptyAnd64Bits, FileOfAnotherKindBeside, testing::Bool());

TEST_P(FileOfAnotherKindBeside, IsSaidToBeNoLibrary) {
  Spoil();
  const std::string sentence = SentenceOfInfo();
  EXPECT_TRUE(sentence.starts_with("zentrel: the file beside zentrel is no 32-bit DLL: "))
      << sentence;
  EXPECT_NE(sentence.find(NameInFolder() + "; take the QmZentrel.dll of the release"),
            std::string::npos)
      << sentence;
}

TEST_P(FileOfAnotherKindBeside, IsNotWhatDoctorHasRegistered) {
  const std::string to_be_registered = NameInFolder() + "\" from an administrator's prompt";
  EXPECT_NE(OutputOfDoctor().find(to_be_registered), std::string::npos);
  Spoil();
  const std::string output = OutputOfDoctor();
  EXPECT_NE(output.find("the class is not registered; the file beside zentrel is no 32-bit DLL: "),
            std::string::npos)
      << output;
  EXPECT_NE(output.find(NameInFolder()), std::string::npos) << output;
  EXPECT_EQ(output.find(to_be_registered), std::string::npos) << output;
  EXPECT_NE(output.find("take the QmZentrel.dll of the release and run "), std::string::npos)
      << output;
}

TEST_F(ProgramElsewhere, ALibraryBesideItIsUsedWhereverThatIs) {
  ASSERT_TRUE(CopyFileW(LibraryUnderTest().c_str(), Library().c_str(), FALSE));
  const Outcome outcome = RunningProgram("info" + PortOption(), nullptr, Program()).Await();
  EXPECT_EQ(outcome.exit_code, 0) << outcome.errors;
  EXPECT_EQ(outcome.errors, kNotice);
}

// In the place of the system, where a rule forbids the library.
DWORD g_refusal = 0;
HMODULE WINAPI RefuseToLoadBeside(LPCWSTR /*file*/, HANDLE /*none*/, DWORD /*flags*/) {
  SetLastError(g_refusal);
  return nullptr;
}
DWORD WINAPI FindAnyFile(LPCWSTR /*file*/) {
  return FILE_ATTRIBUTE_NORMAL;
}

TEST_F(UnregisteredClass, ARuleThatForbidsTheLibraryBesideIsNamed) {
  const automation::ReplacedImport<decltype(&LoadLibraryExW)> refused(
      GetModuleHandleW(nullptr), L"kernel32", "LoadLibraryExW", RefuseToLoadBeside);
  const automation::ReplacedImport<decltype(&GetFileAttributesW)> there(
      GetModuleHandleW(nullptr), L"kernel32", "GetFileAttributesW", FindAnyFile);
  for (const DWORD error : {1260UL, 4551UL}) {  // of AppLocker, of App Control
    g_refusal = error;
    EXPECT_THROW(program::Component(), program::ForbiddenByRule) << error;
  }
}

TEST_F(UnregisteredClass, ALibraryBesideThatNeedsWhatIsNotThereIsNamed) {
  const automation::ReplacedImport<decltype(&LoadLibraryExW)> refused(
      GetModuleHandleW(nullptr), L"kernel32", "LoadLibraryExW", RefuseToLoadBeside);
  const automation::ReplacedImport<decltype(&GetFileAttributesW)> there(
      GetModuleHandleW(nullptr), L"kernel32", "GetFileAttributesW", FindAnyFile);
  const auto problem_with = [](DWORD error) -> std::string {
    g_refusal = error;
    try {
      program::Component();
    } catch (const program::Failure& failure) {
      EXPECT_EQ(failure.next, "take the QmZentrel.dll of the release");
      return failure.what();
    }
    return "none";
  };
  const std::string file = platform::WideToUtf8(program::LibraryBeside());
  EXPECT_EQ(problem_with(ERROR_MOD_NOT_FOUND),
            "the file beside zentrel needs a DLL that is not there: " + file);
  EXPECT_EQ(problem_with(ERROR_PROC_NOT_FOUND),
            "the file beside zentrel cannot be used (0x8007007F): " + file);
}

}  // namespace
}  // namespace qmzentrel::program_tests
