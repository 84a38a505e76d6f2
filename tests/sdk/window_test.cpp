// The example with a window, worked as a person would: it has to stay alive while the box lets it
// wait.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>

#include "tools/virtual_box/control_client.h"

namespace qmzentrel {
namespace {

constexpr int kRead = 100;
constexpr int kStop = 101;
constexpr int kText = 102;
// Far above what any step takes, so that a window that hangs ends the test.
constexpr DWORD kLongEnough = 60'000;
/// Within which a window that is alive answers.
constexpr UINT kAlive = 10'000;

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

class WindowExample : public testing::Test {
 protected:
  void SetUp() override {
    const std::string control = Environment("QMZ_BOX_CONTROL");
    const std::string port = control.substr(control.find(':') + 1);
    ASSERT_TRUE(box_.Connect(static_cast<std::uint16_t>(std::stoi(port))));
    Tell("clear");
    Tell("set transponder 1");

    std::string command = Environment("QMZ_WINDOW_EXAMPLE") + " " + Environment("QMZ_PORT");
    STARTUPINFOA start{};
    start.cb = sizeof start;
    ASSERT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &start, &process_));
    ASSERT_TRUE(Becomes([] { return Text() == L"Ready"; })) << "no window, or no class";
  }
  void TearDown() override {
    if (Window() != nullptr) PostMessageW(Window(), WM_CLOSE, 0, 0);
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, kLongEnough), WAIT_OBJECT_0);
    TerminateProcess(process_.hProcess, 1);
    CloseHandle(process_.hProcess);
    CloseHandle(process_.hThread);
  }

  void Tell(const std::string& command) {
    const auto answer = box_.Command(command);
    ASSERT_TRUE(answer.ok) << answer.text;
  }
  static HWND Window() { return FindWindowW(L"ZentrelReader", nullptr); }
  /// What the window shows; fails the test when it does not answer.
  static std::wstring Text() {
    wchar_t text[200] = L"";
    const HWND label = GetDlgItem(Window(), kText);
    if (label == nullptr) return text;  // the window is still being made
    DWORD_PTR length = 0;
    EXPECT_NE(SendMessageTimeoutW(label, WM_GETTEXT, 200, reinterpret_cast<LPARAM>(text),
                                  SMTO_ABORTIFHUNG, kAlive, &length),
              0)
        << "the window does not answer";
    return text;
  }
  static void Press(int button) { PostMessageW(GetDlgItem(Window(), button), BM_CLICK, 0, 0); }
  static bool Becomes(const std::function<bool()>& condition) {
    constexpr DWORD kGlance = 50;
    for (DWORD waited = 0; waited < kLongEnough; waited += kGlance) {
      if (condition()) return true;
      Sleep(kGlance);
    }
    return false;
  }
  static bool Shows(const std::wstring& part) {
    return Becomes([&part] { return Text().find(part) != std::wstring::npos; });
  }

  /// A clock that runs while the call waits for the box.
  static void ExpectClockRuns(const std::wstring& step) {
    EXPECT_TRUE(Shows(step + L": ")) << "it shows " << testing::PrintToString(Text());
    const std::wstring first = Text();
    EXPECT_TRUE(Becomes([&first] { return Text() != first; }));
    EXPECT_EQ(Text().find(step + L": "), 0U) << testing::PrintToString(Text());
  }
  /// How often the box has been sent something.
  std::ptrdiff_t Sends() {
    return std::ranges::count(box_.Log(), virtual_box::LogMark::kToBox,
                              &virtual_box::LogLine::mark);
  }

  virtual_box::ControlClient box_;
  PROCESS_INFORMATION process_{};
};

TEST_F(WindowExample, ShowsWhatTheTransponderHolds) {
  Tell("set util 77 reading 424242");
  Press(kRead);
  EXPECT_TRUE(Shows(L"Reading 424242, utility code 77"))
      << "it shows " << testing::PrintToString(Text());
}

TEST_F(WindowExample, StaysAliveWhileTheBoxStartsAndStopsAfterTheStep) {
  // The supply has just come on: the box is silent for two seconds, and the first question
  // unanswered.
  Press(kRead);
  ExpectClockRuns(L"Starting the box");
  Press(kStop);
  EXPECT_TRUE(Shows(L"Stopping after: Starting the box") || Text() == L"Stopped");
  EXPECT_TRUE(Shows(L"Stopped")) << "it shows " << testing::PrintToString(Text());
  EXPECT_TRUE(IsWindowEnabled(GetDlgItem(Window(), kRead)));
}

TEST_F(WindowExample, StaysAliveWhileNoTransponderAnswersUntilOneDoes) {
  // An electric box is asked for 52 s, twice a second; here until a transponder comes into reach.
  Tell("set signature0 0xA6 version 5.0 util 78 reading 434343 transponder 0");
  Press(kRead);
  ExpectClockRuns(L"Reading");
  Press(kStop);
  EXPECT_TRUE(Shows(L"Stopping after: Reading")) << "it shows " << testing::PrintToString(Text());
  // The call is not broken off, and the window answers meanwhile.
  const std::ptrdiff_t sends = Sends();
  EXPECT_TRUE(Becomes([&] { return !Text().empty() && Sends() > sends + 1; }));
  EXPECT_EQ(Text(), L"Stopping after: Reading");
  EXPECT_FALSE(IsWindowEnabled(GetDlgItem(Window(), kRead)));
  Tell("set transponder 1");
  EXPECT_TRUE(Shows(L"Reading 434343, utility code 78"))
      << "it shows " << testing::PrintToString(Text());
  EXPECT_TRUE(IsWindowEnabled(GetDlgItem(Window(), kRead)));
}

TEST_F(WindowExample, EndsWithItsWindow) {
  PostMessageW(Window(), WM_CLOSE, 0, 0);
  ASSERT_EQ(WaitForSingleObject(process_.hProcess, kLongEnough), WAIT_OBJECT_0);
  DWORD code = 1;
  GetExitCodeProcess(process_.hProcess, &code);
  EXPECT_EQ(code, 0u);
}

}  // namespace
}  // namespace qmzentrel
