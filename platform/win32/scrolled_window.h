// A dialog that is larger than the screen, brought into reach.
#pragma once

#include <windows.h>

#include "platform/desktop.h"

namespace qmzentrel::platform {

/// Keeps a window within the work area, and lets the user scroll where its controls have no room
/// then: with its bars, with the wheel, and by moving the keyboard to a control. Where there is
/// room for all of them, it does nothing.
class ScrolledWindow {
 public:
  /// Once `window` has been made, in the size that its controls need.
  void Begin(HWND window);
  /// Its controls need so much more height, in pixels, or less: it gets it, as far as there is
  /// room.
  void Grow(std::int32_t growth);

  /// Moves the window there, in that size, but not beyond the work area.
  void Place(const WindowPlace& place);

  /// Whether it was a message about scrolling.
  bool Answer(UINT message, WPARAM wide, LPARAM parameter);
  /// Whether `message` turned the wheel over one of the controls and scrolled the window. Before it
  /// comes to the control, which would take it for a change of its value.
  bool TakeWheel(const MSG& message);
  /// The control that has the keyboard now is left where it is: the user has not gone to it.
  void LeaveFocused() { focused_ = GetFocus(); }
  /// Brings the control that has the keyboard into view once it has come there from another.
  void ShowFocused();

 private:
  struct Extent {
    std::int32_t width = 0;
    std::int32_t height = 0;
  };
  // One direction.
  struct Axis {
    int bar = SB_VERT;
    bool scrolls = false;
    std::int32_t content = 0;
    std::int32_t view = 0;
    std::int32_t offset = 0;  // of the content that stands at the edge of the view
    std::int32_t rest = 0;    // what small turns of the wheel have not come to yet
  };

  // With all its controls and without bars.
  Extent Whole() const { return {content_.width + edge_.width, content_.height + edge_.height}; }
  bool Scrolls() const { return across_.scrolls || down_.scrolls; }
  Extent EndOfControls() const;
  void MeasureLine();
  void MeasureAgain();
  void Fit(Axis& axis, bool scrolls, std::int32_t content, std::int32_t view);
  void ScrollTo(Axis& axis, std::int32_t offset);
  void ScrollBy(Axis& axis, std::int32_t pixels) { ScrollTo(axis, axis.offset + pixels); }
  void OnBar(Axis& axis, int code);
  bool OnWheel(UINT message, WPARAM wide);
  void Turn(Axis& axis, UINT lines, int turn);
  void MoveControls(std::int32_t right, std::int32_t down) const;

  HWND window_ = nullptr;
  Extent content_;
  Extent edge_;
  Extent margin_;  // of the content, beyond its controls
  Extent line_;
  Axis across_{.bar = SB_HORZ};
  Axis down_{.bar = SB_VERT};
  HWND focused_ = nullptr;
  bool focus_moved_ = false;
};

}  // namespace qmzentrel::platform
