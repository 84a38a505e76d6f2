// The simulator's dialog as a window among windows: what the keyboard does, who owns it, what can
// be read on it.
#include <gtest/gtest.h>
#include <windows.h>

// After it, which it needs.
#include <commctrl.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/win32/simulator_dialog_controls.h"
#include "platform/win32/wide.h"
#include "tests/contract/dialog_recorder.h"
#include "tests/contract/harness.h"
#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel {
namespace {

using contract::DialogRecorder;
using contract::DialogUser;
using contract::FullContent;
using dialog_driver::DialogWindow;
using platform::DialogCheck;
using platform::DialogContent;
using platform::DialogList;
using platform::DialogSpin;
using platform::DialogText;
using platform::HideSimulatorDialog;
using platform::RefreshSimulatorDialog;

using Lines = std::vector<std::string>;

// A window of the client.
class ClientWindow {
 public:
  explicit ClientWindow(DWORD style = WS_OVERLAPPEDWINDOW | WS_VISIBLE)
      : window_(CreateWindowExW(0, L"STATIC", L"A client", style, 100, 60, 700, 500, nullptr,
                                nullptr, nullptr, nullptr)) {
    SetActiveWindow(window_);
  }
  ~ClientWindow() { DestroyWindow(window_); }
  ClientWindow(const ClientWindow&) = delete;
  ClientWindow& operator=(const ClientWindow&) = delete;

  HWND Get() const { return window_; }
  bool IsEnabled() const { return IsWindowEnabled(window_) != FALSE; }

 private:
  HWND window_;
};

class SimulatorDialogWindow : public testing::Test {
 protected:
  bool Show(const std::function<void(DialogUser&, const DialogWindow&)>& act) {
    return contract::ShowToUser(content_, recorder_, [&](DialogUser& user) {
      const auto dialog = DialogWindow::WaitFor(platform::Utf8ToWide(content_.caption), 0);
      act(user, dialog.value());
    });
  }

  static bool Focus(const DialogWindow& dialog, int id) {
    SendMessageW(dialog.Window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(dialog.Control(id)),
                 TRUE);
    return dialog.Focused() == id;
  }

  // Posted, as keys come: each is waited for by what follows it.
  static void PressKey(HWND window, int code) {
    const auto key = static_cast<WPARAM>(code);
    PostMessageW(window, WM_KEYDOWN, key, 1);
    PostMessageW(window, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001U));
  }

  // Everything posted before has been dealt with when this returns.
  static bool Settle(DialogUser& user) {
    std::atomic<bool> come = false;
    contract::PostCall([&come] { come = true; });
    return user.WaitFor([&come] { return come.load(); });
  }

  DialogContent content_ = FullContent(
      std::string("Window ") + testing::UnitTest::GetInstance()->current_test_info()->name());
  DialogRecorder recorder_;
  const DWORD thread_ = GetCurrentThreadId();
};

// ---- the client's window ----

TEST_F(SimulatorDialogWindow, TheClientsActiveWindowOwnsItAndTakesNoInputMeanwhile) {
  const ClientWindow client;
  ASSERT_EQ(GetActiveWindow(), client.Get());
  HWND owner = nullptr;
  bool enabled_meanwhile = true;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    owner = GetWindow(dialog.Window(), GW_OWNER);
    enabled_meanwhile = client.IsEnabled();
  });
  EXPECT_EQ(owner, client.Get());
  EXPECT_FALSE(enabled_meanwhile);
  EXPECT_TRUE(client.IsEnabled());
  EXPECT_EQ(GetActiveWindow(), client.Get());
}

// Elsewhere it would come up behind the window of another process.
TEST_F(SimulatorDialogWindow, StandsAboveAllOthersExactlyWhereTheClientHasNoWindow) {
  const auto is_above_all = [this] {
    LONG style = 0;
    Show([&](DialogUser&, const DialogWindow& dialog) {
      style = GetWindowLongW(dialog.Window(), GWL_EXSTYLE);
    });
    return (style & WS_EX_TOPMOST) != 0;
  };
  EXPECT_TRUE(is_above_all());
  const ClientWindow client;
  EXPECT_FALSE(is_above_all());
}

TEST_F(SimulatorDialogWindow, StandsInTheMiddleOfTheClientsWindow) {
  const ClientWindow client;
  RECT place{};
  Show([&](DialogUser&, const DialogWindow& dialog) { GetWindowRect(dialog.Window(), &place); });
  RECT around{};
  GetWindowRect(client.Get(), &around);
  EXPECT_NEAR(place.left + place.right, around.left + around.right, 2);
  EXPECT_NEAR(place.top + place.bottom, around.top + around.bottom, 2);
}

// Windows of a client of which the dialog has the last word only over some.
struct ClientWindows {
  const ClientWindow active;
  const ClientWindow second;
  const ClientWindow hidden{WS_OVERLAPPEDWINDOW};
  const ClientWindow locked;
  ClientWindows() {
    EnableWindow(locked.Get(), FALSE);
    SetActiveWindow(active.Get());
  }
  void ExpectEnabled(bool enabled) const {
    EXPECT_EQ(active.IsEnabled(), enabled);
    EXPECT_EQ(second.IsEnabled(), enabled);
    EXPECT_EQ(hidden.IsEnabled(), enabled);
    EXPECT_FALSE(locked.IsEnabled());
  }
};

TEST_F(SimulatorDialogWindow, NoWindowOfTheThreadTakesInputMeanwhile) {
  const ClientWindows client;
  Show([&](DialogUser&, const DialogWindow&) { client.ExpectEnabled(false); });
  client.ExpectEnabled(true);
}

TEST_F(SimulatorDialogWindow, WindowsOfOtherThreadsTakeInputMeanwhile) {
  const ClientWindow client(WS_OVERLAPPEDWINDOW);
  bool enabled_meanwhile = false;
  contract::RunOnAnotherThread([&] {
    Show([&](DialogUser&, const DialogWindow&) { enabled_meanwhile = client.IsEnabled(); });
  });
  EXPECT_TRUE(enabled_meanwhile);
}

TEST_F(SimulatorDialogWindow, WithoutAnActiveWindowTheThreadsOthersAreLockedAllTheSame) {
  const ClientWindow hidden(WS_OVERLAPPEDWINDOW);
  SetActiveWindow(nullptr);
  bool enabled_meanwhile = true;
  Show([&](DialogUser&, const DialogWindow&) { enabled_meanwhile = hidden.IsEnabled(); });
  EXPECT_FALSE(enabled_meanwhile);
  EXPECT_TRUE(hidden.IsEnabled());
}

TEST_F(SimulatorDialogWindow, InputComesBackBeforeTheDialogHasGone) {
  const ClientWindows client;
  bool enabled_at_hiding = false;
  recorder_.on_hiding = [&] { enabled_at_hiding = client.second.IsEnabled(); };
  Show([](DialogUser&, const DialogWindow&) {});
  EXPECT_TRUE(enabled_at_hiding);
}

TEST_F(SimulatorDialogWindow, EveryWindowGetsItsInputBackHoweverTheDialogEnds) {
  const ClientWindows client;
  const std::vector<std::function<void(DialogUser&)>> ends = {
      [](DialogUser& user) { user.CloseBox(); },
      [](DialogUser& user) { user.Press(platform::DialogButton::cmdNoZentrel); },
      [](DialogUser& user) { user.Click(platform::DialogCheck::chkEOL); },
      [](DialogUser& user) {
        contract::PostCall([] { contract::PostQuit(3); });
        user.WaitFor([&user] { return !user.SeesDialog(); });
      },
      [](DialogUser& user) {
        contract::PostCall([] { DestroyWindow(GetActiveWindow()); });
        user.WaitFor([&user] { return !user.SeesDialog(); });
      }};
  recorder_.on_told = [](const std::string& line) {
    if (line.starts_with("check")) throw std::runtime_error(line);
    HideSimulatorDialog();
  };
  for (const auto& end : ends) {
    try {
      Show([&](DialogUser& user, const DialogWindow&) {
        client.ExpectEnabled(false);
        end(user);
      });
    } catch (const std::runtime_error& failure) {
      EXPECT_STREQ(failure.what(), "check 2 ticked");
    }
    client.ExpectEnabled(true);
    contract::TakeQuit();  // or the next dialog would end at once
  }
}

// Lists windows of the dialog's own that take no input.
BOOL CALLBACK NoteIfOursAndLocked(HWND window, LPARAM list) {
  wchar_t kind[32] = {};
  GetClassNameW(window, kind, 32);
  const std::vector<std::wstring> ours = {TOOLTIPS_CLASSW, L"ComboLBox", L"#32770"};
  if (std::ranges::find(ours, kind) != ours.end() && IsWindowEnabled(window) == FALSE) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  }
  return TRUE;
}

TEST_F(SimulatorDialogWindow, WhatBelongsToTheDialogItselfTakesInput) {
  std::vector<HWND> locked;
  Show([&](DialogUser&, const DialogWindow&) {
    EnumThreadWindows(thread_, NoteIfOursAndLocked, reinterpret_cast<LPARAM>(&locked));
  });
  EXPECT_TRUE(locked.empty());
}

TEST_F(SimulatorDialogWindow, TheClientGetsItsInputBackWhenThePresenterFails) {
  const ClientWindow client;
  recorder_.on_told = [](const std::string& line) { throw std::runtime_error(line); };
  EXPECT_THROW(Show([](DialogUser& user, const DialogWindow&) {
                 user.Click(platform::DialogCheck::chkEOL);
               }),
               std::runtime_error);
  EXPECT_TRUE(client.IsEnabled());
}

TEST_F(SimulatorDialogWindow, TheClientGetsItsInputBackWhenPlacingFails) {
  const ClientWindow client;
  recorder_.on_placing = [](platform::WindowPlace&) { throw std::runtime_error("no place"); };
  EXPECT_THROW(Show([](DialogUser&, const DialogWindow&) {}), std::runtime_error);
  EXPECT_TRUE(client.IsEnabled());
}

TEST_F(SimulatorDialogWindow, TheClientGetsItsInputBackWhenTheProgramEnds) {
  const ClientWindow client;
  Show([](DialogUser& user, const DialogWindow&) {
    contract::PostCall([] { contract::PostQuit(3); });
    user.WaitFor([&user] { return !user.SeesDialog(); });
  });
  EXPECT_TRUE(client.IsEnabled());
  EXPECT_EQ(contract::TakeQuit(), 3);
}

TEST_F(SimulatorDialogWindow, AWindowThatTheClientHasLockedStaysLocked) {
  const ClientWindow client;
  EnableWindow(client.Get(), FALSE);
  SetActiveWindow(client.Get());
  Show([](DialogUser&, const DialogWindow&) {});
  EXPECT_FALSE(client.IsEnabled());
}

TEST_F(SimulatorDialogWindow, AClientThatDestroysItsWindowTakesTheDialogWithIt) {
  const ClientWindow client;
  bool gone = false;
  EXPECT_TRUE(Show([&](DialogUser& user, const DialogWindow&) {
    contract::PostCall([&client] { DestroyWindow(client.Get()); });
    gone = user.WaitFor([&user] { return !user.SeesDialog(); });
  }));
  EXPECT_TRUE(gone);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogWindow, AThreadWithoutWindowsStandsInFrontOfTheProgramsOne) {
  HWND front = nullptr;
  HWND owner = nullptr;
  bool enabled_meanwhile = true;
  bool enabled_afterwards = false;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    front = GetForegroundWindow();
    EXPECT_EQ(front, dialog.Window());
    // On the thread of this user, which has no window.
    const DialogContent content = FullContent("Window of another thread");
    DialogRecorder recorder;
    contract::ShowToUser(content, recorder, [&](DialogUser&) {
      const HWND other = FindWindowW(nullptr, L"Window of another thread");
      owner = GetWindow(other, GW_OWNER);
      enabled_meanwhile = IsWindowEnabled(front) != FALSE;
    });
    enabled_afterwards = IsWindowEnabled(front) != FALSE;
  });
  EXPECT_EQ(owner, front);
  EXPECT_FALSE(enabled_meanwhile);
  EXPECT_TRUE(enabled_afterwards);
}

TEST_F(SimulatorDialogWindow, AThreadThatWaitsForTheDialogIsNotWaitedFor) {
  const ClientWindow client;
  SetForegroundWindow(client.Get());
  HWND owner = client.Get();
  contract::RunOnAnotherThread([&] {
    Show([&](DialogUser&, const DialogWindow& dialog) {
      owner = GetWindow(dialog.Window(), GW_OWNER);
    });
  });
  EXPECT_EQ(owner, nullptr);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

// ---- the keyboard ----

TEST_F(SimulatorDialogWindow, OkHasTheKeyboardAtFirst) {
  int focused = 0;
  Show([&](DialogUser&, const DialogWindow& dialog) { focused = dialog.Focused(); });
  EXPECT_EQ(focused, IDC_cmdOK);
}

TEST_F(SimulatorDialogWindow, WithOkDisabledTheFirstControlHasTheKeyboard) {
  content_.ok_enabled = false;
  int focused = 0;
  Show([&](DialogUser&, const DialogWindow& dialog) { focused = dialog.Focused(); });
  EXPECT_EQ(focused, IDC_cboMIF);
}

TEST_F(SimulatorDialogWindow, AControlThatIsDisabledHandsTheKeyboardOn) {
  recorder_.on_told = [this](const std::string&) {
    content_.Of(DialogCheck::chkEOL).enabled = false;
    RefreshSimulatorDialog();
  };
  int focused = 0;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_chkEOL));
    user.Click(platform::DialogCheck::chkEOL);
    focused = dialog.Focused();
  });
  EXPECT_EQ(focused, IDC_udReadingBox);
}

TEST_F(SimulatorDialogWindow, TheTabKeyFollowsTheColumns) {
  std::vector<int> order;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    HWND control = GetNextDlgTabItem(dialog.Window(), nullptr, FALSE);
    for (const HWND first = control; order.empty() || control != first;) {
      order.push_back(GetDlgCtrlID(control));
      control = GetNextDlgTabItem(dialog.Window(), control, FALSE);
    }
  });
  // The secondary box is disabled here.
  EXPECT_EQ(order, (std::vector<int>{IDC_cboMIF, IDC_cboVersion, IDC_udXpdrBox, IDC_chkUserID,
                                     IDC_chkEOL, IDC_udReadingBox, IDC_udTamperBox, IDC_udUtilBox,
                                     IDC_cboTXI, IDC_cboMSI, IDC_udThresholdBox, IDC_cboSignature0,
                                     IDC_cboSignature1, IDC_txtZentrelVersion, IDC_txtBattery,
                                     IDC_cmdOK, IDC_cmdNoXpdr, IDC_cmdNoZentrel}));
}

TEST_F(SimulatorDialogWindow, EnterPressesOkFromAnyBox) {
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_txtBattery));
    PressKey(dialog.Control(IDC_txtBattery), VK_RETURN);
    EXPECT_TRUE(Settle(user));
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{"button 0 OK"});
}

TEST_F(SimulatorDialogWindow, EnterPressesNothingWhenOkIsDisabled) {
  content_.ok_enabled = false;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_txtBattery));
    PressKey(dialog.Control(IDC_txtBattery), VK_RETURN);
    EXPECT_TRUE(Settle(user));
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{});
}

TEST_F(SimulatorDialogWindow, EnterSettlesTheSpinThatIsBeingTypedInto) {
  content_.Of(DialogSpin::udTamper).value = 17;
  std::wstring shown;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_udTamperBox));
    dialog.Type(IDC_udTamperBox, L"");
    PressKey(dialog.Control(IDC_udTamperBox), VK_RETURN);
    EXPECT_TRUE(Settle(user));
    shown = dialog.Text(IDC_udTamperBox);
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{"button 0 OK"});
  EXPECT_EQ(shown, L"17");
}

TEST_F(SimulatorDialogWindow, EscapeDoesNothing) {
  bool still_up = false;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    PressKey(dialog.Control(IDC_cmdOK), VK_ESCAPE);
    EXPECT_TRUE(Settle(user));
    still_up = user.SeesDialog();
  });
  EXPECT_TRUE(still_up);
  EXPECT_EQ(recorder_.OfUser(), Lines{});
}

constexpr LPARAM kWithAlt = 1 << 29;

TEST_F(SimulatorDialogWindow, AltF4ClosesItWithoutAButton) {
  bool gone = false;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    PostMessageW(dialog.Control(IDC_cmdOK), WM_SYSKEYDOWN, VK_F4, kWithAlt);
    gone = user.WaitFor([&user] { return !user.SeesDialog(); });
  });
  EXPECT_TRUE(gone);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogWindow, AltXAndAltZPressTheirButtons) {
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_cboTXI));
    PostMessageW(dialog.Control(IDC_cboTXI), WM_SYSCHAR, 'x', kWithAlt);
    EXPECT_TRUE(Settle(user));
    PostMessageW(dialog.Control(IDC_cboTXI), WM_SYSCHAR, 'z', kWithAlt);
    EXPECT_TRUE(Settle(user));
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"button 1 not OK", "button 2 not OK"}));
}

TEST_F(SimulatorDialogWindow, TheArrowKeysTurnASpinWithinItsRange) {
  content_.Of(DialogSpin::udTamper).value = 254;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_udTamperBox));
    const HWND box = dialog.Control(IDC_udTamperBox);
    for (const int key : {VK_UP, VK_UP, VK_DOWN}) {
      PressKey(box, key);
      EXPECT_TRUE(Settle(user));
    }
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"spin 2 255", "spin 2 254"}));
}

TEST_F(SimulatorDialogWindow, AClickOnTheArrowsTurnsASpin) {
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    const HWND arrows = dialog.Control(IDC_udReading);
    RECT area{};
    GetClientRect(arrows, &area);
    const LPARAM lower_half = MAKELPARAM(area.right / 2, area.bottom * 3 / 4);
    PostMessageW(arrows, WM_LBUTTONDOWN, MK_LBUTTON, lower_half);
    PostMessageW(arrows, WM_LBUTTONUP, 0, lower_half);
    EXPECT_TRUE(Settle(user));
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{"spin 1 16777214"});
}

TEST_F(SimulatorDialogWindow, TypedDigitsArriveOneByOneAndLettersNotAtAll) {
  content_.Of(DialogSpin::udTamper).value = 0;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_udTamperBox));
    const HWND box = dialog.Control(IDC_udTamperBox);
    SendMessageW(box, EM_SETSEL, 0, -1);
    for (const wchar_t letter : {L'2', L'x', L'5', L'-', L'9'}) {
      PostMessageW(box, WM_CHAR, letter, 1);
      EXPECT_TRUE(Settle(user));
    }
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"spin 2 2", "spin 2 25", "spin 2 255"}));
}

TEST_F(SimulatorDialogWindow, LeadingZerosStayWhileTypingAndGoWithTheKeyboard) {
  recorder_.on_told = [](const std::string&) { RefreshSimulatorDialog(); };
  content_.Of(DialogSpin::udTamper).value = 17;
  std::wstring typing;
  std::wstring left;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_udTamperBox));
    dialog.Type(IDC_udTamperBox, L"0017");
    typing = dialog.Text(IDC_udTamperBox);
    EXPECT_TRUE(Focus(dialog, IDC_cmdOK));
    left = dialog.Text(IDC_udTamperBox);
  });
  EXPECT_EQ(typing, L"0017");
  EXPECT_EQ(left, L"17");
  EXPECT_EQ(recorder_.OfUser(), Lines{});
}

TEST_F(SimulatorDialogWindow, ARefreshLeavesTheCursorWhereTheUserTypes) {
  recorder_.on_told = [this](const std::string& line) {
    content_.Of(DialogText::txtBattery) = line.substr(std::string("text 1 ").size());
    RefreshSimulatorDialog();
  };
  content_.Of(DialogText::txtBattery) = "5.20";
  std::wstring typed;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_txtBattery));
    const HWND box = dialog.Control(IDC_txtBattery);
    SendMessageW(box, EM_SETSEL, 0, 1);
    for (const wchar_t letter : {L'1', L'2'}) {
      PostMessageW(box, WM_CHAR, letter, 1);
      EXPECT_TRUE(Settle(user));
    }
    typed = dialog.Text(IDC_txtBattery);
  });
  EXPECT_EQ(typed, L"12.20");
}

// ---- a screen that is too small ----

constexpr LONG kBars = WS_HSCROLL | WS_VSCROLL;

RECT ViewOf(const DialogWindow& dialog) {
  RECT view{};
  GetClientRect(dialog.Window(), &view);
  return view;
}

// Where a control of the dialog is, seen from its upper left corner.
RECT PlaceIn(const DialogWindow& dialog, int id) {
  RECT place{};
  GetWindowRect(dialog.Control(id), &place);
  MapWindowPoints(nullptr, dialog.Window(), reinterpret_cast<POINT*>(&place), 2);
  return place;
}

constexpr int kKeyboardControls[] = {IDC_cboMIF,         IDC_cboVersion,
                                     IDC_udXpdrBox,      IDC_chkUserID,
                                     IDC_chkEOL,         IDC_udReadingBox,
                                     IDC_udTamperBox,    IDC_udUtilBox,
                                     IDC_cboTXI,         IDC_cboMSI,
                                     IDC_udThresholdBox, IDC_cboSignature0,
                                     IDC_cboSignature1,  IDC_txtZentrelVersion,
                                     IDC_txtBattery,     IDC_cmdNoXpdr,
                                     IDC_cmdNoZentrel,   IDC_cmdOK};

class SmallDialogWindow : public SimulatorDialogWindow {
 protected:
  // Shown with so much room only.
  void ShowIn(std::int32_t width, std::int32_t height,
              const std::function<void(DialogUser&, const DialogWindow&)>& act) {
    recorder_.on_placing = [=](platform::WindowPlace& place) {
      place.width = std::min(place.width, width);
      place.height = std::min(place.height, height);
    };
    Show([&](DialogUser& user, const DialogWindow& dialog) {
      SettleAll(user);
      act(user, dialog);
    });
  }
  // Also what the dialog does once it has dealt with a message.
  static void SettleAll(DialogUser& user) {
    EXPECT_TRUE(Settle(user));
    EXPECT_TRUE(Settle(user));
  }
  static void Scroll(DialogUser& user, const DialogWindow& dialog, UINT message, WORD code) {
    PostMessageW(dialog.Window(), message, code, 0);
    SettleAll(user);
  }

  static constexpr std::int32_t kWide = 5'000;
  static constexpr std::int32_t kLow = 200;
  static constexpr std::int32_t kNarrow = 400;
};

TEST_F(SmallDialogWindow, WithRoomForAllOfItNothingScrolls) {
  ShowIn(kWide, kWide, [](DialogUser& user, const DialogWindow& dialog) {
    const RECT before = PlaceIn(dialog, IDC_cmdOK);
    EXPECT_EQ(dialog.Bars(), 0);
    Scroll(user, dialog, WM_VSCROLL, SB_LINEDOWN);
    PostMessageW(dialog.Window(), WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
    SettleAll(user);
    const RECT after = PlaceIn(dialog, IDC_cmdOK);
    EXPECT_TRUE(EqualRect(&before, &after));
  });
}

TEST_F(SmallDialogWindow, ADialogThatIsTooTallHasOneBarAndKeepsItsWidth) {
  ShowIn(kWide, kLow, [](DialogUser&, const DialogWindow& dialog) {
    EXPECT_EQ(dialog.Bars(), WS_VSCROLL);
    EXPECT_GE(ViewOf(dialog).right, PlaceIn(dialog, IDC_fraZentrel).right);
    RECT window{};
    GetWindowRect(dialog.Window(), &window);
    EXPECT_EQ(window.bottom - window.top, kLow);
  });
}

TEST_F(SmallDialogWindow, TheKeyboardBringsEachControlIntoView) {
  ShowIn(kNarrow, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_EQ(dialog.Bars(), kBars);
    for (const int id : kKeyboardControls) {
      EXPECT_TRUE(Focus(dialog, id));
      SettleAll(user);
      EXPECT_TRUE(dialog.IsInView(id)) << id;
    }
  });
}

TEST_F(SmallDialogWindow, ComesUpWithItsBeginningUntilTheKeyboardMoves) {
  ShowIn(kNarrow, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    const auto shows_the_beginning = [&] {
      const RECT first = PlaceIn(dialog, IDC_fraMIF);
      return first.left >= 0 && first.top >= 0;
    };
    EXPECT_EQ(dialog.Focused(), IDC_cmdOK);
    EXPECT_TRUE(shows_the_beginning());
    // Away to another program, and back.
    contract::PostCall([&] {
      const HWND focused = SetFocus(nullptr);
      PostMessageW(dialog.Window(), WM_NULL, 0, 0);
      contract::PostCall([focused] { SetFocus(focused); });
    });
    SettleAll(user);
    SettleAll(user);
    EXPECT_EQ(dialog.Focused(), IDC_cmdOK);
    EXPECT_TRUE(shows_the_beginning());
    EXPECT_TRUE(Focus(dialog, IDC_cmdNoXpdr));
    SettleAll(user);
    EXPECT_TRUE(dialog.IsInView(IDC_cmdNoXpdr));
    EXPECT_FALSE(shows_the_beginning());
  });
}

TEST_F(SmallDialogWindow, TheBarsScrollFromEndToEnd) {
  ShowIn(kNarrow, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    Scroll(user, dialog, WM_VSCROLL, SB_TOP);
    Scroll(user, dialog, WM_HSCROLL, SB_LEFT);
    const RECT first = PlaceIn(dialog, IDC_fraMIF);
    EXPECT_GE(first.left, 0);
    EXPECT_GE(first.top, 0);
    Scroll(user, dialog, WM_VSCROLL, SB_LINEUP);
    EXPECT_EQ(PlaceIn(dialog, IDC_fraMIF).top, first.top) << "beyond the end";
    Scroll(user, dialog, WM_VSCROLL, SB_LINEDOWN);
    EXPECT_LT(PlaceIn(dialog, IDC_fraMIF).top, first.top);
    Scroll(user, dialog, WM_HSCROLL, SB_PAGERIGHT);
    EXPECT_LT(PlaceIn(dialog, IDC_fraMIF).left, first.left);
    Scroll(user, dialog, WM_VSCROLL, SB_BOTTOM);
    Scroll(user, dialog, WM_HSCROLL, SB_RIGHT);
    EXPECT_TRUE(dialog.IsInView(IDC_cmdNoZentrel));
  });
}

TEST_F(SmallDialogWindow, TheWheelScrollsUpAndDown) {
  ShowIn(kWide, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    Scroll(user, dialog, WM_VSCROLL, SB_TOP);
    const LONG top = PlaceIn(dialog, IDC_fraMIF).top;
    const auto turn = [&](int wheel) {
      PostMessageW(dialog.Window(), WM_MOUSEWHEEL, MAKEWPARAM(0, wheel), 0);
      SettleAll(user);
      return PlaceIn(dialog, IDC_fraMIF).top;
    };
    const LONG lower = turn(-WHEEL_DELTA);
    EXPECT_LT(lower, top);
    EXPECT_EQ(turn(WHEEL_DELTA), top);
    for (int i = 0; i < 4; ++i) turn(-WHEEL_DELTA / 4);
    EXPECT_NEAR(PlaceIn(dialog, IDC_fraMIF).top, lower, 1) << "in small pieces";
  });
}

// The operating system sends it to the window below the pointer, or to the one with the keyboard.
TEST_F(SmallDialogWindow, TheWheelOverAControlScrollsAndChangesNoValue) {
  ShowIn(kWide, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    for (const int id : {IDC_cboVersion, IDC_udReading, IDC_udReadingBox}) {
      Scroll(user, dialog, WM_VSCROLL, SB_TOP);
      const LONG top = PlaceIn(dialog, IDC_fraMIF).top;
      PostMessageW(dialog.Control(id), WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
      SettleAll(user);
      EXPECT_LT(PlaceIn(dialog, IDC_fraMIF).top, top) << id;
    }
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{});
}

TEST_F(SmallDialogWindow, TheWheelTurnsAListThatIsDroppedDown) {
  ShowIn(kWide, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    const HWND list = dialog.Control(IDC_cboVersion);
    EXPECT_TRUE(Focus(dialog, IDC_cboVersion));
    SettleAll(user);
    const RECT before = PlaceIn(dialog, IDC_cboVersion);
    SendMessageW(list, CB_SHOWDROPDOWN, TRUE, 0);
    EXPECT_NE(SendMessageW(list, CB_GETDROPPEDSTATE, 0, 0), 0);
    for (const HWND target : {list, dialog.Window()}) {
      PostMessageW(target, WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
      SettleAll(user);
      const RECT after = PlaceIn(dialog, IDC_cboVersion);
      EXPECT_TRUE(EqualRect(&before, &after));
    }
  });
}

TEST_F(SimulatorDialogWindow, TheWheelIsTheControlsWhereNothingScrolls) {
  content_.Of(DialogList::cboVersion).selected = 0;
  LRESULT selected = 0;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_cboVersion));
    PostMessageW(dialog.Control(IDC_cboVersion), WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
    EXPECT_TRUE(Settle(user));
    selected = SendMessageW(dialog.Control(IDC_cboVersion), CB_GETCURSEL, 0, 0);
  });
  EXPECT_EQ(selected, 1);
}

TEST_F(SmallDialogWindow, ATiltedWheelScrollsAcross) {
  ShowIn(kNarrow, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    const RECT before = PlaceIn(dialog, IDC_fraMIF);
    for (const HWND target : {dialog.Window(), dialog.Control(IDC_cboMIF)}) {
      const LONG left = PlaceIn(dialog, IDC_fraMIF).left;
      PostMessageW(target, WM_MOUSEHWHEEL, MAKEWPARAM(0, WHEEL_DELTA), 0);
      SettleAll(user);
      EXPECT_LT(PlaceIn(dialog, IDC_fraMIF).left, left);
    }
    for (int i = 0; i < 2; ++i) {
      PostMessageW(dialog.Window(), WM_MOUSEHWHEEL, MAKEWPARAM(0, -WHEEL_DELTA), 0);
    }
    SettleAll(user);
    const RECT after = PlaceIn(dialog, IDC_fraMIF);
    EXPECT_TRUE(EqualRect(&before, &after));
  });
}

TEST_F(SmallDialogWindow, TheArrowsOfASpinTurnItAndScrollNothing) {
  ShowIn(kWide, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_TRUE(Focus(dialog, IDC_udReadingBox));
    SettleAll(user);
    const RECT before = PlaceIn(dialog, IDC_udReading);
    const LPARAM below = MAKELPARAM(3, (before.bottom - before.top) * 3 / 4);
    PostMessageW(dialog.Control(IDC_udReading), WM_LBUTTONDOWN, MK_LBUTTON, below);
    PostMessageW(dialog.Control(IDC_udReading), WM_LBUTTONUP, 0, below);
    SettleAll(user);
    // What arrows tell the dialog, with whatever code.
    const auto arrows = reinterpret_cast<LPARAM>(dialog.Control(IDC_udReading));
    for (const int code : {SB_PAGEUP, SB_PAGEDOWN}) {
      PostMessageW(dialog.Window(), WM_VSCROLL, static_cast<WPARAM>(code), arrows);
      SettleAll(user);
      const RECT after = PlaceIn(dialog, IDC_udReading);
      EXPECT_TRUE(EqualRect(&before, &after));
    }
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{"spin 1 16777214"});
}

TEST_F(SmallDialogWindow, TheButtonsBelowTheLineAreReached) {
  content_.notice = "A line";
  ShowIn(kWide, kLow, [](DialogUser& user, const DialogWindow& dialog) {
    Scroll(user, dialog, WM_VSCROLL, SB_TOP);
    EXPECT_FALSE(dialog.IsInView(IDC_lblNotice));
    Scroll(user, dialog, WM_VSCROLL, SB_BOTTOM);
    EXPECT_TRUE(dialog.IsInView(IDC_cmdOK));
    EXPECT_TRUE(dialog.IsInView(IDC_lblNotice));
  });
}

TEST_F(SmallDialogWindow, WithMoreRoomAllOfItIsShown) {
  struct News {
    UINT message;
    WPARAM wide;
  };
  for (const News news : {News{WM_DISPLAYCHANGE, 32}, News{WM_SETTINGCHANGE, SPI_SETWORKAREA}}) {
    ShowIn(kNarrow, kLow, [news](DialogUser& user, const DialogWindow& dialog) {
      EXPECT_EQ(dialog.Bars(), kBars);
      SendMessageW(dialog.Window(), news.message, news.wide, 0);
      SettleAll(user);
      EXPECT_EQ(dialog.Bars(), 0);
      EXPECT_TRUE(dialog.IsInView(IDC_fraMIF));
      EXPECT_TRUE(dialog.IsInView(IDC_cmdNoZentrel));
    });
  }
}

// Brings the dialog and all its controls to half their size, as the operating system does where
// the dialog comes to a screen of another resolution.
void HalveAll(HWND dialog) {
  const auto halve = [dialog](HWND window, HWND parent) {
    RECT rect{};
    GetWindowRect(window, &rect);
    MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&rect), 2);
    const int shrink = window == dialog ? 1 : 2;
    SetWindowPos(window, nullptr, rect.left / shrink, rect.top / shrink,
                 (rect.right - rect.left) / 2, (rect.bottom - rect.top) / 2,
                 SWP_NOZORDER | SWP_NOACTIVATE);
  };
  RECT suggested{};
  GetWindowRect(dialog, &suggested);
  SendMessageW(dialog, WM_DPICHANGED, MAKEWPARAM(96, 96), reinterpret_cast<LPARAM>(&suggested));
  halve(dialog, nullptr);
  for (HWND control = GetWindow(dialog, GW_CHILD); control != nullptr;
       control = GetWindow(control, GW_HWNDNEXT)) {
    halve(control, dialog);
  }
}

TEST_F(SmallDialogWindow, OnAScreenOfAnotherResolutionItHasTheSizeThatItsControlsNeedThere) {
  for (const std::int32_t height : {kWide, kLow}) {
    ShowIn(kWide, height, [](DialogUser& user, const DialogWindow& dialog) {
      Scroll(user, dialog, WM_VSCROLL, SB_BOTTOM);
      contract::PostCall([&] { HalveAll(dialog.Window()); });
      SettleAll(user);
      SettleAll(user);
      SendMessageW(dialog.Window(), WM_DISPLAYCHANGE, 32, 0);
      SettleAll(user);
      EXPECT_EQ(dialog.Bars(), 0);
      EXPECT_TRUE(dialog.IsInView(IDC_fraMIF));
      EXPECT_TRUE(dialog.IsInView(IDC_cmdNoZentrel));
      const LONG end = PlaceIn(dialog, IDC_cmdNoZentrel).bottom;
      EXPECT_LT(ViewOf(dialog).bottom, end + end / 4);
      EXPECT_GT(ViewOf(dialog).bottom, end);
    });
  }
}

// ---- what can be read ----

TEST_F(SimulatorDialogWindow, HasTheAgreedCaptions) {
  const std::vector<std::pair<int, std::wstring>> captions = {
      {IDC_lblVersion, L"Travonel (NOT MIF) Version"},
      {IDC_chkUserID, L"ID source toggle"},
      {IDC_chkSecondary, L"Secondary"},
      {IDC_lblTXI, L"Transmit Interval"},
      {IDC_Frame1, L"Leak Detection"},
      {IDC_chkEOL, L"EOL OK"},
      {IDC_lblZentrelVersion, L"Version (X.X)"},
      {IDC_lblBattery, L"Battery (0.00)"},
      {IDC_cmdNoXpdr, L"No &Xpdr"},
      {IDC_cmdNoZentrel, L"No &Zentrel"},
  };
  Show([&](DialogUser&, const DialogWindow& dialog) {
    for (const auto& [id, caption] : captions) EXPECT_EQ(dialog.Text(id), caption);
  });
}

TEST_F(SimulatorDialogWindow, HasAFixedBorderAndACloseBox) {
  LONG style = 0;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    style = GetWindowLongW(dialog.Window(), GWL_STYLE);
  });
  EXPECT_EQ(style & (WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX), 0);
  EXPECT_NE(style & WS_SYSMENU, 0);
}

// Whether a button is of the library with the visual styles: no other one knows its ideal size.
bool IsStyled(HWND button) {
  SIZE size{};
  return SendMessageW(button, BCM_GETIDEALSIZE, 0, reinterpret_cast<LPARAM>(&size)) != FALSE;
}

TEST_F(SimulatorDialogWindow, HasTheVisualStylesAndGivesThemToNoWindowOfTheClient) {
  const auto make_button = [] {
    return CreateWindowExW(0, L"BUTTON", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr,
                           nullptr);
  };
  HWND of_client = nullptr;
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    for (const int id : {IDC_cmdOK, IDC_chkEOL}) EXPECT_TRUE(IsStyled(dialog.Control(id))) << id;
    contract::PostCall([&] { of_client = make_button(); });
    EXPECT_TRUE(Settle(user));
  });
  EXPECT_NE(of_client, nullptr);
  EXPECT_FALSE(IsStyled(of_client));
  DestroyWindow(of_client);
  const HWND afterwards = make_button();
  EXPECT_FALSE(IsStyled(afterwards));
  DestroyWindow(afterwards);
}

struct Control {
  HWND window;
  int id;
  std::wstring kind;
  LONG style;
  RECT place;  // within the dialog
};

std::vector<Control> ControlsOf(const DialogWindow& dialog) {
  std::vector<Control> controls;
  for (HWND window = GetWindow(dialog.Window(), GW_CHILD); window != nullptr;
       window = GetWindow(window, GW_HWNDNEXT)) {
    wchar_t kind[32] = {};
    GetClassNameW(window, kind, 32);
    CharLowerW(kind);
    Control control{window, GetDlgCtrlID(window), kind, GetWindowLongW(window, GWL_STYLE), {}};
    GetWindowRect(window, &control.place);
    MapWindowPoints(nullptr, dialog.Window(), reinterpret_cast<POINT*>(&control.place), 2);
    controls.push_back(control);
  }
  return controls;
}

bool IsGroupBox(const Control& control) {
  return control.kind == L"button" && (control.style & BS_TYPEMASK) == BS_GROUPBOX;
}

// Size of a text in the control's font, on lines of at most `width` when one is given.
SIZE Measure(const Control& control, std::wstring text, UINT flags, LONG width) {
  const HDC device = GetDC(control.window);
  const HGDIOBJ before = SelectObject(
      device, reinterpret_cast<HGDIOBJ>(SendMessageW(control.window, WM_GETFONT, 0, 0)));
  RECT area{0, 0, width, 0};
  DrawTextW(device, text.data(), static_cast<int>(text.size()), &area, flags | DT_CALCRECT);
  SelectObject(device, before);
  ReleaseDC(control.window, device);
  return {area.right, area.bottom};
}

// What the control needs beside its text, in pixels: the mark of a check box, the edge of a button,
// the corners of a frame.
LONG Margin(const Control& control) {
  if (control.kind != L"button") return 0;
  const LONG type = control.style & BS_TYPEMASK;
  if (type == BS_AUTOCHECKBOX) return GetSystemMetrics(SM_CXMENUCHECK) + 4;
  return type == BS_GROUPBOX ? 18 : 12;
}

void ExpectTextFits(const Control& control) {
  const std::wstring text = DialogWindow(control.window).Title();
  const LONG room = control.place.right - control.place.left - Margin(control);
  const bool is_notice = control.id == IDC_lblNotice;
  UINT flags = is_notice ? DT_WORDBREAK : DT_SINGLELINE;
  if ((control.style & SS_NOPREFIX) != 0 && control.kind == L"static") flags |= DT_NOPREFIX;
  const SIZE size = Measure(control, text, flags, room);
  EXPECT_LE(size.cx, room) << platform::WideToUtf8(text);
  if (!IsGroupBox(control)) {
    EXPECT_LE(size.cy, control.place.bottom - control.place.top) << platform::WideToUtf8(text);
  }
}

TEST_F(SimulatorDialogWindow, NoCaptionIsCut) {
  content_.msi_caption = "Pulses per revolution";
  content_.tamper_caption = "Tamper";
  content_.notice =
      "The values cannot be stored: access to the registry is denied. They hold until the "
      "program ends, and the next one starts from what was stored before.";
  int measured = 0;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    for (const Control& control : ControlsOf(dialog)) {
      if (control.kind != L"static" && control.kind != L"button") continue;
      ExpectTextFits(control);
      ++measured;
    }
  });
  EXPECT_EQ(measured, 25);
}

TEST_F(SimulatorDialogWindow, TheLargestNumbersCanBeRead) {
  for (DialogContent::Spin& spin : content_.spins) spin.value = spin.maximum;
  int measured = 0;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    for (const Control& control : ControlsOf(dialog)) {
      if (control.kind != L"edit") continue;
      RECT area{};
      SendMessageW(control.window, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&area));
      const SIZE size =
          Measure(control, DialogWindow(control.window).Title(), DT_SINGLELINE | DT_NOPREFIX, 0);
      EXPECT_LE(size.cx, area.right - area.left);
      EXPECT_LE(size.cy, area.bottom - area.top);
      ++measured;
    }
  });
  EXPECT_EQ(measured, 7);
}

TEST_F(SimulatorDialogWindow, AnOpenListIsWideEnoughForItsEntries) {
  content_.Of(DialogList::cboVersion).items[0].text =
      "4.0 with a remark that is a good deal wider than the box is";
  LRESULT width = 0;
  LONG needed = 0;
  Show([&](DialogUser&, const DialogWindow& dialog) {
    const HWND list = dialog.Control(IDC_cboVersion);
    width = SendMessageW(list, CB_GETDROPPEDWIDTH, 0, 0);
    const Control control{list, IDC_cboVersion, L"combobox", 0, {}};
    needed =
        Measure(control, platform::Utf8ToWide(content_.Of(DialogList::cboVersion).items[0].text),
                DT_NOPREFIX, 0)
            .cx;
  });
  EXPECT_GE(width, needed);
}

TEST_F(SimulatorDialogWindow, NoControlCoversAnotherOrLeavesTheDialog) {
  content_.notice = "A line";
  Show([&](DialogUser&, const DialogWindow& dialog) {
    RECT area{};
    GetClientRect(dialog.Window(), &area);
    const std::vector<Control> controls = ControlsOf(dialog);
    for (std::size_t i = 0; i < controls.size(); ++i) {
      const Control& one = controls[i];
      RECT both{};
      UnionRect(&both, &area, &one.place);
      EXPECT_TRUE(EqualRect(&both, &area)) << one.id;
      for (std::size_t j = i + 1; j < controls.size(); ++j) {
        // A frame is around others, but never across another frame.
        if (IsGroupBox(one) != IsGroupBox(controls[j])) continue;
        // A spin's arrows share an edge with their box.
        if (j == i + 1 && controls[j].kind == UPDOWN_CLASSW) continue;
        EXPECT_FALSE(IntersectRect(&both, &one.place, &controls[j].place))
            << one.id << " and " << controls[j].id;
      }
    }
  });
}

// ---- the layout ----

RECT PlaceOf(const DialogWindow& dialog, int id) {
  RECT place{};
  GetWindowRect(dialog.Control(id), &place);
  MapWindowPoints(nullptr, dialog.Window(), reinterpret_cast<POINT*>(&place), 2);
  return place;
}

TEST_F(SimulatorDialogWindow, EachColumnHasOneRightEdge) {
  const std::vector<std::vector<int>> columns = {
      {IDC_cboMIF, IDC_cboVersion, IDC_udXpdr, IDC_cboSignature0, IDC_cboSignature1},
      {IDC_udReading, IDC_udTamper, IDC_udUtil, IDC_cboTXI, IDC_cboMSI, IDC_udThreshold,
       IDC_txtZentrelVersion, IDC_txtBattery},
      {IDC_fraMIF, IDC_fraID},
      {IDC_fraData, IDC_Frame1, IDC_fraZentrel, IDC_cmdNoZentrel, IDC_lblNotice}};
  Show([&](DialogUser&, const DialogWindow& dialog) {
    for (const std::vector<int>& column : columns) {
      for (const int id : column) {
        EXPECT_EQ(PlaceOf(dialog, id).right, PlaceOf(dialog, column.front()).right) << id;
      }
    }
  });
}

TEST_F(SimulatorDialogWindow, BoxesAreAsTallAsLists) {
  Show([&](DialogUser&, const DialogWindow& dialog) {
    const RECT list = PlaceOf(dialog, IDC_cboVersion);
    for (const int id : {IDC_udXpdrBox, IDC_udXpdr, IDC_udThresholdBox, IDC_txtBattery}) {
      const RECT box = PlaceOf(dialog, id);
      EXPECT_EQ(box.bottom - box.top, list.bottom - list.top) << id;
    }
  });
}

TEST_F(SimulatorDialogWindow, HasRoomForTheNoticeOnlyWhileThereIsOne) {
  // From the frames to the buttons, and from them to the lower edge.
  struct Room {
    LONG above;
    LONG below;
  };
  const auto room = [](const DialogWindow& dialog) {
    const RECT button = PlaceOf(dialog, IDC_cmdOK);
    RECT area{};
    GetClientRect(dialog.Window(), &area);
    return Room{button.top - PlaceOf(dialog, IDC_fraZentrel).bottom, area.bottom - button.bottom};
  };
  recorder_.on_told = [this](const std::string&) {
    content_.notice = content_.notice.empty() ? "A line" : "";
    RefreshSimulatorDialog();
  };
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    const Room without = room(dialog);
    EXPECT_NEAR(without.above, without.below, 1);  // dialog units are not whole pixels
    user.Click(platform::DialogCheck::chkEOL);
    const Room with = room(dialog);
    const RECT notice = PlaceOf(dialog, IDC_lblNotice);
    EXPECT_EQ(with.below, without.below);
    EXPECT_EQ(PlaceOf(dialog, IDC_cmdOK).top - notice.bottom, without.above);
    EXPECT_GT(notice.top, PlaceOf(dialog, IDC_fraZentrel).bottom);
    user.Click(platform::DialogCheck::chkEOL);
    EXPECT_EQ(room(dialog).above, without.above);
    EXPECT_EQ(room(dialog).below, without.below);
  });
}

TEST_F(SimulatorDialogWindow, GrowsAtTheLowerEdgeOfTheScreenWithoutLeavingIt) {
  recorder_.on_told = [this](const std::string&) {
    content_.notice = "A line";
    RefreshSimulatorDialog();
  };
  Show([&](DialogUser& user, const DialogWindow&) {
    const platform::WindowPlace before = user.Place();
    const platform::WindowPlace area = platform::WorkAreaNearest(before);
    user.Move(area.left, area.top + area.height - before.height);
    user.Click(platform::DialogCheck::chkEOL);
    const platform::WindowPlace grown = user.Place();
    EXPECT_GT(grown.height, before.height);
    EXPECT_EQ(grown.top + grown.height, area.top + area.height);
  });
}

TEST_F(SimulatorDialogWindow, VersionAndBatteryTakeNoMoreLettersThanTheyShow) {
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    for (const int id : {IDC_txtZentrelVersion, IDC_txtBattery}) {
      EXPECT_TRUE(Focus(dialog, id));
      const HWND box = dialog.Control(id);
      SendMessageW(box, EM_SETSEL, 0, -1);
      for (int i = 0; i < 40; ++i) PostMessageW(box, WM_CHAR, '8', 1);
      EXPECT_TRUE(Settle(user));
      const std::wstring typed = dialog.Text(id);
      EXPECT_EQ(typed.size(), 12U);
      RECT area{};
      SendMessageW(box, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&area));
      const SIZE size = Measure({box, id, L"edit", 0, {}}, typed, DT_SINGLELINE, 0);
      EXPECT_LE(size.cx, area.right - area.left);
    }
  });
}

// The tip that the mouse would bring up over a label; empty for none.
std::wstring TipOf(const DialogWindow& dialog, int id) {
  const auto tips_of = [](HWND owner) {
    HWND tips = nullptr;
    while ((tips = FindWindowExW(nullptr, tips, TOOLTIPS_CLASSW, nullptr)) != nullptr) {
      if (GetWindow(tips, GW_OWNER) == owner) return tips;
    }
    throw std::runtime_error("the dialog has no tips");
  };
  wchar_t text[1024] = {};
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V2_SIZE;
  tool.hwnd = dialog.Window();
  tool.uId = reinterpret_cast<UINT_PTR>(dialog.Control(id));
  tool.lpszText = text;
  SendMessageW(tips_of(dialog.Window()), TTM_GETTEXTW, std::size(text),
               reinterpret_cast<LPARAM>(&tool));
  return text;
}

TEST_F(SimulatorDialogWindow, ACaptionThatEndsInAnEllipsisHasATip) {
  const std::string long_caption = "Litres of water & steam for each of the pulses counted";
  content_.msi_caption = long_caption;
  recorder_.on_told = [this](const std::string&) {
    content_.msi_caption = "Dials & digits";
    RefreshSimulatorDialog();
  };
  Show([&](DialogUser& user, const DialogWindow& dialog) {
    EXPECT_EQ(TipOf(dialog, IDC_lblMSI), platform::Utf8ToWide(long_caption));
    EXPECT_EQ(TipOf(dialog, IDC_lblTamper), L"");
    user.Click(platform::DialogCheck::chkEOL);
    EXPECT_EQ(TipOf(dialog, IDC_lblMSI), L"");
  });
}

}  // namespace
}  // namespace qmzentrel
