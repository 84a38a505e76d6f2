// The windows of installer and uninstaller, worked as a person does, by messages. The script around
// these tests prepares what is installed, and looks at registry and files afterwards.
#include <windows.h>

// After it, which it needs.
#include <commctrl.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel {
namespace {

using dialog_driver::DialogWindow;

// Controls of every page, and of those that a test looks at.
constexpr int kNext = 1;
constexpr int kCancel = 2;
constexpr int kBack = 3;
constexpr int kHeading = 1037;
constexpr int kParts = 1032;
constexpr int kFolder = 1019;
// Radio buttons of a page that is made as it is shown, in their order.
constexpr int kForTheMachine = 1201;
constexpr int kForOneUser = 1202;
// The last page is made so, too.
constexpr int kLastHeading = 1201;
constexpr int kNextSteps = 1202;
constexpr int kOpenPrompt = 1203;
constexpr int kShowHelp = 1204;

constexpr wchar_t kForWhom[] = L"Choose Users";
constexpr wchar_t kWhichParts[] = L"Choose Components";
constexpr wchar_t kWhere[] = L"Choose Install Location";
constexpr wchar_t kUninstalled[] = L"Uninstallation Complete";

// The parts in the order of the page. The last one is there on 64-bit Windows only.
enum Part { kComponent, kCatalog, kReports };

// The pictures before them.
constexpr LRESULT kNotTicked = 1;
constexpr LRESULT kTicked = 2;
constexpr LRESULT kNeverTicked = 4;
constexpr LRESULT kAlwaysTicked = 5;

// Far above what any step takes, so that a window that hangs ends the test.
constexpr DWORD kLongEnough = 120'000;

std::wstring Environment(const wchar_t* name) {
  const wchar_t* value = _wgetenv(name);
  return value == nullptr ? L"" : value;
}

bool Becomes(const std::function<bool()>& condition) {
  constexpr DWORD kGlance = 50;
  for (DWORD waited = 0; waited < kLongEnough; waited += kGlance) {
    if (condition()) return true;
    Sleep(kGlance);
  }
  return false;
}

class SetupWindow : public testing::Test {
 protected:
  void TearDown() override {
    if (process_.hProcess == nullptr) return;
    TerminateProcess(process_.hProcess, 1);
    CloseHandle(process_.hProcess);
    CloseHandle(process_.hThread);
  }

  /// Returns once its first page is there.
  void Start(std::wstring line, const std::wstring& heading) {
    STARTUPINFOW start{};
    start.cb = sizeof start;
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &start, &process_));
    ASSERT_TRUE(Shows(heading)) << "no window";
  }
  void StartInstaller(const std::wstring& arguments = L"") {
    Start(L"\"" + Environment(L"QMZ_SETUP") + L"\" " + arguments, kForWhom);
  }

  void StartUninstaller() {
    Start(Environment(L"QMZ_UNINSTALLER"), L"Uninstall QmZentrel " + Environment(L"QMZ_VERSION"));
  }

  /// Its only top-level window that no other owns; null while there is none.
  HWND Window() const {
    HWND window = nullptr;
    while ((window = FindWindowExW(nullptr, window, L"#32770", nullptr)) != nullptr) {
      DWORD process = 0;
      GetWindowThreadProcessId(window, &process);
      if (process == process_.dwProcessId && IsWindowVisible(window) != FALSE &&
          GetWindow(window, GW_OWNER) == nullptr) {
        break;
      }
    }
    return window;
  }
  DialogWindow Frame() const { return DialogWindow(Window()); }
  DialogWindow Page() const {
    return DialogWindow(FindWindowExW(Window(), nullptr, L"#32770", nullptr));
  }
  bool Shows(const std::wstring& heading) const {
    return Becomes([&] { return Window() != nullptr && Frame().Text(kHeading) == heading; });
  }
  // Pages change under the button that is pressed: nobody waits for its answer.
  static void Press(const DialogWindow& window, int button) {
    PostMessageW(window.Window(), WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
                 reinterpret_cast<LPARAM>(window.Control(button)));
  }
  void GoTo(int button, const std::wstring& heading) const {
    ASSERT_TRUE(Becomes([&] { return Frame().IsEnabled(button); }));
    Press(Frame(), button);
    ASSERT_TRUE(Shows(heading)) << "it shows " << testing::PrintToString(Frame().Text(kHeading));
  }
  /// The last page of the installer, which has no heading as the others have.
  void AwaitLastPage() const {
    ASSERT_TRUE(Becomes([this] {
      return Window() != nullptr && Page().Text(kLastHeading) == L"QmZentrel is installed";
    }));
    for (const int box : {kOpenPrompt, kShowHelp}) EXPECT_FALSE(Page().IsTicked(box)) << box;
  }
  void Install() const {
    Press(Frame(), kNext);
    AwaitLastPage();
  }
  void Finish() const {
    Press(Frame(), kNext);
    EXPECT_EQ(ExitCode(), 0U);
  }
  bool SaysNext(const std::wstring& words) const {
    return Page().Text(kNextSteps).find(words) != std::wstring::npos;
  }

  /// The question or message that stands before its window; null when none comes.
  HWND Box() const {
    HWND box = nullptr;
    Becomes([&] {
      box = GetLastActivePopup(Window());
      return box != Window() && IsWindowVisible(box) != FALSE;
    });
    return box == Window() ? nullptr : box;
  }

  LRESULT AskParts(UINT message, WPARAM wide, LPARAM parameter) const {
    return SendMessageW(Page().Control(kParts), message, wide, parameter);
  }
  LPARAM Item(Part part) const {
    LRESULT item = AskParts(TVM_GETNEXTITEM, TVGN_ROOT, 0);
    for (int i = 0; i < part; ++i) item = AskParts(TVM_GETNEXTITEM, TVGN_NEXT, item);
    return item;
  }
  /// The picture before a part, which shows whether it is ticked and whether it can be.
  LRESULT Picture(Part part) const {
    const LRESULT state =
        AskParts(TVM_GETITEMSTATE, static_cast<WPARAM>(Item(part)), TVIS_STATEIMAGEMASK);
    return (state & TVIS_STATEIMAGEMASK) >> 12;
  }
  /// With the space bar.
  void Toggle(Part part) const {
    AskParts(TVM_SELECTITEM, TVGN_CARET, Item(part));
    AskParts(WM_CHAR, L' ', 0);
  }

  DWORD ExitCode() const {
    DWORD code = STILL_ACTIVE;
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, kLongEnough), WAIT_OBJECT_0);
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

  PROCESS_INFORMATION process_{};
};

// --- Where nothing is installed ---

TEST_F(SetupWindow, AsksBeforeItIsGivenUp) {
  StartInstaller();
  Press(Frame(), kCancel);
  ASSERT_NE(Box(), nullptr);
  DialogWindow(Box()).Click(IDNO);
  GoTo(kNext, kWhichParts);
  Press(Frame(), kCancel);
  ASSERT_NE(Box(), nullptr);
  EXPECT_EQ(DialogWindow(Box()).Message().find(L"Are you sure you want to quit"), 0U);
  DialogWindow(Box()).Click(IDYES);
  EXPECT_EQ(ExitCode(), 1U);
}

TEST_F(SetupWindow, OffersOneUserNothingOfTheMachines) {
  StartInstaller();
  Page().Click(kForOneUser);
  GoTo(kNext, kWhichParts);
  for (const Part part : {kCatalog, kReports}) {
    EXPECT_EQ(Picture(part), kNeverTicked);
    Toggle(part);
    EXPECT_EQ(Picture(part), kNeverTicked);
  }
  GoTo(kNext, kWhere);
  EXPECT_EQ(Page().Text(kFolder), Environment(L"LOCALAPPDATA") + L"\\Programs\\QmZentrel");
  GoTo(kBack, kWhichParts);
  GoTo(kBack, kForWhom);
  Page().Click(kForTheMachine);
  GoTo(kNext, kWhichParts);
  EXPECT_EQ(Picture(kCatalog), kNotTicked);
  Toggle(kCatalog);
  EXPECT_EQ(Picture(kCatalog), kTicked);
  GoTo(kNext, kWhere);
  EXPECT_EQ(Page().Text(kFolder), Environment(L"ProgramFiles") + L"\\QmZentrel");
}

TEST_F(SetupWindow, InstallsWhatIsTickedWhereItSays) {
  StartInstaller(L"/D=" + Environment(L"QMZ_FOLDER"));
  GoTo(kNext, kWhichParts);
  EXPECT_EQ(Picture(kComponent), kAlwaysTicked);
  EXPECT_EQ(Picture(kCatalog), kNotTicked);
  EXPECT_EQ(Picture(kReports), kNotTicked);
  Toggle(kReports);
  GoTo(kNext, kWhere);
  EXPECT_EQ(Page().Text(kFolder), Environment(L"QMZ_FOLDER"));
  Install();
  EXPECT_TRUE(SaysNext(L"\"zentrel info --port 7\""));
  EXPECT_TRUE(SaysNext(L"simulator"));
  EXPECT_FALSE(SaysNext(L"not registered"));
  Page().Click(kShowHelp);
  Finish();
}

TEST_F(SetupWindow, TellsOneUserWhatOthersDoNotFind) {
  StartInstaller(L"/CurrentUser");
  GoTo(kNext, kWhichParts);
  GoTo(kNext, kWhere);
  Install();
  EXPECT_TRUE(SaysNext(L"\"zentrel info --port 7\""));
  EXPECT_TRUE(SaysNext(L"for one user it is not registered"));
  // Whose switch is the machine's.
  EXPECT_FALSE(SaysNext(L"simulator"));
  Page().Click(kOpenPrompt);
  Finish();
}

// --- Where a version is installed, with reports ---

TEST_F(SetupWindow, AnUpgradeGivesUpWhatIsNoLongerTicked) {
  StartInstaller();
  GoTo(kNext, kWhichParts);
  EXPECT_EQ(Picture(kCatalog), kNotTicked);
  EXPECT_EQ(Picture(kReports), kTicked);
  Toggle(kReports);
  // Who looks at the first page once more has not chosen anew.
  GoTo(kBack, kForWhom);
  GoTo(kNext, kWhichParts);
  EXPECT_EQ(Picture(kReports), kNotTicked);
  GoTo(kNext, kWhere);
  EXPECT_EQ(Page().Text(kFolder), Environment(L"QMZ_FOLDER"));
  Install();
  Finish();
}

TEST_F(SetupWindow, AsksAgainWhileAFileIsInUse) {
  StartInstaller();
  GoTo(kNext, kWhichParts);
  GoTo(kNext, kWhere);
  Press(Frame(), kNext);
  const HWND first = Box();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(DialogWindow(first).Message().find(L"QmZentrel.dll is in use"), std::wstring::npos)
      << testing::PrintToString(DialogWindow(first).Message());
  DialogWindow(first).Click(IDRETRY);
  ASSERT_TRUE(Becomes([first] { return IsWindow(first) == FALSE; }));
  ASSERT_NE(Box(), nullptr);
  DialogWindow(Box()).Click(IDCANCEL);
  EXPECT_EQ(ExitCode(), 3U);
}

// --- Where somebody has switched the simulator on ---

class SetupWindowWithSimulator : public SetupWindow {
 protected:
  void GoOnThroughTheWarning() const {
    Press(Frame(), kNext);
    ASSERT_NE(Box(), nullptr);
    EXPECT_EQ(DialogWindow(Box()).Message().find(L"The simulator is switched on"), 0U)
        << testing::PrintToString(DialogWindow(Box()).Message());
    DialogWindow(Box()).Click(IDOK);
  }
};

TEST_F(SetupWindowWithSimulator, SaysThatItIsOnAsItInstalls) {
  StartInstaller();
  GoTo(kNext, kWhichParts);
  GoTo(kNext, kWhere);
  GoOnThroughTheWarning();
  AwaitLastPage();
  Finish();
}

TEST_F(SetupWindowWithSimulator, SaysThatItStaysOnForOthersAsItUninstallsForOne) {
  StartUninstaller();
  GoOnThroughTheWarning();
  ASSERT_TRUE(Shows(kUninstalled));
  Finish();
}

// --- Where a newer version is installed ---

TEST_F(SetupWindow, LeavesANewerVersionUnlessSomebodyAgrees) {
  StartInstaller();
  GoTo(kNext, kWhichParts);
  GoTo(kNext, kWhere);
  Press(Frame(), kNext);
  ASSERT_NE(Box(), nullptr);
  EXPECT_NE(DialogWindow(Box()).Message().find(L"which is newer"), std::wstring::npos)
      << testing::PrintToString(DialogWindow(Box()).Message());
  DialogWindow(Box()).Click(IDNO);
  EXPECT_EQ(ExitCode(), 6U);
}

TEST_F(SetupWindow, TakesItOutAgain) {
  StartUninstaller();
  GoTo(kNext, kUninstalled);
  Finish();
}

}  // namespace
}  // namespace qmzentrel
