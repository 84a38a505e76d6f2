#include "tests/fakes/fake_dialog.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/hardware_faults.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::fakes {

using platform::DialogButton;
using platform::DialogCheck;
using platform::DialogContent;
using platform::DialogList;
using platform::DialogPresenter;
using platform::DialogSpin;
using platform::DialogText;

namespace {

// The dialog of the calling thread, the innermost one.
thread_local FakeDialog* g_dialog = nullptr;

template <class Array, class Name>
auto& At(Array& array, Name name) {
  return array.at(static_cast<std::size_t>(name));
}

}  // namespace

FakeDialog::FakeDialog(const DialogContent& content, DialogPresenter& presenter)
    : content_(content),
      presenter_(presenter),
      shown_(content),
      place_(TheWorld().designed_place) {}

const DialogContent::List& FakeDialog::Shown(DialogList list) const {
  return At(shown_.lists, list);
}

std::string FakeDialog::ShownEntry(DialogList list) const {
  const DialogContent::List& shown = Shown(list);
  return shown.selected < 0 ? "" : shown.items.at(static_cast<std::size_t>(shown.selected)).text;
}

const DialogContent::Check& FakeDialog::Shown(DialogCheck check) const {
  return At(shown_.checks, check);
}

std::int32_t FakeDialog::Shown(DialogSpin spin) const {
  return At(shown_.spins, spin).value;
}

const std::string& FakeDialog::Shown(DialogText text) const {
  return At(shown_.texts, text);
}

// An error of the presenter's ends the dialog and is raised once that has gone, as in the real one.
template <class Call>
void FakeDialog::Tell(Call call) {
  try {
    platform::RaisingFaults(call);
  } catch (...) {
    if (!failure_) failure_ = std::current_exception();
    gone_ = true;
  }
}

void FakeDialog::Choose(DialogList list, std::int32_t index) {
  if (gone_) return;
  DialogContent::List& shown = At(shown_.lists, list);
  // -1 as in the real one: a choice that is taken back.
  if (index < -1 || index >= static_cast<std::int32_t>(shown.items.size())) {
    throw std::out_of_range("the dialog's list has no entry " + std::to_string(index));
  }
  shown.selected = index;
  Tell([&] { presenter_.ListChosen(list, index); });
}

void FakeDialog::Choose(DialogList list, const std::string& entry) {
  const auto& items = Shown(list).items;
  const auto found = std::ranges::find(items, entry, &platform::DialogItem::text);
  if (found == items.end()) throw std::out_of_range("the dialog's list has no entry " + entry);
  Choose(list, static_cast<std::int32_t>(found - items.begin()));
}

void FakeDialog::Click(DialogCheck check) {
  DialogContent::Check& shown = At(shown_.checks, check);
  if (gone_ || !shown.enabled) return;
  shown.ticked = !shown.ticked;
  const bool ticked = shown.ticked;
  Tell([&] { presenter_.CheckClicked(check, ticked); });
}

void FakeDialog::Turn(DialogSpin spin, std::int32_t value) {
  DialogContent::Spin& shown = At(shown_.spins, spin);
  const std::int32_t turned = std::clamp(value, 0, shown.maximum);
  if (gone_ || turned == shown.value) return;
  shown.value = turned;
  Tell([&] { presenter_.SpinTurned(spin, turned); });
}

void FakeDialog::Type(DialogSpin spin, const std::string& typed) {
  if (typed.empty() || typed.find_first_not_of("0123456789") != std::string::npos) return;
  const std::int64_t maximum = At(shown_.spins, spin).maximum;
  std::int64_t value = 0;
  for (const char digit : typed) value = std::min(value * 10 + (digit - '0'), maximum);
  Turn(spin, static_cast<std::int32_t>(value));
}

void FakeDialog::Type(DialogText text, const std::string& typed) {
  std::string& shown = At(shown_.texts, text);
  if (gone_ || shown == typed) return;
  shown = typed;
  Tell([&] { presenter_.TextTyped(text, typed); });
}

void FakeDialog::Press(DialogButton button) {
  if (gone_ || (button == DialogButton::cmdOK && !shown_.ok_enabled)) return;
  Tell([&] { presenter_.ButtonPressed(button); });
}

void FakeDialog::CloseBox() {
  gone_ = true;
}

void FakeDialog::Move(std::int32_t left, std::int32_t top) {
  if (gone_) return;
  place_.left = left;
  place_.top = top;
}

void FakeDialog::Wait(Milliseconds time) {
  World& world = TheWorld();
  const Microseconds end = world.now + time;
  const auto on_quit = [this](std::uintptr_t code) {
    quit_code_ = code;
    gone_ = true;
  };
  if (!gone_) world.DispatchDue(on_quit);
  while (!gone_ && world.now < end) {
    world.SleepUntilDue(end);
    world.DispatchDue(on_quit);
  }
}

void FakeDialog::Run(const std::function<void(FakeDialog&)>& user) {
  World& world = TheWorld();
  ++world.dialogs_shown;
  world.Note("dialog " + shown_.caption);
  FakeDialog* const outer = std::exchange(g_dialog, this);
  const platform::ClientCode windows_of_the_client;
  bool placed = false;
  Tell([&] {
    presenter_.Placing(place_);
    placed = true;
  });
  if (user && !gone_) {
    try {
      user(*this);
    } catch (...) {
      g_dialog = outer;
      throw;
    }
  }
  gone_ = true;
  if (placed) Tell([&] { presenter_.Hiding(place_); });
  g_dialog = outer;
  if (quit_code_) {
    world.quits_reposted.push_back(*quit_code_);
    world.PostQuit(Milliseconds(0), *quit_code_);
  }
  if (failure_) std::rethrow_exception(failure_);
}

void FakeDialog::Refresh() {
  if (!gone_) shown_ = content_;
}

}  // namespace qmzentrel::fakes

namespace qmzentrel::platform {

using fakes::TheWorld;

bool ShowSimulatorDialog(const DialogContent& content, DialogPresenter& presenter) {
  if (!TheWorld().has_desktop) return false;
  // A copy: the user may arrange for the next dialog meanwhile.
  const auto user = TheWorld().dialog_user;
  fakes::FakeDialog(content, presenter).Run(user);
  return true;
}

void RefreshSimulatorDialog() {
  TheWorld().Enter("RefreshSimulatorDialog");
  if (fakes::g_dialog != nullptr) fakes::g_dialog->Refresh();
}

void HideSimulatorDialog() {
  TheWorld().Enter("HideSimulatorDialog");
  if (fakes::g_dialog != nullptr) fakes::g_dialog->Hide();
}

}  // namespace qmzentrel::platform
