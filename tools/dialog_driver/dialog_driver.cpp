// Plays the user of the simulator's dialog, or of a message box, of another process.
//
// Usage: dialog_driver TITLE COMMAND...
//   choose LIST INDEX   selects the entry with this index, 0 the first
//   tick CHECK          ticks the box; untick CHECK clears it
//   turn SPIN VALUE     turns the spin to the value
//   type BOX TEXT       puts the text into the box
//   press BUTTON        presses it and waits until the dialog has gone
//   close               uses the close box and waits until the dialog has gone
//   show                prints the state of every control, one a line
//   view                prints which bars there are to scroll with, and which controls are in view,
//                       one a line
//   read                prints the text of a message box
// Example: dialog_driver "Zentrel Simulator - Read" choose cboMIF 2 turn udReading 12345 press
// cmdOK
//
// Exit codes: 0 all done, 1 the dialog did not come, 2 a command cannot be understood, 3 a command
// could not be done.
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <deque>
#include <exception>
#include <string>

#include "tools/dialog_driver/control_names.h"
#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel::dialog_driver {
namespace {

constexpr DWORD kPatienceMs = 20'000;

struct Failure {
  int exit_code;
  std::wstring text;
};

std::string Utf8(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}

using Words = std::deque<std::wstring>;

std::wstring TakeWord(Words& words) {
  if (words.empty()) throw Failure{2, L"a word is missing at the end"};
  std::wstring word = words.front();
  words.pop_front();
  return word;
}

std::int32_t TakeNumber(Words& words) {
  const std::wstring word = TakeWord(words);
  wchar_t* end = nullptr;
  const long number = std::wcstol(word.c_str(), &end, 10);
  if (word.empty() || *end != L'\0') throw Failure{2, word + L" is no number"};
  return number;
}

NamedControl TakeControl(Words& words, ControlKind kind) {
  const std::wstring word = TakeWord(words);
  const NamedControl* const control = FindControl(word);
  if (control == nullptr || control->kind != kind) {
    throw Failure{2, word + L" is no control of this kind"};
  }
  return *control;
}

void Choose(const DialogWindow& dialog, const NamedControl& list, std::int32_t index) {
  if (index < 0 || static_cast<std::size_t>(index) >= dialog.Entries(list.id).size()) {
    throw Failure{3, std::wstring(list.name) + L" has no entry " + std::to_wstring(index)};
  }
  dialog.Choose(list.id, index);
}

void Tick(const DialogWindow& dialog, const NamedControl& check, bool ticked) {
  if (dialog.IsTicked(check.id) != ticked) dialog.Click(check.id);
  if (dialog.IsTicked(check.id) != ticked) {
    throw Failure{3, std::wstring(check.name) + L" does not change"};
  }
}

void Turn(const DialogWindow& dialog, const NamedControl& spin, std::int32_t value) {
  dialog.Turn(spin.id, value);
  if (dialog.Value(spin.id) != value) {
    throw Failure{3, std::wstring(spin.name) + L" does not go to " + std::to_wstring(value)};
  }
}

void Press(const DialogWindow& dialog, const NamedControl& button) {
  if (!dialog.IsEnabled(button.id)) throw Failure{3, std::wstring(button.name) + L" is disabled"};
  dialog.Click(button.id);
}

void ExpectGone(const DialogWindow& dialog) {
  if (!dialog.WaitUntilGone(kPatienceMs)) throw Failure{3, L"the dialog stays"};
}

// "cboMIF 1 of 3 [2] Name", "chkEOL ticked", "udUtil 60", "txtBattery 5.20", "cmdOK OK", with
// " (disabled)" or " (hidden)" at the end of what is.
std::wstring Describe(const DialogWindow& dialog, const NamedControl& control) {
  std::wstring line(control.name);
  switch (control.kind) {
    case ControlKind::kList: {
      const auto entries = dialog.Entries(control.id);
      const std::int32_t selected = dialog.Selected(control.id);
      line += L' ' + std::to_wstring(selected) + L" of " + std::to_wstring(entries.size());
      if (selected >= 0) line += L' ' + entries.at(static_cast<std::size_t>(selected)).text;
      break;
    }
    case ControlKind::kCheck:
      line += dialog.IsTicked(control.id) ? L" ticked" : L" clear";
      break;
    case ControlKind::kSpin:
      line += L' ' + std::to_wstring(dialog.Value(control.id));
      break;
    case ControlKind::kText:
    case ControlKind::kButton:
    case ControlKind::kLabel:
      line += L' ' + dialog.Text(control.id);
      break;
  }
  if (!dialog.IsEnabled(control.id)) line += L" (disabled)";
  if (!dialog.IsVisible(control.id)) line += L" (hidden)";
  return line;
}

void Show(const DialogWindow& dialog) {
  for (const NamedControl& control : NamedControls()) {
    std::printf("%s\n", Utf8(Describe(dialog, control)).c_str());
  }
}

// "bars: down across", then "cmdOK in view, has the keyboard" or "cboMIF out of view".
void ShowView(const DialogWindow& dialog) {
  const LONG bars = dialog.Bars();
  std::printf("bars:%s%s\n", (bars & WS_VSCROLL) != 0 ? " down" : "",
              (bars & WS_HSCROLL) != 0 ? " across" : "");
  const int focused = dialog.Focused();
  for (const NamedControl& control : NamedControls()) {
    std::printf("%s %s%s\n", Utf8(std::wstring(control.name)).c_str(),
                dialog.IsInView(control.id) ? "in view" : "out of view",
                control.id == focused ? ", has the keyboard" : "");
  }
}

void Obey(const DialogWindow& dialog, Words& words) {
  const std::wstring command = TakeWord(words);
  if (command == L"choose") {
    const NamedControl list = TakeControl(words, ControlKind::kList);
    Choose(dialog, list, TakeNumber(words));
  } else if (command == L"tick" || command == L"untick") {
    Tick(dialog, TakeControl(words, ControlKind::kCheck), command == L"tick");
  } else if (command == L"turn") {
    const NamedControl spin = TakeControl(words, ControlKind::kSpin);
    Turn(dialog, spin, TakeNumber(words));
  } else if (command == L"type") {
    const NamedControl box = TakeControl(words, ControlKind::kText);
    dialog.Type(box.id, TakeWord(words));
  } else if (command == L"press") {
    Press(dialog, TakeControl(words, ControlKind::kButton));
    ExpectGone(dialog);
  } else if (command == L"close") {
    dialog.CloseBox();
    ExpectGone(dialog);
  } else if (command == L"show") {
    Show(dialog);
  } else if (command == L"view") {
    ShowView(dialog);
  } else if (command == L"read") {
    std::printf("%s\n", Utf8(dialog.Message()).c_str());
  } else {
    throw Failure{2, command + L" is no command"};
  }
}

int Run(Words words) {
  try {
    const std::wstring title = TakeWord(words);
    const auto dialog = DialogWindow::WaitFor(title, kPatienceMs);
    if (!dialog) throw Failure{1, L"no dialog \"" + title + L"\" has come"};
    while (!words.empty()) Obey(*dialog, words);
    return 0;
  } catch (const Failure& failure) {
    std::fprintf(stderr, "dialog_driver: %s\n", Utf8(failure.text).c_str());
    return failure.exit_code;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "dialog_driver: %s\n", failure.what());
    return 3;
  }
}

}  // namespace
}  // namespace qmzentrel::dialog_driver

int wmain(int argc, wchar_t** argv) {
  return qmzentrel::dialog_driver::Run({argv + 1, argv + argc});
}
