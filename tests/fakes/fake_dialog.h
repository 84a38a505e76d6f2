// The simulator's dialog in memory, with a user that a test plays.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>

#include "platform/simulator_dialog.h"
#include "tests/fakes/fake_time.h"

namespace qmzentrel::fakes {

/// A dialog that is up, as its user sees it and acts on it. What cannot be done (clicking what is
/// disabled, anything after the dialog has gone) does nothing; naming what is not there throws.
class FakeDialog {
 public:
  FakeDialog(const platform::DialogContent& content, platform::DialogPresenter& presenter);

  /// What the dialog shows: the content as it was last shown, and what the user has done since.
  const platform::DialogContent& Shown() const { return shown_; }
  const platform::DialogContent::List& Shown(platform::DialogList list) const;
  /// Text of the selected entry, empty when none is.
  std::string ShownEntry(platform::DialogList list) const;
  const platform::DialogContent::Check& Shown(platform::DialogCheck check) const;
  std::int32_t Shown(platform::DialogSpin spin) const;
  const std::string& Shown(platform::DialogText text) const;
  platform::WindowPlace Place() const { return place_; }
  bool IsUp() const { return !gone_; }

  void Choose(platform::DialogList list, std::int32_t index);
  /// The first entry with this text.
  void Choose(platform::DialogList list, const std::string& entry);
  void Click(platform::DialogCheck check);
  /// To a value, as far as the range goes.
  void Turn(platform::DialogSpin spin, std::int32_t value);
  /// What is typed goes into the box as far as it is a number: beyond the range it is the maximum,
  /// an empty box or other letters leave the value as it was.
  void Type(platform::DialogSpin spin, const std::string& typed);
  void Type(platform::DialogText text, const std::string& typed);
  void Press(platform::DialogButton button);
  void CloseBox();
  void Move(std::int32_t left, std::int32_t top);
  /// Waits at the dialog: messages of the thread are dispatched meanwhile.
  void Wait(Milliseconds time);

  // For the platform.

  /// Lets the user act. Throws what the presenter has thrown.
  void Run(const std::function<void(FakeDialog&)>& user);
  void Refresh();
  void Hide() { gone_ = true; }

 private:
  template <class Call>
  void Tell(Call call);

  const platform::DialogContent& content_;
  platform::DialogPresenter& presenter_;
  platform::DialogContent shown_;
  platform::WindowPlace place_;
  bool gone_ = false;
  std::optional<std::uintptr_t> quit_code_;
  std::exception_ptr failure_;
};

struct FakeDialogs {
  /// Size and position that the dialog is designed with.
  platform::WindowPlace designed_place{212, 184, 600, 400};
  /// What the user does at each dialog; one that is still up afterwards is closed by its close box.
  std::function<void(FakeDialog& dialog)> dialog_user;
  int dialogs_shown = 0;
};

}  // namespace qmzentrel::fakes
