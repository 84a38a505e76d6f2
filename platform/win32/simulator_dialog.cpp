#include "platform/simulator_dialog.h"

#include <windows.h>

#include <algorithm>
#include <exception>
#include <optional>

#include "platform/apartment.h"
#include "platform/hardware_faults.h"
#include "platform/win32/client_window.h"
#include "platform/win32/locked_windows.h"
#include "platform/win32/process_end.h"
#include "platform/win32/simulator_dialog_view.h"
#include "platform/win32/this_module.h"
#include "platform/win32/thread_messages.h"
#include "platform/win32/visual_styles.h"
#include "platform/win32/wide.h"
#include "platform/win32/window_place.h"
#include "platform/win32/window_text.h"

namespace qmzentrel::platform {
namespace {

template <class Ids>
std::optional<std::size_t> IndexOf(const Ids& ids, int id) {
  const auto found = std::ranges::find(ids, id);
  if (found == ids.end()) return std::nullopt;
  return static_cast<std::size_t>(found - ids.begin());
}

// A wait for messages sees that something has changed: a message that was sent does not end it.
void WakeThread() {
  PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

// One showing of the dialog, on the thread that shows it.
class Dialog {
 public:
  Dialog(const DialogContent& content, DialogPresenter& presenter)
      : content_(content), presenter_(presenter) {}
  ~Dialog() { End(); }
  Dialog(const Dialog&) = delete;
  Dialog& operator=(const Dialog&) = delete;

  /// Whether a window was made. Throws what the presenter has thrown.
  bool Show();
  void Refresh();
  void Hide();
  INT_PTR OnMessage(HWND window, UINT message, WPARAM wide, LPARAM parameter);

 private:
  INT_PTR Answer(HWND window, UINT message, WPARAM wide, LPARAM parameter);
  void Make();
  void Begin();
  void Reveal();
  void WaitForEnd();
  void GiveBackInput();
  void End();
  WindowPlace DefaultPlace() const;
  void OnCommand(int id, int code);
  void OnListChosen(std::size_t list);
  void OnCheckClicked(std::size_t check);
  void OnSpinTyped(std::size_t spin);
  void OnButtonPressed(std::size_t button);

  const DialogContent& content_;
  DialogPresenter& presenter_;
  const VisualStyles styles_{ThisModule(), IDR_visual_styles};
  DialogView view_;
  const HWND owner_ = ClientWindow();
  std::optional<LockedWindows> locked_;
  HWND window_ = nullptr;
  bool made_ = false;
  bool placed_ = false;
  bool ending_ = false;
  std::exception_ptr failure_;
  std::optional<int> quit_code_;
};

// Called by the operating system, which keeps the stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) INT_PTR CALLBACK OnDialogMessage(HWND window, UINT message,
                                                                          WPARAM wide,
                                                                          LPARAM parameter) {
  if (ProcessEnds()) return FALSE;  // This thread has ended it, in a message to another window.
  if (message == WM_INITDIALOG) SetWindowLongPtrW(window, DWLP_USER, parameter);
  auto* const dialog = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
  // Some messages come before the first one.
  if (dialog == nullptr) return FALSE;
  return CalledFromOutside([&] { return dialog->OnMessage(window, message, wide, parameter); });
}

// A loop of its own, and none of the operating system's: there every window that the client makes
// meanwhile would have our styles.
bool Dialog::Show() {
  {
    const ClientCode windows_of_the_client;
    locked_.emplace(owner_);
    Make();
    if (!ending_) CallOut([this] { Reveal(); });
    WaitForEnd();
    End();
  }
  if (quit_code_) PostQuitMessage(*quit_code_);
  if (failure_) std::rethrow_exception(failure_);
  return made_;
}

void Dialog::Make() {
  const VisualStyles::ForNewWindows styled(styles_);
  const HWND made = CallOut([this] {
    return CreateDialogParamW(ThisModule(), MAKEINTRESOURCEW(IDD_frmZentrelSim), owner_,
                              OnDialogMessage, reinterpret_cast<LPARAM>(this));
  });
  if (made == nullptr) ending_ = true;
}

void Dialog::Reveal() {
  // The client may be dragging something.
  if (const HWND dragging = GetCapture()) SendMessageW(dragging, WM_CANCELMODE, 0, 0);
  const HWND first =
      content_.ok_enabled ? view_.Control(IDC_cmdOK) : GetNextDlgTabItem(window_, nullptr, FALSE);
  SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), TRUE);
  SetWindowPos(window_, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
  SetForegroundWindow(window_);
  // What there is to choose stands above the buttons, and shall be seen first.
  view_.Scrolled().LeaveFocused();
}

void Dialog::WaitForEnd() {
  ThreadMessages put_aside;
  MSG message;
  while (!ending_) {
    if (CallOut([&] { return GetMessageW(&message, nullptr, 0, 0); }) == FALSE) {
      quit_code_ = static_cast<int>(message.wParam);
      return;
    }
    if (put_aside.PutAside(message)) continue;
    CallOut([&] {
      if (view_.Scrolled().TakeWheel(message)) return;
      if (IsDialogMessageW(window_, &message) == FALSE) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
      }
      if (!ending_) view_.Scrolled().ShowFocused();
    });
  }
}

// The client's windows are as they were, in whatever way the dialog goes: neither locked for ever,
// nor unlocked where the client itself had locked them. Before it has gone, or the operating system
// would hand the keyboard to another program.
void Dialog::GiveBackInput() {
  const ClientCode windows_of_the_client;
  if (locked_) locked_->Unlock();
  if (window_ == nullptr) return;
  CallOut([this] {
    if (owner_ != nullptr && GetActiveWindow() == window_) SetActiveWindow(owner_);
    ShowWindow(window_, SW_HIDE);
  });
}

// Also when an exception of the client's leaves past the dialog.
void Dialog::End() {
  GiveBackInput();
  if (window_ != nullptr) CallOut([this] { return DestroyWindow(window_); });
}

void Dialog::Refresh() {
  if (window_ == nullptr || ending_) return;
  view_.Show(content_);
}

void Dialog::Hide() {
  if (window_ == nullptr || ending_) return;
  ending_ = true;
  if (IsWindowVisible(window_) != FALSE) GiveBackInput();
  WakeThread();
}

INT_PTR Dialog::OnMessage(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
  // The window system cannot be unwound through: what is thrown waits until the dialog has gone.
  try {
    return RaisingFaults([&] { return Answer(window, message, wide, parameter); });
  } catch (const ClientUnwinding&) {
    throw;  // it goes past the window system by itself
  } catch (...) {
    if (!failure_) failure_ = std::current_exception();
    Hide();
    return FALSE;
  }
}

INT_PTR Dialog::Answer(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
  switch (message) {
    case WM_INITDIALOG:
      window_ = window;
      made_ = true;
      Begin();
      return FALSE;  // the keyboard comes to it once it can be seen
    case WM_COMMAND:
      if (!ending_ && !view_.IsShowing()) OnCommand(LOWORD(wide), HIWORD(wide));
      return TRUE;
    case WM_CLOSE:
      Hide();
      return TRUE;
    case WM_DESTROY:
      ending_ = true;
      window_ = nullptr;
      WakeThread();
      if (placed_) presenter_.Hiding(PlaceOf(window));
      return TRUE;
    default:
      return view_.Scrolled().Answer(message, wide, parameter) ? TRUE : FALSE;
  }
}

void Dialog::Begin() {
  if (GoesAboveAll(owner_)) {  // while it owns no tips, below which it would go
    SetWindowPos(window_, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }
  view_.Begin(window_);
  Refresh();
  WindowPlace place = DefaultPlace();
  presenter_.Placing(place);
  placed_ = true;
  view_.Scrolled().Place(place);
}

// In its designed size in the middle of the owner, or of the screen, and within the screen.
WindowPlace Dialog::DefaultPlace() const {
  WindowPlace place = PlaceOf(window_);
  const bool in_front_of_owner =
      owner_ != nullptr && IsWindowVisible(owner_) != FALSE && IsIconic(owner_) == FALSE;
  const WindowPlace around = in_front_of_owner ? PlaceOf(owner_) : WorkAreaNearest({});
  place.left = around.left + (around.width - place.width) / 2;
  place.top = around.top + (around.height - place.height) / 2;
  return MovedInto(WorkAreaNearest(place), place);
}

void Dialog::OnCommand(int id, int code) {
  if (code == CBN_SELCHANGE) {
    if (const auto list = IndexOf(kListControls, id)) return OnListChosen(*list);
  }
  if (code == EN_CHANGE) {
    if (const auto text = IndexOf(kTextControls, id)) {
      return presenter_.TextTyped(static_cast<DialogText>(*text),
                                  WideToUtf8(TextOf(view_.Control(id))));
    }
  }
  if (const auto spin = IndexOf(kSpinBoxes, id)) {
    if (code == EN_CHANGE) return OnSpinTyped(*spin);
    // A box that was left empty goes back to its value.
    if (code == EN_KILLFOCUS) return view_.SettleSpin(*spin);
  }
  if (code == BN_CLICKED) {
    if (const auto check = IndexOf(kCheckControls, id)) return OnCheckClicked(*check);
    if (const auto button = IndexOf(kButtonControls, id)) return OnButtonPressed(*button);
    // Nothing for Escape, which comes as a click on the button that would cancel.
  }
}

void Dialog::OnListChosen(std::size_t list) {
  const auto index = static_cast<std::int32_t>(
      SendMessageW(view_.Control(kListControls[list]), CB_GETCURSEL, 0, 0));
  if (index != CB_ERR) presenter_.ListChosen(static_cast<DialogList>(list), index);
}

void Dialog::OnCheckClicked(std::size_t check) {
  const bool ticked = IsDlgButtonChecked(window_, kCheckControls[check]) == BST_CHECKED;
  if (IsWindowEnabled(view_.Control(kCheckControls[check])) == FALSE) {
    // The click was on its way when the box was disabled.
    CheckDlgButton(window_, kCheckControls[check], ticked ? BST_UNCHECKED : BST_CHECKED);
    return;
  }
  presenter_.CheckClicked(static_cast<DialogCheck>(check), ticked);
}

// The arrows change the box as well, so that every change comes this way.
void Dialog::OnSpinTyped(std::size_t spin) {
  const std::int32_t before = view_.ShownNumber(spin);
  const std::int32_t typed = view_.TakeTyped(spin);
  if (typed != before) presenter_.SpinTurned(static_cast<DialogSpin>(spin), typed);
}

void Dialog::OnButtonPressed(std::size_t button) {
  // A click can be on its way when the button is disabled.
  if (IsWindowEnabled(view_.Control(kButtonControls[button])) == FALSE) return;
  for (std::size_t spin = 0; spin < kDialogSpins; ++spin) view_.SettleSpin(spin);
  presenter_.ButtonPressed(static_cast<DialogButton>(button));
}

// The dialog of the calling thread, the innermost one; null when there is none.
ApartmentSlot g_dialog;

Dialog* DialogOfThread() {
  return static_cast<Dialog*>(g_dialog.Get());
}

// Names a dialog as the calling thread's as long as it lives.
class DialogInSlot {
 public:
  explicit DialogInSlot(Dialog& dialog) : outer_(g_dialog.Get()) { g_dialog.Set(&dialog); }
  ~DialogInSlot() { g_dialog.Set(outer_); }
  DialogInSlot(const DialogInSlot&) = delete;
  DialogInSlot& operator=(const DialogInSlot&) = delete;

 private:
  void* outer_;
};

}  // namespace

bool ShowSimulatorDialog(const DialogContent& content, DialogPresenter& presenter) {
  if (!HasVisibleDesktop()) return false;
  Dialog dialog(content, presenter);
  const DialogInSlot in_slot(dialog);
  return dialog.Show();
}

void RefreshSimulatorDialog() {
  if (Dialog* const dialog = DialogOfThread()) dialog->Refresh();
}

void HideSimulatorDialog() {
  if (Dialog* const dialog = DialogOfThread()) dialog->Hide();
}

}  // namespace qmzentrel::platform
