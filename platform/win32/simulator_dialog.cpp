#include "platform/simulator_dialog.h"

#include <windows.h>

// After it, which it needs.
#include <commctrl.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/apartment.h"
#include "platform/hardware_faults.h"
#include "platform/win32/caption_tips.h"
#include "platform/win32/client_window.h"
#include "platform/win32/locked_windows.h"
#include "platform/win32/simulator_dialog_controls.h"
#include "platform/win32/this_module.h"
#include "platform/win32/thread_messages.h"
#include "platform/win32/visual_styles.h"
#include "platform/win32/wide.h"
#include "platform/win32/window_place.h"
#include "platform/win32/window_text.h"

namespace qmzentrel::platform {
namespace {

struct SpinControls {
  int arrows;
  int box;
};

// By the enumerations of the seam.
constexpr std::array<int, kDialogLists> kLists = {IDC_cboMIF, IDC_cboVersion,    IDC_cboTXI,
                                                  IDC_cboMSI, IDC_cboSignature0, IDC_cboSignature1};
constexpr std::array<int, kDialogChecks> kChecks = {IDC_chkUserID, IDC_chkSecondary, IDC_chkEOL};
constexpr std::array<SpinControls, kDialogSpins> kSpins = {{
    {IDC_udXpdr, IDC_udXpdrBox},
    {IDC_udReading, IDC_udReadingBox},
    {IDC_udTamper, IDC_udTamperBox},
    {IDC_udUtil, IDC_udUtilBox},
    {IDC_udThreshold, IDC_udThresholdBox},
}};
constexpr std::array<int, kDialogTexts> kTexts = {IDC_txtZentrelVersion, IDC_txtBattery};
constexpr std::array<int, 3> kButtons = {IDC_cmdOK, IDC_cmdNoXpdr, IDC_cmdNoZentrel};

// Of a spin's arrows, in dialog units.
constexpr LONG kArrowsWidth = 12;

// More digits than any spin has: what is typed beyond its range shall be seen and brought into it.
constexpr WPARAM kMostDigits = 10;

// More than a box version or voltage has, and no more than the boxes show at once.
constexpr WPARAM kMostLetters = 12;

// Their captions come from a catalog, as long as it likes.
constexpr std::array<int, 2> kCatalogLabels = {IDC_lblMSI, IDC_lblTamper};

template <class Ids>
std::optional<std::size_t> IndexOf(const Ids& ids, int id) {
  const auto found = std::ranges::find(ids, id);
  if (found == ids.end()) return std::nullopt;
  return static_cast<std::size_t>(found - ids.begin());
}

// The number that digits stand for. Nothing when there is none, or anything else.
std::optional<std::int64_t> NumberOf(std::wstring_view digits) {
  if (digits.empty()) return std::nullopt;
  // Beyond every spin's range; a text could be pasted that fits no number.
  constexpr std::int64_t kLarge = 1LL << 32;
  std::int64_t number = 0;
  for (const wchar_t digit : digits) {
    if (digit < L'0' || digit > L'9') return std::nullopt;
    number = std::min(number * 10 + (digit - L'0'), kLarge);
  }
  return number;
}

// The width that a drop-down list needs to show its widest entry.
int WidthOfEntries(HWND list, const std::vector<std::wstring>& entries) {
  int widest = 0;
  for (const std::wstring& entry : entries) widest = std::max(widest, WidthOf(entry, list));
  return widest + GetSystemMetrics(SM_CXVSCROLL) + 4 * GetSystemMetrics(SM_CXEDGE);
}

// A wait for messages sees that something has changed: a message that was sent does not end it.
void WakeThread() {
  PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

// Raises a flag as long as it lives.
class Raised {
 public:
  explicit Raised(bool& flag) : flag_(flag), before_(std::exchange(flag, true)) {}
  ~Raised() { flag_ = before_; }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;

 private:
  bool& flag_;
  bool before_;
};

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
  INT_PTR OnMessage(HWND window, UINT message, WPARAM wide);

 private:
  HWND Control(int id) const { return GetDlgItem(window_, id); }
  WindowPlace PlaceOfControl(int id) const;
  INT_PTR Answer(HWND window, UINT message, WPARAM wide);
  void Make();
  void Begin();
  void AlignBoxes();
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

  void ShowContent();
  void ShowList(std::size_t list);
  void ShowCheck(std::size_t check);
  void ShowSpin(std::size_t spin, const DialogContent::Spin& wanted);
  void SettleSpin(std::size_t spin);
  void ShowNotice();
  void Enable(HWND control, bool enabled);

  const DialogContent& content_;
  DialogPresenter& presenter_;
  const VisualStyles styles_{ThisModule(), IDR_visual_styles};
  CaptionTips tips_;
  const HWND owner_ = ClientWindow();
  std::optional<LockedWindows> locked_;
  HWND window_ = nullptr;
  bool made_ = false;
  bool placed_ = false;
  bool ending_ = false;
  // While the content is being shown; the controls' notifications are not the user's then.
  bool showing_ = false;
  bool notice_shown_ = false;
  std::array<std::vector<DialogItem>, kDialogLists> shown_items_;
  std::array<DialogContent::Spin, kDialogSpins> shown_spins_;
  std::exception_ptr failure_;
  std::optional<int> quit_code_;
};

// Called by the operating system, which keeps the stack aligned to 4 bytes only.
__attribute__((force_align_arg_pointer)) INT_PTR CALLBACK OnDialogMessage(HWND window, UINT message,
                                                                          WPARAM wide,
                                                                          LPARAM parameter) {
  if (message == WM_INITDIALOG) SetWindowLongPtrW(window, DWLP_USER, parameter);
  auto* const dialog = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
  // Some messages come before the first one.
  if (dialog == nullptr) return FALSE;
  return CalledFromOutside([&] { return dialog->OnMessage(window, message, wide); });
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
      content_.ok_enabled ? Control(IDC_cmdOK) : GetNextDlgTabItem(window_, nullptr, FALSE);
  SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), TRUE);
  SetWindowPos(window_, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
  SetForegroundWindow(window_);
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
      if (IsDialogMessageW(window_, &message) != FALSE) return;
      TranslateMessage(&message);
      DispatchMessageW(&message);
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
  const Raised showing(showing_);
  ShowContent();
}

void Dialog::Hide() {
  if (window_ == nullptr || ending_) return;
  ending_ = true;
  if (IsWindowVisible(window_) != FALSE) GiveBackInput();
  WakeThread();
}

INT_PTR Dialog::OnMessage(HWND window, UINT message, WPARAM wide) {
  // The window system cannot be unwound through: what is thrown waits until the dialog has gone.
  try {
    return RaisingFaults([&] { return Answer(window, message, wide); });
  } catch (const ClientUnwinding&) {
    throw;  // it goes past the window system by itself
  } catch (...) {
    if (!failure_) failure_ = std::current_exception();
    Hide();
    return FALSE;
  }
}

INT_PTR Dialog::Answer(HWND window, UINT message, WPARAM wide) {
  switch (message) {
    case WM_INITDIALOG:
      window_ = window;
      made_ = true;
      Begin();
      return FALSE;  // the keyboard comes to it once it can be seen
    case WM_COMMAND:
      if (!ending_ && !showing_) OnCommand(LOWORD(wide), HIWORD(wide));
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
      return FALSE;
  }
}

void Dialog::Begin() {
  for (const SpinControls& spin : kSpins) {
    SendMessageW(Control(spin.box), EM_LIMITTEXT, kMostDigits, 0);
  }
  for (const int text : kTexts) SendMessageW(Control(text), EM_LIMITTEXT, kMostLetters, 0);
  AlignBoxes();
  if (GoesAboveAll(owner_)) {  // while it owns no tips, below which it would go
    SetWindowPos(window_, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }
  tips_.Begin(window_);
  for (const int label : kCatalogLabels) tips_.Add(Control(label));
  Refresh();
  WindowPlace place = DefaultPlace();
  presenter_.Placing(place);
  placed_ = true;
  MoveTo(window_, place);
}

// As tall as the lists, which follow their font and not the design; the arrows beside their boxes
// in the width of the design, which they do not take by themselves.
void Dialog::AlignBoxes() {
  RECT arrows{0, 0, kArrowsWidth, 0};
  MapDialogRect(window_, &arrows);
  const auto place_box = [this, height = PlaceOfControl(IDC_cboMIF).height](int id) {
    WindowPlace box = PlaceOfControl(id);
    box.height = height;
    MoveTo(Control(id), box);
    return box;
  };
  for (const int text : kTexts) place_box(text);
  for (const SpinControls& spin : kSpins) {
    const WindowPlace box = place_box(spin.box);
    MoveTo(Control(spin.arrows), {box.left + box.width, box.top, arrows.right, box.height});
  }
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

WindowPlace Dialog::PlaceOfControl(int id) const {
  RECT rect{};
  GetWindowRect(Control(id), &rect);
  MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&rect), 2);
  return PlaceOf(rect);
}

void Dialog::OnCommand(int id, int code) {
  if (code == CBN_SELCHANGE) {
    if (const auto list = IndexOf(kLists, id)) return OnListChosen(*list);
  }
  if (code == EN_CHANGE) {
    if (const auto text = IndexOf(kTexts, id)) {
      return presenter_.TextTyped(static_cast<DialogText>(*text), WideToUtf8(TextOf(Control(id))));
    }
  }
  for (std::size_t spin = 0; spin < kSpins.size(); ++spin) {
    if (kSpins[spin].box != id) continue;
    if (code == EN_CHANGE) return OnSpinTyped(spin);
    // A box that was left empty goes back to its value.
    if (code == EN_KILLFOCUS) return SettleSpin(spin);
  }
  if (code == BN_CLICKED) {
    if (const auto check = IndexOf(kChecks, id)) return OnCheckClicked(*check);
    if (const auto button = IndexOf(kButtons, id)) return OnButtonPressed(*button);
    // Nothing for Escape, which comes as a click on the button that would cancel.
  }
}

void Dialog::OnListChosen(std::size_t list) {
  const auto index =
      static_cast<std::int32_t>(SendMessageW(Control(kLists[list]), CB_GETCURSEL, 0, 0));
  if (index != CB_ERR) presenter_.ListChosen(static_cast<DialogList>(list), index);
}

void Dialog::OnCheckClicked(std::size_t check) {
  const bool ticked = IsDlgButtonChecked(window_, kChecks[check]) == BST_CHECKED;
  if (IsWindowEnabled(Control(kChecks[check])) == FALSE) {
    // The click was on its way when the box was disabled.
    CheckDlgButton(window_, kChecks[check], ticked ? BST_UNCHECKED : BST_CHECKED);
    return;
  }
  presenter_.CheckClicked(static_cast<DialogCheck>(check), ticked);
}

// The arrows change the box as well, so that every change comes this way.
void Dialog::OnSpinTyped(std::size_t spin) {
  const std::wstring text = TextOf(Control(kSpins[spin].box));
  if (text.empty()) return;
  const DialogContent::Spin before = shown_spins_[spin];
  // Anything but digits can only have been pasted.
  const std::int64_t typed = NumberOf(text).value_or(before.value);
  const auto value = static_cast<std::int32_t>(std::min<std::int64_t>(typed, before.maximum));
  ShowSpin(spin, {value, before.maximum});
  if (value != before.value) presenter_.SpinTurned(static_cast<DialogSpin>(spin), value);
}

void Dialog::OnButtonPressed(std::size_t button) {
  // A click can be on its way when the button is disabled.
  if (IsWindowEnabled(Control(kButtons[button])) == FALSE) return;
  for (std::size_t spin = 0; spin < kDialogSpins; ++spin) SettleSpin(spin);
  presenter_.ButtonPressed(static_cast<DialogButton>(button));
}

void Dialog::ShowContent() {
  ShowText(window_, Utf8ToWide(content_.caption));
  ShowText(Control(IDC_lblMSI), Utf8ToWide(content_.msi_caption));
  ShowText(Control(IDC_lblTamper), Utf8ToWide(content_.tamper_caption));
  for (std::size_t list = 0; list < kDialogLists; ++list) ShowList(list);
  for (std::size_t check = 0; check < kDialogChecks; ++check) ShowCheck(check);
  for (std::size_t spin = 0; spin < kDialogSpins; ++spin) ShowSpin(spin, content_.spins[spin]);
  for (std::size_t text = 0; text < kDialogTexts; ++text) {
    ShowText(Control(kTexts[text]), Utf8ToWide(content_.texts[text]));
  }
  Enable(Control(IDC_cmdOK), content_.ok_enabled);
  ShowNotice();
  for (const int label : kCatalogLabels) tips_.Update(Control(label));
}

void Dialog::ShowList(std::size_t list) {
  const DialogContent::List& wanted = content_.lists[list];
  const HWND control = Control(kLists[list]);
  if (shown_items_[list] != wanted.items) {
    std::vector<std::wstring> entries;
    for (const DialogItem& item : wanted.items) entries.push_back(Utf8ToWide(item.text));
    shown_items_[list] = wanted.items;
    SendMessageW(control, CB_RESETCONTENT, 0, 0);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      SendMessageW(control, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entries[i].c_str()));
      SendMessageW(control, CB_SETITEMDATA, i, wanted.items[i].data);
    }
    SendMessageW(control, CB_SETDROPPEDWIDTH, static_cast<WPARAM>(WidthOfEntries(control, entries)),
                 0);
  }
  if (SendMessageW(control, CB_GETCURSEL, 0, 0) != wanted.selected) {
    SendMessageW(control, CB_SETCURSEL, static_cast<WPARAM>(wanted.selected), 0);
  }
}

void Dialog::ShowCheck(std::size_t check) {
  const DialogContent::Check& wanted = content_.checks[check];
  CheckDlgButton(window_, kChecks[check], wanted.ticked ? BST_CHECKED : BST_UNCHECKED);
  Enable(Control(kChecks[check]), wanted.enabled);
}

void Dialog::ShowSpin(std::size_t spin, const DialogContent::Spin& wanted) {
  shown_spins_[spin] = wanted;
  SendMessageW(Control(kSpins[spin].arrows), UDM_SETRANGE32, 0, wanted.maximum);
  // Leading zeros stay while the user is typing.
  if (NumberOf(TextOf(Control(kSpins[spin].box))) != wanted.value) SettleSpin(spin);
}

void Dialog::SettleSpin(std::size_t spin) {
  const std::int32_t value = shown_spins_[spin].value;
  const std::wstring text = std::to_wstring(value);
  const HWND box = Control(kSpins[spin].box);
  if (TextOf(box) == text) return;
  const Raised showing(showing_);
  SendMessageW(Control(kSpins[spin].arrows), UDM_SETPOS32, 0, value);
  ShowText(box, text);
  const auto end = static_cast<WPARAM>(text.size());
  SendMessageW(box, EM_SETSEL, end, static_cast<LPARAM>(end));
}

void Dialog::ShowNotice() {
  const HWND notice = Control(IDC_lblNotice);
  ShowText(notice, Utf8ToWide(content_.notice));
  const bool wanted = !content_.notice.empty();
  if (wanted == notice_shown_) return;
  notice_shown_ = wanted;
  ShowWindow(notice, wanted ? SW_SHOWNA : SW_HIDE);
  // The dialog is designed without it; with it the buttons make room.
  const WindowPlace line = PlaceOfControl(IDC_lblNotice);
  const WindowPlace above = PlaceOfControl(IDC_fraZentrel);
  const std::int32_t room = line.top + line.height - (above.top + above.height);
  const std::int32_t growth = wanted ? room : -room;
  for (const int button : kButtons) {
    WindowPlace place = PlaceOfControl(button);
    place.top += growth;
    MoveTo(Control(button), place);
  }
  WindowPlace place = PlaceOf(window_);
  place.height += growth;
  MoveTo(window_, MovedInto(WorkAreaNearest(place), place));
}

void Dialog::Enable(HWND control, bool enabled) {
  if ((IsWindowEnabled(control) != FALSE) == enabled) return;
  // Keys go nowhere when the control that has the focus is disabled.
  if (!enabled && GetFocus() == control) SendMessageW(window_, WM_NEXTDLGCTL, 0, FALSE);
  EnableWindow(control, enabled ? TRUE : FALSE);
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
