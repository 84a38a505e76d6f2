#include "platform/win32/scrolled_window.h"

#include <algorithm>

#include "platform/win32/window_place.h"

namespace qmzentrel::platform {
namespace {

// A line of text, in dialog units.
constexpr LONG kLineWidth = 4;
constexpr LONG kLineHeight = 8;
// Around a control that is brought into view, in lines.
constexpr std::int32_t kMargin = 1;

// To itself: its controls have another size.
constexpr UINT kMeasureAgain = WM_APP;

// How far to scroll so that the part from `begin` to `end` of a view is seen, or its beginning when
// it is too long.
std::int32_t IntoView(std::int32_t begin, std::int32_t end, std::int32_t view) {
  return std::min(begin, std::max(0, end - view));
}

// What is large enough for everything shall be so with a bar, too, as long as there is room.
std::int32_t WithBar(std::int32_t wanted, std::int32_t whole, std::int32_t needed,
                     std::int32_t room) {
  return std::min(wanted < whole ? wanted : std::max(wanted, needed), room);
}

}  // namespace

void ScrolledWindow::Begin(HWND window) {
  window_ = window;
  RECT inside{};
  GetClientRect(window_, &inside);
  content_ = {inside.right, inside.bottom};
  const WindowPlace place = PlaceOf(window_);
  edge_ = {place.width - content_.width, place.height - content_.height};
  const Extent end = EndOfControls();
  margin_ = {content_.width - end.width, content_.height - end.height};
  MeasureLine();
}

void ScrolledWindow::MeasureLine() {
  RECT line{0, 0, kLineWidth, kLineHeight};
  MapDialogRect(window_, &line);
  line_ = {line.right, line.bottom};
}

// Of those that are shown, or will be with the window.
ScrolledWindow::Extent ScrolledWindow::EndOfControls() const {
  Extent end;
  for (HWND control = GetWindow(window_, GW_CHILD); control != nullptr;
       control = GetWindow(control, GW_HWNDNEXT)) {
    if ((GetWindowLongW(control, GWL_STYLE) & WS_VISIBLE) == 0) continue;
    RECT rect{};
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&rect), 2);
    end.width = std::max<std::int32_t>(end.width, rect.right);
    end.height = std::max<std::int32_t>(end.height, rect.bottom);
  }
  return end;
}

// In a client that lets each screen have its own resolution the operating system gives the window
// and its controls another size.
void ScrolledWindow::MeasureAgain() {
  // Without bars, which would count as a part of the edge.
  Fit(across_, false, 1, 1);
  Fit(down_, false, 1, 1);
  RECT inside{};
  GetClientRect(window_, &inside);
  const WindowPlace place = PlaceOf(window_);
  edge_ = {place.width - inside.right, place.height - inside.bottom};
  const Extent line = line_;
  MeasureLine();
  margin_ = {MulDiv(margin_.width, line_.width, line.width),
             MulDiv(margin_.height, line_.height, line.height)};
  const Extent end = EndOfControls();
  content_ = {end.width + margin_.width, end.height + margin_.height};
  Grow(0);
}

void ScrolledWindow::Grow(std::int32_t growth) {
  content_.height += growth;
  WindowPlace place = PlaceOf(window_);
  place.width = std::max(place.width, Whole().width);
  place.height = std::max(place.height + growth, Whole().height);
  Place(MovedInto(WorkAreaNearest(place), place));
}

void ScrolledWindow::Place(const WindowPlace& place) {
  const WindowPlace area = WorkAreaNearest(place);
  const Extent bars{GetSystemMetrics(SM_CXVSCROLL), GetSystemMetrics(SM_CYHSCROLL)};
  WindowPlace fit = place;
  bool across = false;
  bool down = false;
  // A bar takes room from the other direction, which may need one for that.
  for (bool settled = false; !settled;) {
    const Extent whole = Whole();
    const Extent needed{whole.width + (down ? bars.width : 0),
                        whole.height + (across ? bars.height : 0)};
    fit.width = WithBar(place.width, whole.width, needed.width, area.width);
    fit.height = WithBar(place.height, whole.height, needed.height, area.height);
    settled = (across || fit.width >= needed.width) && (down || fit.height >= needed.height);
    across = across || fit.width < needed.width;
    down = down || fit.height < needed.height;
  }
  MoveTo(window_, across || down ? MovedInto(area, fit) : fit);
  Fit(across_, across, content_.width, fit.width - edge_.width - (down ? bars.width : 0));
  Fit(down_, down, content_.height, fit.height - edge_.height - (across ? bars.height : 0));
  if (focus_moved_) focused_ = nullptr;
}

void ScrolledWindow::Fit(Axis& axis, bool scrolls, std::int32_t content, std::int32_t view) {
  if (!scrolls && !axis.scrolls) return;
  axis.scrolls = scrolls;
  axis.content = content;
  axis.view = view;
  SCROLLINFO bar{};
  bar.cbSize = sizeof bar;
  bar.fMask = SIF_RANGE | SIF_PAGE;
  bar.nMax = content - 1;
  bar.nPage = static_cast<UINT>(view);
  // With no more than a page there is none.
  SetScrollInfo(window_, axis.bar, &bar, TRUE);
  ScrollTo(axis, axis.offset);
}

void ScrolledWindow::ScrollTo(Axis& axis, std::int32_t offset) {
  const std::int32_t before = axis.offset;
  axis.offset = std::clamp(offset, 0, std::max(0, axis.content - axis.view));
  SCROLLINFO bar{};
  bar.cbSize = sizeof bar;
  bar.fMask = SIF_POS;
  bar.nPos = axis.offset;
  SetScrollInfo(window_, axis.bar, &bar, TRUE);
  const std::int32_t moved = before - axis.offset;
  if (moved == 0) return;
  const bool is_down = axis.bar == SB_VERT;
  MoveControls(is_down ? 0 : moved, is_down ? moved : 0);
}

// All of them, the hidden ones, too.
void ScrolledWindow::MoveControls(std::int32_t right, std::int32_t down) const {
  for (HWND control = GetWindow(window_, GW_CHILD); control != nullptr;
       control = GetWindow(control, GW_HWNDNEXT)) {
    RECT rect{};
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&rect), 2);
    SetWindowPos(control, nullptr, rect.left + right, rect.top + down, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOREDRAW);
  }
  RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

bool ScrolledWindow::Answer(UINT message, WPARAM wide, LPARAM parameter) {
  // Another screen, a remote one that was left and is looked at from elsewhere, say; or a bar has
  // come to its edge.
  if (message == WM_DISPLAYCHANGE || (message == WM_SETTINGCHANGE && wide == SPI_SETWORKAREA)) {
    Grow(0);
  }
  // The controls get their size after this, from where they stand.
  if (message == WM_DPICHANGED) {
    ScrollTo(across_, 0);
    ScrollTo(down_, 0);
    PostMessageW(window_, kMeasureAgain, 0, 0);
  }
  if (message == kMeasureAgain) MeasureAgain();
  if (!Scrolls()) return false;
  switch (message) {
    case WM_HSCROLL:
    case WM_VSCROLL:
      // The arrows of a spin send it as well.
      if (parameter != 0) return false;
      OnBar(message == WM_VSCROLL ? down_ : across_, LOWORD(wide));
      return true;
    case WM_MOUSEWHEEL:
    case WM_MOUSEHWHEEL:
      return OnWheel(message, wide);
    default:
      return false;
  }
}

void ScrolledWindow::OnBar(Axis& axis, int code) {
  const std::int32_t line = axis.bar == SB_VERT ? line_.height : line_.width;
  SCROLLINFO bar{};
  switch (code) {
    case SB_LINEUP:
      return ScrollBy(axis, -line);
    case SB_LINEDOWN:
      return ScrollBy(axis, line);
    case SB_PAGEUP:
      return ScrollBy(axis, -axis.view);
    case SB_PAGEDOWN:
      return ScrollBy(axis, axis.view);
    case SB_TOP:
      return ScrollTo(axis, 0);
    case SB_BOTTOM:
      return ScrollTo(axis, axis.content);
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
      bar.cbSize = sizeof bar;
      bar.fMask = SIF_TRACKPOS;
      GetScrollInfo(window_, axis.bar, &bar);
      return ScrollTo(axis, bar.nTrackPos);
    default:
      return;
  }
}

bool ScrolledWindow::TakeWheel(const MSG& message) {
  if (message.message != WM_MOUSEWHEEL && message.message != WM_MOUSEHWHEEL) return false;
  return IsChild(window_, message.hwnd) != FALSE && OnWheel(message.message, message.wParam);
}

// An ordinary wheel goes across where there is nothing to scroll down.
bool ScrolledWindow::OnWheel(UINT message, WPARAM wide) {
  // A list that is dropped down has the keyboard, and scrolls itself.
  if (SendMessageW(GetFocus(), CB_GETDROPPEDSTATE, 0, 0) != FALSE) return false;
  const int turn = static_cast<short>(HIWORD(wide));
  const bool sideways = message == WM_MOUSEHWHEEL;
  Axis& axis = sideways || !down_.scrolls ? across_ : down_;
  if (!axis.scrolls) return false;
  UINT lines = 3;
  SystemParametersInfoW(sideways ? SPI_GETWHEELSCROLLCHARS : SPI_GETWHEELSCROLLLINES, 0, &lines, 0);
  // To the right, but up.
  Turn(axis, lines, sideways ? turn : -turn);
  return true;
}

// Some mice turn in small pieces.
void ScrolledWindow::Turn(Axis& axis, UINT lines, int turn) {
  const std::int32_t line = axis.bar == SB_VERT ? line_.height : line_.width;
  const std::int32_t step = lines == WHEEL_PAGESCROLL
                                ? axis.view
                                : std::min(static_cast<std::int32_t>(lines) * line, axis.view);
  const int turned = axis.rest + turn * step;
  axis.rest = turned % WHEEL_DELTA;
  ScrollBy(axis, turned / WHEEL_DELTA);
}

void ScrolledWindow::ShowFocused() {
  if (!Scrolls()) return;
  const HWND focused = GetFocus();
  // What the mouse has pressed stays below it until it is let go.
  if (focused == focused_ || GetCapture() != nullptr) return;
  // The keyboard also goes to another program and comes back.
  if (IsChild(window_, focused) == FALSE) return;
  focused_ = focused;
  focus_moved_ = true;
  RECT rect{};
  GetWindowRect(focused, &rect);
  MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&rect), 2);
  const std::int32_t margin = kMargin * line_.height;
  // Not further across than need be: its label stands before it.
  if (across_.scrolls) {
    const std::int32_t offset = std::min(rect.left, rect.right + margin - across_.view);
    ScrollBy(across_, offset);
  }
  if (down_.scrolls) {
    ScrollBy(down_, IntoView(rect.top - margin, rect.bottom + margin, down_.view));
  }
}

}  // namespace qmzentrel::platform
