// A presenter that notes what it is told, and does with it what a test wants.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/simulator_dialog.h"

namespace qmzentrel::contract {

/// Notes every call as a line, "list 1 2" say: kind, which one, value. Changes nothing by itself.
class DialogRecorder : public platform::DialogPresenter {
 public:
  std::vector<std::string> told;
  platform::WindowPlace designed_place;
  platform::WindowPlace last_place;
  /// Asked to change the place.
  std::function<void(platform::WindowPlace&)> on_placing = [](platform::WindowPlace&) {};
  /// Called with each line but those of placing and hiding, after it has been noted.
  std::function<void(const std::string& line)> on_told = [](const std::string&) {};
  std::function<void()> on_hiding = [] {};

  void Placing(platform::WindowPlace& place) override {
    designed_place = place;
    told.emplace_back("placing");
    on_placing(place);
  }
  void ListChosen(platform::DialogList list, std::int32_t index) override {
    Note("list", list, std::to_string(index));
  }
  void CheckClicked(platform::DialogCheck check, bool ticked) override {
    Note("check", check, ticked ? "ticked" : "clear");
  }
  void SpinTurned(platform::DialogSpin spin, std::int32_t value) override {
    Note("spin", spin, std::to_string(value));
  }
  void TextTyped(platform::DialogText text, const std::string& typed) override {
    Note("text", text, typed);
  }
  void ButtonPressed(platform::DialogButton button) override {
    Note("button", button, button == platform::DialogButton::cmdOK ? "OK" : "not OK");
  }
  void Hiding(const platform::WindowPlace& place) override {
    last_place = place;
    told.emplace_back("hiding");
    on_hiding();
  }

  /// What was told between placing and hiding.
  std::vector<std::string> OfUser() const {
    std::vector<std::string> lines = told;
    std::erase(lines, "placing");
    std::erase(lines, "hiding");
    return lines;
  }

 private:
  template <class Name>
  void Note(const std::string& kind, Name name, const std::string& value) {
    told.push_back(kind + ' ' + std::to_string(static_cast<int>(name)) + ' ' + value);
    on_told(std::string(told.back()));
  }
};

/// A content with something in every control; the title is the test's own.
inline platform::DialogContent FullContent(const std::string& caption) {
  platform::DialogContent content;
  content.caption = caption;
  content.lists = {{{{{"[0] None", 0}, {"[3] Pulse", 3}, {"[4] Encoder", 4}}, 1},
                    {{{"4.0", 0}, {"5.1", 0}, {"8.0", 0}}, 2},
                    {{{"[0] Never", 0}, {"[1] 1 minute", 1}, {"[2] 5 minutes", 2}}, 0},
                    {{{"[-1] One", -1}, {"[2147483647] Two", 2147483647}}, 1},
                    {{{"Handheld", 0xA5}, {"Desk", 0x1A}}, 0},
                    {{{"Standard", 0}, {"Factory", 0xFF}}, 1}}};
  content.checks = {{{true, true}, {false, false}, {false, true}}};
  content.spins = {{{12345678, 16777215}, {16777215, 16777215}, {17, 255}, {60, 255}, {0, 255}}};
  content.texts = {"1.3", "5.20"};
  content.msi_caption = "Dials & digits";
  content.tamper_caption = "Status";
  content.ok_enabled = true;
  return content;
}

}  // namespace qmzentrel::contract
