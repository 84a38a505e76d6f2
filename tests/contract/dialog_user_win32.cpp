// The user of the real dialog, who acts on it by messages from a thread of its own.
#include <windows.h>

// After it, which it needs.
#include <commctrl.h>

#include <array>
#include <atomic>
#include <stdexcept>

#include "platform/win32/handle.h"
#include "platform/win32/simulator_dialog_controls.h"
#include "platform/win32/wide.h"
#include "tests/automation/system_scenes.h"
#include "tests/contract/harness.h"
#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel::contract {
namespace {

using dialog_driver::DialogWindow;
using platform::DialogButton;
using platform::DialogCheck;
using platform::DialogContent;
using platform::DialogList;
using platform::DialogSpin;
using platform::DialogText;
using platform::Utf8ToWide;
using platform::WideToUtf8;

constexpr DWORD kUserPatienceMs = 10'000;

constexpr std::array<int, platform::kDialogLists> kLists = {
    IDC_cboMIF, IDC_cboVersion, IDC_cboTXI, IDC_cboMSI, IDC_cboSignature0, IDC_cboSignature1};
constexpr std::array<int, platform::kDialogChecks> kChecks = {IDC_chkUserID, IDC_chkSecondary,
                                                              IDC_chkEOL};
constexpr std::array<int, platform::kDialogSpins> kSpins = {IDC_udXpdr, IDC_udReading, IDC_udTamper,
                                                            IDC_udUtil, IDC_udThreshold};
constexpr std::array<int, platform::kDialogSpins> kSpinBoxes = {
    IDC_udXpdrBox, IDC_udReadingBox, IDC_udTamperBox, IDC_udUtilBox, IDC_udThresholdBox};
constexpr std::array<int, platform::kDialogTexts> kTexts = {IDC_txtZentrelVersion, IDC_txtBattery};
constexpr std::array<int, 3> kButtons = {IDC_cmdOK, IDC_cmdNoXpdr, IDC_cmdNoZentrel};

template <class Array, class Name>
int IdOf(const Array& ids, Name name) {
  return ids.at(static_cast<std::size_t>(name));
}

class RealUser final : public DialogUser {
 public:
  explicit RealUser(DialogWindow dialog) : dialog_(dialog) {}

  DialogContent Shown() override {
    DialogContent shown;
    shown.caption = WideToUtf8(dialog_.Title());
    for (std::size_t i = 0; i < kLists.size(); ++i) {
      for (const dialog_driver::Entry& entry : dialog_.Entries(kLists[i])) {
        shown.lists[i].items.push_back({WideToUtf8(entry.text), entry.data});
      }
      shown.lists[i].selected = dialog_.Selected(kLists[i]);
    }
    for (std::size_t i = 0; i < kChecks.size(); ++i) {
      shown.checks[i] = {dialog_.IsTicked(kChecks[i]), dialog_.IsEnabled(kChecks[i])};
    }
    for (std::size_t i = 0; i < kSpins.size(); ++i) {
      int maximum = 0;
      SendMessageW(dialog_.Control(kSpins[i]), UDM_GETRANGE32, 0,
                   reinterpret_cast<LPARAM>(&maximum));
      // What can be read in the box counts.
      const std::wstring text = dialog_.Text(kSpinBoxes[i]);
      shown.spins[i] = {text.empty() ? -1 : std::stoi(text), maximum};
    }
    for (std::size_t i = 0; i < kTexts.size(); ++i) {
      shown.texts[i] = WideToUtf8(dialog_.Text(kTexts[i]));
    }
    shown.msi_caption = WideToUtf8(dialog_.Text(IDC_lblMSI));
    shown.tamper_caption = WideToUtf8(dialog_.Text(IDC_lblTamper));
    shown.ok_enabled = dialog_.IsEnabled(IDC_cmdOK);
    if (dialog_.IsVisible(IDC_lblNotice)) shown.notice = WideToUtf8(dialog_.Text(IDC_lblNotice));
    return shown;
  }
  platform::WindowPlace Place() override {
    RECT rect{};
    GetWindowRect(dialog_.Window(), &rect);
    return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
  }
  bool SeesDialog() override { return dialog_.IsUp(); }
  void Choose(DialogList list, std::int32_t index) override {
    dialog_.Choose(IdOf(kLists, list), index);
  }
  void Click(DialogCheck check) override { dialog_.Click(IdOf(kChecks, check)); }
  void Turn(DialogSpin spin, std::int32_t value) override {
    dialog_.Turn(IdOf(kSpins, spin), value);
  }
  void Type(DialogSpin spin, const std::string& typed) override {
    dialog_.Type(IdOf(kSpinBoxes, spin), Utf8ToWide(typed));
  }
  void Type(DialogText text, const std::string& typed) override {
    dialog_.Type(IdOf(kTexts, text), Utf8ToWide(typed));
  }
  void Press(DialogButton button) override { dialog_.Click(IdOf(kButtons, button)); }
  void CloseBox() override { dialog_.CloseBox(); }
  void Move(std::int32_t left, std::int32_t top) override {
    SetWindowPos(dialog_.Window(), nullptr, left, top, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
  bool WaitFor(const std::function<bool()>& come) override {
    for (const DWORD begin = GetTickCount(); !come(); Sleep(10)) {
      if (GetTickCount() - begin > kUserPatienceMs) return false;
    }
    return true;
  }

 private:
  DialogWindow dialog_;
};

struct UserAtWork {
  std::wstring title;
  const std::function<void(DialogUser&)>& act;
  std::atomic<bool> shown_no_more{false};
  std::exception_ptr failure{};
};

void Act(UserAtWork& user) {
  const auto dialog = DialogWindow::WaitFor(user.title, kUserPatienceMs,
                                            [&user] { return user.shown_no_more.load(); });
  // A dialog that ended before anybody could see it has no user.
  if (!dialog) return;
  RealUser real_user(*dialog);
  user.act(real_user);
  if (dialog->IsUp()) dialog->CloseBox();
}

DWORD WINAPI UserThread(void* parameter) {
  auto& user = *static_cast<UserAtWork*>(parameter);
  try {
    Act(user);
  } catch (...) {
    user.failure = std::current_exception();
    if (const HWND window = FindWindowW(nullptr, user.title.c_str())) {
      PostMessageW(window, WM_CLOSE, 0, 0);
    }
  }
  return 0;
}

}  // namespace

bool ShowToUser(const DialogContent& content, platform::DialogPresenter& presenter,
                const std::function<void(DialogUser& user)>& user) {
  UserAtWork at_work{Utf8ToWide(content.caption), user};
  const platform::OwnedHandle thread(CreateThread(nullptr, 0, UserThread, &at_work, 0, nullptr));
  const auto finish = [&] {
    at_work.shown_no_more = true;
    WaitForSingleObject(thread.Get(), INFINITE);
  };
  bool shown = false;
  try {
    shown = platform::ShowSimulatorDialog(content, presenter);
  } catch (...) {
    finish();
    throw;
  }
  finish();
  if (at_work.failure) std::rethrow_exception(at_work.failure);
  return shown;
}

namespace {

// Reads and closes message boxes until no more are shown.
struct MessageReader {
  std::wstring title;
  std::atomic<bool> shown_no_more{false};
  std::vector<std::string> texts{};
};

DWORD WINAPI ReadMessages(void* parameter) {
  auto& reader = *static_cast<MessageReader*>(parameter);
  const auto give_up = [&reader] { return reader.shown_no_more.load(); };
  while (const auto box = DialogWindow::WaitFor(reader.title, kUserPatienceMs, give_up)) {
    reader.texts.push_back(WideToUtf8(box->Message()));
    box->CloseBox();
    if (!box->WaitUntilGone(kUserPatienceMs)) break;
  }
  return 0;
}

}  // namespace

std::vector<std::string> MessagesSeen(const std::string& title, const std::function<void()>& body) {
  MessageReader reader{Utf8ToWide(title)};
  const platform::OwnedHandle thread(CreateThread(nullptr, 0, ReadMessages, &reader, 0, nullptr));
  body();
  reader.shown_no_more = true;
  WaitForSingleObject(thread.Get(), INFINITE);
  return reader.texts;
}

void WithoutDesktop(const std::function<void()>& body) {
  automation::WithoutDesktop(body);
}

platform::PointerShape PointerNow() {
  const HCURSOR cursor = GetCursor();
  if (cursor == LoadCursorW(nullptr, IDC_ARROW)) return platform::PointerShape::kArrow;
  if (cursor == LoadCursorW(nullptr, IDC_WAIT)) return platform::PointerShape::kHourglass;
  throw std::runtime_error("the pointer has another shape");
}

}  // namespace qmzentrel::contract
