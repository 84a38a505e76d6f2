#include "platform/win32/simulator_dialog_view.h"

// After <windows.h>, which it needs.
#include <commctrl.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/win32/wide.h"
#include "platform/win32/window_place.h"
#include "platform/win32/window_text.h"

namespace qmzentrel::platform {
namespace {

constexpr std::array<int, kDialogSpins> kSpinArrows = {IDC_udXpdr, IDC_udReading, IDC_udTamper,
                                                       IDC_udUtil, IDC_udThreshold};

// Of a spin's arrows, in dialog units.
constexpr LONG kArrowsWidth = 12;

// More digits than any spin has: what is typed beyond its range shall be seen and brought into it.
constexpr WPARAM kMostDigits = 10;

// More than a box version or voltage has, and no more than the boxes show at once.
constexpr WPARAM kMostLetters = 12;

// Their captions come from a catalog, as long as it likes.
constexpr std::array<int, 2> kCatalogLabels = {IDC_lblMSI, IDC_lblTamper};

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

}  // namespace

void DialogView::Begin(HWND window) {
  window_ = window;
  for (const int box : kSpinBoxes) SendMessageW(Control(box), EM_LIMITTEXT, kMostDigits, 0);
  for (const int text : kTextControls) {
    SendMessageW(Control(text), EM_LIMITTEXT, kMostLetters, 0);
  }
  AlignBoxes();
  scrolled_.Begin(window_);
  tips_.Begin(window_);
  for (const int label : kCatalogLabels) tips_.Add(Control(label));
}

WindowPlace DialogView::PlaceOfControl(int id) const {
  RECT rect{};
  GetWindowRect(Control(id), &rect);
  MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&rect), 2);
  return PlaceOf(rect);
}

// As tall as the lists, which follow their font and not the design; the arrows beside their boxes
// in the width of the design, which they do not take by themselves.
void DialogView::AlignBoxes() {
  RECT arrows{0, 0, kArrowsWidth, 0};
  MapDialogRect(window_, &arrows);
  const auto place_box = [this, height = PlaceOfControl(IDC_cboMIF).height](int id) {
    WindowPlace box = PlaceOfControl(id);
    box.height = height;
    MoveTo(Control(id), box);
    return box;
  };
  for (const int text : kTextControls) place_box(text);
  for (std::size_t spin = 0; spin < kDialogSpins; ++spin) {
    const WindowPlace box = place_box(kSpinBoxes[spin]);
    MoveTo(Control(kSpinArrows[spin]), {box.left + box.width, box.top, arrows.right, box.height});
  }
}

void DialogView::Show(const DialogContent& content) {
  const Raised showing(showing_);
  ShowText(window_, Utf8ToWide(content.caption));
  ShowText(Control(IDC_lblMSI), Utf8ToWide(content.msi_caption));
  ShowText(Control(IDC_lblTamper), Utf8ToWide(content.tamper_caption));
  for (std::size_t list = 0; list < kDialogLists; ++list) {
    ShowList(list, content.lists[list]);
  }
  for (std::size_t check = 0; check < kDialogChecks; ++check) {
    ShowCheck(check, content.checks[check]);
  }
  for (std::size_t spin = 0; spin < kDialogSpins; ++spin) ShowSpin(spin, content.spins[spin]);
  for (std::size_t text = 0; text < kDialogTexts; ++text) {
    ShowText(Control(kTextControls[text]), Utf8ToWide(content.texts[text]));
  }
  Enable(Control(IDC_cmdOK), content.ok_enabled);
  ShowNotice(content.notice);
  for (const int label : kCatalogLabels) tips_.Update(Control(label));
}

void DialogView::ShowList(std::size_t list, const DialogContent::List& wanted) {
  const HWND control = Control(kListControls[list]);
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

void DialogView::ShowCheck(std::size_t check, const DialogContent::Check& wanted) {
  CheckDlgButton(window_, kCheckControls[check], wanted.ticked ? BST_CHECKED : BST_UNCHECKED);
  Enable(Control(kCheckControls[check]), wanted.enabled);
}

void DialogView::ShowSpin(std::size_t spin, const DialogContent::Spin& wanted) {
  shown_spins_[spin] = wanted;
  SendMessageW(Control(kSpinArrows[spin]), UDM_SETRANGE32, 0, wanted.maximum);
  // Leading zeros stay while the user is typing.
  if (NumberOf(TextOf(Control(kSpinBoxes[spin]))) != wanted.value) SettleSpin(spin);
}

void DialogView::SettleSpin(std::size_t spin) {
  const std::int32_t value = shown_spins_[spin].value;
  const std::wstring text = std::to_wstring(value);
  const HWND box = Control(kSpinBoxes[spin]);
  if (TextOf(box) == text) return;
  const Raised showing(showing_);
  SendMessageW(Control(kSpinArrows[spin]), UDM_SETPOS32, 0, value);
  ShowText(box, text);
  const auto end = static_cast<WPARAM>(text.size());
  SendMessageW(box, EM_SETSEL, end, static_cast<LPARAM>(end));
}

void DialogView::ShowNotice(const std::string& text) {
  const HWND notice = Control(IDC_lblNotice);
  ShowText(notice, Utf8ToWide(text));
  const bool wanted = !text.empty();
  if (wanted == notice_shown_) return;
  notice_shown_ = wanted;
  ShowWindow(notice, wanted ? SW_SHOWNA : SW_HIDE);
  // The dialog is designed without it; with it the buttons make room.
  const WindowPlace line = PlaceOfControl(IDC_lblNotice);
  const WindowPlace above = PlaceOfControl(IDC_fraZentrel);
  const std::int32_t room = line.top + line.height - (above.top + above.height);
  const std::int32_t growth = wanted ? room : -room;
  for (const int button : kButtonControls) {
    WindowPlace place = PlaceOfControl(button);
    place.top += growth;
    MoveTo(Control(button), place);
  }
  scrolled_.Grow(growth);
}

void DialogView::Enable(HWND control, bool enabled) {
  if ((IsWindowEnabled(control) != FALSE) == enabled) return;
  // Keys go nowhere when the control that has the focus is disabled.
  if (!enabled && GetFocus() == control) SendMessageW(window_, WM_NEXTDLGCTL, 0, FALSE);
  EnableWindow(control, enabled ? TRUE : FALSE);
}

std::int32_t DialogView::TakeTyped(std::size_t spin) {
  const DialogContent::Spin before = shown_spins_[spin];
  const std::wstring text = TextOf(Control(kSpinBoxes[spin]));
  if (text.empty()) return before.value;
  // Anything but digits can only have been pasted.
  const std::int64_t typed = NumberOf(text).value_or(before.value);
  const auto value = static_cast<std::int32_t>(std::min<std::int64_t>(typed, before.maximum));
  ShowSpin(spin, {value, before.maximum});
  return value;
}

}  // namespace qmzentrel::platform
