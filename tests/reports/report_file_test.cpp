// The shipped error handler behind the component: its reports in the file.
//   report_file_test --faults N     fails N times, as another process of a client
#include <gtest/gtest.h>
#include <windows.h>

// After <windows.h>, which it needs.
#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/win32/wide.h"
#include "support/component_version.h"
#include "tests/automation/system_scenes.h"
#include "tests/clients/com_client.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/registry_snapshot.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);
constexpr wchar_t kHandlerClass[] = L"QuenmoorCommunications.Error";
constexpr wchar_t kHandlerIdentifier[] = L"{5F1B7C0E-3A92-4C6D-8E17-D460B92FA358}";
constexpr LONGLONG kLargestFile = 4LL * 1024 * 1024;

std::wstring CommonFolder() {
  wchar_t path[MAX_PATH];
  EXPECT_EQ(SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path),
            S_OK);
  return path;
}

std::wstring OwnProgram() {
  wchar_t path[MAX_PATH];
  return {path, GetModuleFileNameW(nullptr, path, MAX_PATH)};
}

std::string FileText(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return "";
  std::string text(GetFileSize(file, nullptr), '\0');
  DWORD read = 0;
  ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
  CloseHandle(file);
  text.resize(read);
  return text;
}

/// The blocks of a file of reports, each from its line with the time on.
std::vector<std::string> Blocks(const std::string& text) {
  constexpr char kBegin[] = "=== 2";
  std::vector<std::string> blocks;
  EXPECT_TRUE(text.empty() || text.starts_with(kBegin)) << text.substr(0, 200);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t next = std::min(text.find(kBegin, begin + 1), text.size());
    blocks.push_back(text.substr(begin, next - begin));
    begin = next;
  }
  return blocks;
}

HRESULT Fail(short signature) {
  LONG ignored = 0;
  return NewZentrel()->get_ZentrelSignature(signature, &ignored);
}

/// The reports that a fault sends to the debugger channel, where a component without a desktop
/// sends those that nobody has taken.
std::vector<std::string> ReportsOfAFaultToTheDebugger() {
  HRESULT result = S_OK;
  auto lines =
      automation::DebuggerLinesOf([&] { automation::WithoutDesktop([&] { result = Fail(5); }); });
  EXPECT_EQ(result, kReportedFault);
  std::erase_if(lines, [](const std::string& line) {
    return !line.starts_with("QmZentrel has encountered a problem.");
  });
  return lines;
}

/// Another process that fails `faults` times.
class FailingProcess {
 public:
  explicit FailingProcess(int faults) {
    std::wstring command = L"\"" + OwnProgram() + L"\" --faults " + std::to_wstring(faults);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &start, &process_));
  }
  ~FailingProcess() {
    CloseHandle(process_.hProcess);
    CloseHandle(process_.hThread);
  }
  FailingProcess(const FailingProcess&) = delete;
  FailingProcess& operator=(const FailingProcess&) = delete;

  std::string Id() const { return std::to_string(process_.dwProcessId); }
  DWORD Wait() const {
    DWORD code = STILL_ACTIVE;
    constexpr DWORD kLimitMs = 120000;
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, kLimitMs), WAIT_OBJECT_0);
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

 private:
  PROCESS_INFORMATION process_{};
};

class ReportFile : public testing::Test {
 protected:
  ReportFile() {
    LoadedLibrary();
    wchar_t path[MAX_PATH];
    GetEnvironmentVariableW(L"QMZ_REPORTS_DLL", path, MAX_PATH);
    library_ = LoadLibraryW((path[0] == L'/' ? L"Z:" + std::wstring(path) : path).c_str());
    EXPECT_NE(library_, nullptr);
    CleanUp();
    EXPECT_EQ(Entry("DllRegisterServer")(), S_OK);
  }
  ~ReportFile() override {
    EXPECT_EQ(Entry("DllUnregisterServer")(), S_OK);
    CleanUp();
    CoFreeUnusedLibrariesEx(0, 0);
    FreeLibrary(library_);
  }

  using EntryFunction = HRESULT(STDAPICALLTYPE*)();
  EntryFunction Entry(const char* name) const {
    return reinterpret_cast<EntryFunction>(reinterpret_cast<void*>(GetProcAddress(library_, name)));
  }

  static ComPointer<IDispatch> NewHandler() {
    CLSID identifier{};
    ComPointer<IDispatch> handler;
    EXPECT_EQ(CLSIDFromProgID(kHandlerClass, &identifier), S_OK);
    EXPECT_EQ(CoCreateInstance(identifier, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                               handler.ReceiveVoid()),
              S_OK);
    return handler;
  }

  /// One report, as a component hands it over.
  static std::vector<Value> Arguments(const std::wstring& description) {
    return {Value::Text(L"Comp"),       Value::Text(L"1.2.3"),      Value::Long(4),
            Value::Long(-2147467259),   Value::Text(description),   Value::Long(6),
            Value::Text(L"Its source"), Value::Text(L"Its module"), Value::Text(L"Its procedure"),
            Value::Text(L"<a>\r\n</a>")};
  }

  void WriteFullFile() const {
    CreateDirectoryW(vendor.c_str(), nullptr);
    CreateDirectoryW(folder.c_str(), nullptr);
    const HANDLE made =
        CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(made, INVALID_HANDLE_VALUE);
    const std::string text(kLargestFile, '.');
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(made, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    CloseHandle(made);
  }

  void CleanUp() const {
    DeleteFileW(file.c_str());
    DeleteFileW(old_file.c_str());
    RemoveDirectoryW(folder.c_str());
    RemoveDirectoryW(vendor.c_str());
    DeleteFileW(vendor.c_str());
  }

  const std::wstring vendor = CommonFolder() + L"\\QuenmoorComms";
  const std::wstring folder = vendor + L"\\QmZentrel";
  const std::wstring file = folder + L"\\reports.log";
  const std::wstring old_file = folder + L"\\reports.old.log";

 private:
  HMODULE library_ = nullptr;
};

// --- What it holds ---

TEST_F(ReportFile, HasAFaultOfTheComponentWithAllThatIsKnown) {
  EXPECT_EQ(Fail(5), kReportedFault);
  const std::string text = FileText(file);
  const std::string process = std::to_string(GetCurrentProcessId());
  EXPECT_NE(text.find(" ===\r\nQmZentrel " + std::string(kComponentVersion) + " in " +
                      platform::WideToUtf8(OwnProgram()) + ", process " + process +
                      "\r\nComponent: 0\r\n" +
                      "Module: Zentrel\r\nProcedure: ZentrelSignature\r\nLine Number: "),
            std::string::npos)
      << text;
  EXPECT_EQ(text.find("Line Number: 0\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\r\nSource: QmZentrel\r\nSubscript out of range (9)\r\n<Variables>\r\n"),
            std::string::npos)
      << text;
  EXPECT_TRUE(text.ends_with("<Index>5</Index>\r\n</Parameters>\r\n\r\n")) << text;
}

LONGLONG Milliseconds(const SYSTEMTIME& time) {
  FILETIME file_time{};
  SystemTimeToFileTime(&time, &file_time);
  return (static_cast<LONGLONG>(file_time.dwHighDateTime) << 32 | file_time.dwLowDateTime) / 10000;
}

TEST_F(ReportFile, TellsTheLocalTimeAndItsDistanceFromUtc) {
  SYSTEMTIME before{};
  SYSTEMTIME after{};
  SYSTEMTIME told{};
  GetSystemTime(&before);
  EXPECT_EQ(Fail(5), kReportedFault);
  GetSystemTime(&after);
  char sign = ' ';
  int hours = -1;
  int minutes = -1;
  const std::string text = FileText(file);
  ASSERT_EQ(std::sscanf(text.c_str(), "=== %4hu-%2hu-%2hu %2hu:%2hu:%2hu.%3hu %c%2d:%2d ===",
                        &told.wYear, &told.wMonth, &told.wDay, &told.wHour, &told.wMinute,
                        &told.wSecond, &told.wMilliseconds, &sign, &hours, &minutes),
            10)
      << text.substr(0, 60);
  EXPECT_EQ(sign, '+');
  EXPECT_EQ(hours, 5);
  EXPECT_EQ(minutes, 30);
  const LONGLONG utc = Milliseconds(told) - (hours * 60 + minutes) * 60000LL;
  EXPECT_GE(utc, Milliseconds(before));
  EXPECT_LE(utc, Milliseconds(after));
}

TEST_F(ReportFile, HasOneBlockForEachReport) {
  for (short signature = 5; signature < 15; ++signature) EXPECT_EQ(Fail(signature), kReportedFault);
  const auto blocks = Blocks(FileText(file));
  ASSERT_EQ(blocks.size(), 10U);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    EXPECT_TRUE(blocks[i].ends_with("<Index>" + std::to_string(5 + i) +
                                    "</Index>\r\n</Parameters>\r\n\r\n"))
        << blocks[i];
  }
}

TEST_F(ReportFile, IsUtf8AndShowsZeroCharacters) {
  const auto handler = NewHandler();
  const std::wstring description(L"Z\u00E4hler\0\u4E2D", 8);
  EXPECT_EQ(Call(handler.Get(), L"ErrorHandler", Arguments(description)).result, S_OK);
  EXPECT_NE(FileText(file).find("Comp 1.2.3 in "), std::string::npos);
  EXPECT_NE(FileText(file).find("Component: 4\r\nModule: Its module\r\nProcedure: Its procedure\r\n"
                                "Line Number: 6\r\nSource: Its source\r\n"
                                "Z\xC3\xA4hler{Null}\xE4\xB8\xAD (-2147467259)\r\n<a>\r\n</a>\r\n"),
            std::string::npos)
      << FileText(file);
}

// --- Who writes it ---

TEST_F(ReportFile, IsWrittenWhereNobodyHasADesktop) {
  EXPECT_TRUE(ReportsOfAFaultToTheDebugger().empty());
  EXPECT_EQ(Blocks(FileText(file)).size(), 1U);
}

/// How many of `blocks` are whole reports of that process.
std::size_t WholeBlocksOf(const FailingProcess& process, const std::vector<std::string>& blocks) {
  std::size_t count = 0;
  for (const std::string& block : blocks) {
    if (block.find(", process " + process.Id() + "\r\n") == std::string::npos) continue;
    EXPECT_TRUE(block.ends_with("</Index>\r\n</Parameters>\r\n\r\n")) << block;
    ++count;
  }
  return count;
}

TEST_F(ReportFile, LosesNothingOfTwoProcessesAtOnce) {
  constexpr int kFaults = 200;
  FailingProcess first(kFaults);
  FailingProcess second(kFaults);
  EXPECT_EQ(first.Wait(), 0U);
  EXPECT_EQ(second.Wait(), 0U);
  const auto blocks = Blocks(FileText(file));
  EXPECT_EQ(blocks.size(), 2U * kFaults);
  EXPECT_EQ(WholeBlocksOf(first, blocks), static_cast<std::size_t>(kFaults));
  EXPECT_EQ(WholeBlocksOf(second, blocks), static_cast<std::size_t>(kFaults));
}

// --- How large it grows ---

TEST_F(ReportFile, ThatIsFullIsSetAsideOnce) {
  WriteFullFile();
  EXPECT_EQ(Fail(5), kReportedFault);
  EXPECT_EQ(Fail(6), kReportedFault);
  EXPECT_EQ(Blocks(FileText(file)).size(), 2U);
  EXPECT_EQ(FileText(old_file), std::string(kLargestFile, '.'));
  WriteFullFile();
  EXPECT_EQ(Fail(7), kReportedFault);
  EXPECT_EQ(Blocks(FileText(file)).size(), 1U);
}

TEST_F(ReportFile, ThatIsFullLosesNothingOfTwoProcessesAtOnce) {
  WriteFullFile();
  constexpr int kFaults = 50;
  FailingProcess first(kFaults);
  FailingProcess second(kFaults);
  EXPECT_EQ(first.Wait(), 0U);
  EXPECT_EQ(second.Wait(), 0U);
  // One that had found the file before it was full may still have written behind its end.
  const std::string old_text = FileText(old_file);
  ASSERT_TRUE(old_text.starts_with(std::string(kLargestFile, '.')));
  auto blocks = Blocks(FileText(file));
  for (std::string& block : Blocks(old_text.substr(kLargestFile))) blocks.push_back(block);
  EXPECT_EQ(WholeBlocksOf(first, blocks), static_cast<std::size_t>(kFaults));
  EXPECT_EQ(WholeBlocksOf(second, blocks), static_cast<std::size_t>(kFaults));
}

// --- When it cannot be written ---

TEST_F(ReportFile, ThatCannotBeWrittenLeavesTheReportToTheComponent) {
  const HANDLE obstacle =
      CreateFileW(vendor.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  ASSERT_NE(obstacle, INVALID_HANDLE_VALUE);
  CloseHandle(obstacle);
  EXPECT_EQ(ReportsOfAFaultToTheDebugger().size(), 1U);
  const auto refused = Call(NewHandler().Get(), L"ErrorHandler", Arguments(L"x"));
  EXPECT_EQ(refused.result, DISP_E_EXCEPTION);
  EXPECT_EQ(refused.source, L"QmZentrelReports");
  EXPECT_EQ(refused.description, L"The report cannot be written to " + file);
}

// A file that another program keeps to itself.
TEST_F(ReportFile, ThatIsInUseLeavesTheReportToTheComponent) {
  EXPECT_EQ(Fail(5), kReportedFault);
  const HANDLE user =
      CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(user, INVALID_HANDLE_VALUE);
  EXPECT_EQ(ReportsOfAFaultToTheDebugger().size(), 1U);
  CloseHandle(user);
  EXPECT_EQ(Blocks(FileText(file)).size(), 1U);
}

// As a virus scanner or a backup does for a moment.
TEST_F(ReportFile, ThatIsSoonFreeAgainGetsTheReport) {
  EXPECT_EQ(Fail(5), kReportedFault);
  const HANDLE user =
      CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(user, INVALID_HANDLE_VALUE);
  OtherApartment scanner(COINIT_MULTITHREADED, [user] {
    constexpr DWORD kAMomentMs = 200;
    Sleep(kAMomentMs);
    CloseHandle(user);
  });
  EXPECT_EQ(Fail(5), kReportedFault);
  scanner.Join();
  EXPECT_EQ(Blocks(FileText(file)).size(), 2U);
}

// --- The class ---

TEST_F(ReportFile, TheHandlerIsOfItsOwnKindOnly) {
  const auto handler = NewHandler();
  EXPECT_EQ(Call(handler.Get(), L"errorhandler", {Value::Long(1)}).result, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(IdOf(handler.Get(), L"Forget"), DISPID_UNKNOWN);
  EXPECT_EQ(Get(handler.Get(), L"Action").value.AsText(), L"Continue");
  EXPECT_EQ(Entry("DllCanUnloadNow")(), S_FALSE);
}

TEST_F(ReportFile, UnregisteringTheHandlerLeavesNothing) {
  EXPECT_EQ(Entry("DllUnregisterServer")(), S_OK);
  const RegistrySnapshot before = TakeRegistrySnapshot();
  CLSID identifier{};
  EXPECT_NE(CLSIDFromProgID(kHandlerClass, &identifier), S_OK);
  for (const auto& [path, data] : before) {
    const std::wstring text(reinterpret_cast<const wchar_t*>(data.data()),
                            data.size() / sizeof(wchar_t));
    for (const wchar_t* trace : {kHandlerClass, kHandlerIdentifier, L"QmZentrelReports"}) {
      EXPECT_EQ(path.find(trace), std::wstring::npos) << platform::WideToUtf8(path);
      EXPECT_EQ(text.find(trace), std::wstring::npos) << platform::WideToUtf8(path);
    }
  }
  EXPECT_EQ(Entry("DllRegisterServer")(), S_OK);
  EXPECT_EQ(CLSIDFromProgID(kHandlerClass, &identifier), S_OK);
  EXPECT_EQ(Entry("DllUnregisterServer")(), S_OK);
  EXPECT_EQ(Differences(before, TakeRegistrySnapshot()), "");
}

}  // namespace

int FailOften(int faults) {
  for (int i = 0; i < faults; ++i) {
    if (Fail(5) != kReportedFault) return 1;
  }
  return 0;
}

}  // namespace qmzentrel::clients

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--faults") {
    return qmzentrel::clients::FailOften(std::stoi(argv[2]));
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
