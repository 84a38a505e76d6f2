#include "platform/simulator_dialog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/desktop.h"
#include "platform/hardware_faults.h"
#include "tests/contract/dialog_recorder.h"
#include "tests/contract/harness.h"

namespace qmzentrel {
namespace {

using contract::DialogRecorder;
using contract::DialogUser;
using contract::FullContent;
using contract::ShowToUser;
using platform::DialogButton;
using platform::DialogCheck;
using platform::DialogContent;
using platform::DialogList;
using platform::DialogSpin;
using platform::DialogText;
using platform::HideSimulatorDialog;
using platform::RefreshSimulatorDialog;
using platform::WindowPlace;

using Lines = std::vector<std::string>;

// Everything in it, one line for each control.
Lines Describe(const DialogContent& content) {
  Lines lines = {"caption " + content.caption};
  for (const DialogContent::List& list : content.lists) {
    std::string line = "list " + std::to_string(list.selected) + " of";
    for (const platform::DialogItem& item : list.items) {
      line += ' ' + item.text + " = " + std::to_string(item.data) + ';';
    }
    lines.push_back(line);
  }
  for (const DialogContent::Check& check : content.checks) {
    lines.push_back(std::string("check ") + (check.ticked ? "ticked" : "clear") +
                    (check.enabled ? "" : " disabled"));
  }
  for (const DialogContent::Spin& spin : content.spins) {
    lines.push_back("spin " + std::to_string(spin.value) + " of " + std::to_string(spin.maximum));
  }
  for (const std::string& text : content.texts) lines.push_back("text " + text);
  lines.push_back("msi " + content.msi_caption);
  lines.push_back("tamper " + content.tamper_caption);
  lines.push_back(std::string("OK ") + (content.ok_enabled ? "enabled" : "disabled"));
  lines.push_back("notice " + content.notice);
  return lines;
}

template <class Array, class Name>
auto& Of(Array& array, Name name) {
  return array.at(static_cast<std::size_t>(name));
}

class SimulatorDialogContract : public testing::Test {
 protected:
  bool Show(const std::function<void(DialogUser&)>& user) {
    return ShowToUser(content_, recorder_, user);
  }
  // Keeps what the user does, as a presenter is expected to.
  void KeepSpins() {
    recorder_.on_told = [this](const std::string& line) {
      if (!line.starts_with("spin ")) return;
      const auto spin = static_cast<std::size_t>(line[5] - '0');
      content_.spins.at(spin).value = std::stoi(line.substr(7));
    };
  }

  DialogContent content_ = FullContent(
      std::string("Contract ") + testing::UnitTest::GetInstance()->current_test_info()->name());
  DialogRecorder recorder_;
};

TEST_F(SimulatorDialogContract, ShowsItsContent) {
  DialogContent seen;
  EXPECT_TRUE(Show([&](DialogUser& user) { seen = user.Shown(); }));
  EXPECT_EQ(Describe(seen), Describe(content_));
}

TEST_F(SimulatorDialogContract, ShowsEmptyListsAndADisabledOk) {
  for (DialogContent::List& list : content_.lists) list = {};
  for (DialogContent::Check& check : content_.checks) check = {true, false};
  content_.ok_enabled = false;
  content_.notice = "Nothing can be stored.";
  DialogContent seen;
  EXPECT_TRUE(Show([&](DialogUser& user) { seen = user.Shown(); }));
  EXPECT_EQ(Describe(seen), Describe(content_));
}

TEST_F(SimulatorDialogContract, ShowsTextOfAnyLanguageAsItIs) {
  content_.Of(DialogList::cboMIF).items[1].text = "[3] Z\u00e4hler \u6c34\u8868 & more";
  content_.Of(DialogText::txtBattery) = "5,2 \u20ac \U0001F4A7";
  content_.msi_caption = "\u03a9 && &x";
  DialogContent seen;
  EXPECT_TRUE(Show([&](DialogUser& user) { seen = user.Shown(); }));
  EXPECT_EQ(Describe(seen), Describe(content_));
}

TEST_F(SimulatorDialogContract, ShowingTellsThePresenterOfPlaceAndHidingOnly) {
  Show([](DialogUser&) {});
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogContract, TellsOfEveryChoice) {
  Show([](DialogUser& user) {
    user.Choose(DialogList::cboMIF, 2);
    user.Choose(DialogList::cboVersion, 0);
    user.Choose(DialogList::cboTXI, 1);
    user.Choose(DialogList::cboMSI, 0);
    user.Choose(DialogList::cboSignature0, 1);
    user.Choose(DialogList::cboSignature1, 0);
  });
  EXPECT_EQ(recorder_.OfUser(),
            (Lines{"list 0 2", "list 1 0", "list 2 1", "list 3 0", "list 4 1", "list 5 0"}));
}

TEST_F(SimulatorDialogContract, TellsOfEveryClick) {
  Show([](DialogUser& user) {
    user.Click(DialogCheck::chkUserID);
    user.Click(DialogCheck::chkEOL);
    user.Click(DialogCheck::chkEOL);
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"check 0 clear", "check 2 ticked", "check 2 clear"}));
}

TEST_F(SimulatorDialogContract, ADisabledBoxCannotBeClicked) {
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Click(DialogCheck::chkSecondary);
    seen = user.Shown();
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{});
  EXPECT_FALSE(Of(seen.checks, DialogCheck::chkSecondary).ticked);
}

TEST_F(SimulatorDialogContract, TellsOfEverySpin) {
  Show([](DialogUser& user) {
    user.Turn(DialogSpin::udXpdr, 16777215);
    user.Turn(DialogSpin::udReading, 0);
    user.Turn(DialogSpin::udTamper, 18);
    user.Turn(DialogSpin::udUtil, 61);
    user.Turn(DialogSpin::udThreshold, 255);
  });
  EXPECT_EQ(recorder_.OfUser(),
            (Lines{"spin 0 16777215", "spin 1 0", "spin 2 18", "spin 3 61", "spin 4 255"}));
}

TEST_F(SimulatorDialogContract, ASpinStaysWithinItsRange) {
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Turn(DialogSpin::udTamper, 256);
    user.Turn(DialogSpin::udUtil, -1);
    user.Turn(DialogSpin::udXpdr, 16777216);
    seen = user.Shown();
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"spin 2 255", "spin 3 0", "spin 0 16777215"}));
  EXPECT_EQ(Of(seen.spins, DialogSpin::udTamper).value, 255);
  EXPECT_EQ(Of(seen.spins, DialogSpin::udUtil).value, 0);
  EXPECT_EQ(Of(seen.spins, DialogSpin::udXpdr).value, 16777215);
}

TEST_F(SimulatorDialogContract, ANumberTypedBeyondTheRangeIsTheMaximum) {
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Type(DialogSpin::udTamper, "300");
    user.Type(DialogSpin::udReading, "5");
    user.Type(DialogSpin::udXpdr, "99999999999999999999999");
    seen = user.Shown();
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"spin 2 255", "spin 1 5", "spin 0 16777215"}));
  EXPECT_EQ(Of(seen.spins, DialogSpin::udTamper).value, 255);
  EXPECT_EQ(Of(seen.spins, DialogSpin::udXpdr).value, 16777215);
}

TEST_F(SimulatorDialogContract, LettersInASpinAreRefused) {
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Type(DialogSpin::udTamper, "1a");
    user.Type(DialogSpin::udUtil, "-1");
    user.Type(DialogSpin::udThreshold, "12,5");
    seen = user.Shown();
  });
  EXPECT_EQ(recorder_.OfUser(), Lines{});
  EXPECT_EQ(Of(seen.spins, DialogSpin::udTamper).value, 17);
  EXPECT_EQ(Of(seen.spins, DialogSpin::udUtil).value, 60);
  EXPECT_EQ(Of(seen.spins, DialogSpin::udThreshold).value, 0);
}

TEST_F(SimulatorDialogContract, AnEmptiedSpinGoesBackToItsLastValue) {
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Turn(DialogSpin::udTamper, 33);
    user.Type(DialogSpin::udTamper, "");
    user.Press(DialogButton::cmdNoXpdr);
    seen = user.Shown();
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"spin 2 33", "button 1 not OK"}));
  EXPECT_EQ(Of(seen.spins, DialogSpin::udTamper).value, 33);
}

TEST_F(SimulatorDialogContract, TellsOfEveryTextAsItIsTyped) {
  Show([](DialogUser& user) {
    user.Type(DialogText::txtZentrelVersion, "2.0b");
    user.Type(DialogText::txtBattery, "");
    user.Type(DialogText::txtBattery, "4,90 \u20ac");
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"text 0 2.0b", "text 1 ", "text 1 4,90 \u20ac"}));
}

TEST_F(SimulatorDialogContract, TheContentIsThePresentersToChange) {
  const Lines before = Describe(content_);
  Show([](DialogUser& user) {
    user.Choose(DialogList::cboMIF, 2);
    user.Click(DialogCheck::chkEOL);
    user.Turn(DialogSpin::udUtil, 61);
    user.Type(DialogText::txtBattery, "4.90");
  });
  EXPECT_EQ(Describe(content_), before);
}

TEST_F(SimulatorDialogContract, TheUserSeesHisOwnChangesAtOnce) {
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Choose(DialogList::cboMIF, 2);
    user.Click(DialogCheck::chkEOL);
    user.Turn(DialogSpin::udUtil, 61);
    user.Type(DialogText::txtBattery, "4.90");
    seen = user.Shown();
  });
  EXPECT_EQ(Of(seen.lists, DialogList::cboMIF).selected, 2);
  EXPECT_TRUE(Of(seen.checks, DialogCheck::chkEOL).ticked);
  EXPECT_EQ(Of(seen.spins, DialogSpin::udUtil).value, 61);
  EXPECT_EQ(Of(seen.texts, DialogText::txtBattery), "4.90");
}

TEST_F(SimulatorDialogContract, AChangedContentIsSeenAfterARefresh) {
  recorder_.on_told = [this](const std::string& line) {
    content_.Of(DialogList::cboVersion) = {{{"9.0", 7}}, 0};
    content_.Of(DialogList::cboTXI).selected = -1;
    content_.Of(DialogCheck::chkSecondary) = {true, true};
    content_.Of(DialogCheck::chkEOL) = {true, false};
    content_.Of(DialogSpin::udXpdr) = {7, 99};
    content_.Of(DialogSpin::udThreshold).value = 9;
    content_.texts = {"7.7", "0.00"};
    content_.msi_caption = "Other";
    content_.tamper_caption = "Tamper";
    content_.ok_enabled = false;
    content_.notice = "A line";
    if (line == "check 2 ticked") RefreshSimulatorDialog();
  };
  DialogContent before;
  DialogContent after;
  Show([&](DialogUser& user) {
    user.Turn(DialogSpin::udUtil, 61);
    before = user.Shown();
    user.Click(DialogCheck::chkEOL);
    after = user.Shown();
  });
  EXPECT_EQ(before.msi_caption, "Dials & digits");
  EXPECT_EQ(Of(before.lists, DialogList::cboVersion).items.size(), 3U);
  EXPECT_EQ(Describe(after), Describe(content_));
  EXPECT_EQ(recorder_.OfUser(), (Lines{"spin 3 61", "check 2 ticked"})) << "a refresh told of it";
}

TEST_F(SimulatorDialogContract, ARefreshBringsTheContentBack) {
  recorder_.on_told = [](const std::string&) { RefreshSimulatorDialog(); };
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Choose(DialogList::cboMIF, 2);
    user.Click(DialogCheck::chkEOL);
    user.Turn(DialogSpin::udUtil, 61);
    user.Type(DialogText::txtBattery, "4.90");
    seen = user.Shown();
  });
  EXPECT_EQ(Describe(seen), Describe(content_));
  EXPECT_EQ(recorder_.OfUser().size(), 4U);
}

TEST_F(SimulatorDialogContract, AListMayBeRebuiltWhileItsOwnChoiceIsTold) {
  recorder_.on_told = [this](const std::string& line) {
    if (!line.starts_with("list 0")) return;
    content_.Of(DialogList::cboMIF) = {{{"only one", 1}}, 0};
    RefreshSimulatorDialog();
  };
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Choose(DialogList::cboMIF, 2);
    seen = user.Shown();
    user.Choose(DialogList::cboMIF, 0);
  });
  EXPECT_EQ(Describe(seen), Describe(content_));
  EXPECT_EQ(recorder_.OfUser(), (Lines{"list 0 2", "list 0 0"}));
}

TEST_F(SimulatorDialogContract, TheDataOfAnEntryMayChangeWithoutItsText) {
  recorder_.on_told = [this](const std::string&) {
    content_.Of(DialogList::cboVersion).items[0].data = 12;
    RefreshSimulatorDialog();
  };
  DialogContent seen;
  Show([&](DialogUser& user) {
    user.Click(DialogCheck::chkEOL);
    seen = user.Shown();
  });
  EXPECT_EQ(Of(seen.lists, DialogList::cboVersion).items[0].data, 12);
}

TEST_F(SimulatorDialogContract, ASmallerMaximumHoldsFromTheRefreshOn) {
  KeepSpins();
  const auto keep = recorder_.on_told;
  recorder_.on_told = [this, keep](const std::string& line) {
    keep(line);
    if (line != "check 2 ticked") return;
    Of(content_.spins, DialogSpin::udXpdr) = {12, 99};
    RefreshSimulatorDialog();
  };
  Show([](DialogUser& user) {
    user.Click(DialogCheck::chkEOL);
    user.Turn(DialogSpin::udXpdr, 100);
  });
  EXPECT_EQ(recorder_.OfUser(), (Lines{"check 2 ticked", "spin 0 99"}));
}

TEST_F(SimulatorDialogContract, AButtonAloneDoesNotEndTheDialog) {
  bool still_up = false;
  Show([&](DialogUser& user) {
    user.Press(DialogButton::cmdOK);
    user.Press(DialogButton::cmdNoXpdr);
    user.Press(DialogButton::cmdNoZentrel);
    still_up = user.SeesDialog();
  });
  EXPECT_TRUE(still_up);
  EXPECT_EQ(recorder_.OfUser(), (Lines{"button 0 OK", "button 1 not OK", "button 2 not OK"}));
}

TEST_F(SimulatorDialogContract, ADisabledOkCannotBePressed) {
  content_.ok_enabled = false;
  Show([](DialogUser& user) { user.Press(DialogButton::cmdOK); });
  EXPECT_EQ(recorder_.OfUser(), Lines{});
}

TEST_F(SimulatorDialogContract, HidingEndsTheDialogAndEverythingTheUserCouldDo) {
  recorder_.on_told = [](const std::string& line) {
    if (line.starts_with("button")) HideSimulatorDialog();
  };
  bool still_up = true;
  EXPECT_TRUE(Show([&](DialogUser& user) {
    user.Press(DialogButton::cmdOK);
    still_up = user.SeesDialog();
    user.Press(DialogButton::cmdNoXpdr);
    user.Click(DialogCheck::chkEOL);
    user.Turn(DialogSpin::udTamper, 1);
    user.Type(DialogText::txtBattery, "1");
    user.CloseBox();
  }));
  EXPECT_FALSE(still_up);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "button 0 OK", "hiding"}));
}

TEST_F(SimulatorDialogContract, AnythingThePresenterIsToldOfMayHideTheDialog) {
  recorder_.on_told = [](const std::string&) {
    HideSimulatorDialog();
    HideSimulatorDialog();
    RefreshSimulatorDialog();
  };
  EXPECT_TRUE(Show([](DialogUser& user) { user.Choose(DialogList::cboMIF, 0); }));
  EXPECT_EQ(recorder_.told, (Lines{"placing", "list 0 0", "hiding"}));
}

TEST_F(SimulatorDialogContract, HiddenWhilePlacedItIsNeverSeen) {
  recorder_.on_placing = [](WindowPlace&) { HideSimulatorDialog(); };
  bool acted = false;
  EXPECT_TRUE(Show([&](DialogUser&) { acted = true; }));
  EXPECT_FALSE(acted);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogContract, TheCloseBoxEndsTheDialogWithoutAButton) {
  bool still_up = true;
  EXPECT_TRUE(Show([&](DialogUser& user) {
    user.CloseBox();
    still_up = user.SeesDialog();
  }));
  EXPECT_FALSE(still_up);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogContract, StandsWhereItIsPlaced) {
  recorder_.on_placing = [](WindowPlace& place) {
    place.left = 31;
    place.top = 42;
    place.width += 10;
    place.height += 20;
  };
  WindowPlace seen;
  Show([&](DialogUser& user) { seen = user.Place(); });
  EXPECT_EQ(seen.left, 31);
  EXPECT_EQ(seen.top, 42);
  EXPECT_EQ(seen.width, recorder_.designed_place.width + 10);
  EXPECT_EQ(seen.height, recorder_.designed_place.height + 20);
  EXPECT_EQ(recorder_.last_place.left, 31);
  EXPECT_EQ(recorder_.last_place.height, seen.height);
}

TEST_F(SimulatorDialogContract, ByDefaultItStandsWithinTheScreenInItsDesignedSize) {
  WindowPlace seen;
  Show([&](DialogUser& user) { seen = user.Place(); });
  const platform::ScreenSize screen = platform::PrimaryScreen();
  EXPECT_GT(seen.width, 300);
  EXPECT_GT(seen.height, 200);
  EXPECT_GE(seen.left, 0);
  EXPECT_GE(seen.top, 0);
  EXPECT_LE(seen.left + seen.width, screen.width);
  EXPECT_LE(seen.top + seen.height, screen.height);
  EXPECT_EQ(seen.left, recorder_.designed_place.left);
}

TEST_F(SimulatorDialogContract, HidingTellsWhereTheUserHasMovedIt) {
  Show([](DialogUser& user) { user.Move(70, 80); });
  EXPECT_EQ(recorder_.last_place.left, 70);
  EXPECT_EQ(recorder_.last_place.top, 80);
  EXPECT_EQ(recorder_.last_place.width, recorder_.designed_place.width);
}

TEST_F(SimulatorDialogContract, CanBeShownAgainWithAnotherContent) {
  Show([](DialogUser& user) { user.Choose(DialogList::cboMIF, 2); });
  content_.caption += " again";
  content_.Of(DialogList::cboMIF) = {{{"[7] Other", 7}}, 0};
  DialogContent seen;
  Show([&](DialogUser& user) { seen = user.Shown(); });
  EXPECT_EQ(Describe(seen), Describe(content_));
}

TEST_F(SimulatorDialogContract, AFailureOfThePresenterEndsTheDialogAndReachesTheCaller) {
  const std::vector<std::function<void(DialogUser&)>> acts = {
      [](DialogUser& user) { user.Choose(DialogList::cboMIF, 2); },
      [](DialogUser& user) { user.Click(DialogCheck::chkEOL); },
      [](DialogUser& user) { user.Turn(DialogSpin::udTamper, 1); },
      [](DialogUser& user) { user.Type(DialogText::txtBattery, "x"); },
      [](DialogUser& user) { user.Press(DialogButton::cmdNoZentrel); },
  };
  recorder_.on_told = [](const std::string& line) { throw std::runtime_error(line); };
  for (const auto& act : acts) {
    recorder_.told.clear();
    std::string reached;
    try {
      Show([&](DialogUser& user) {
        act(user);
        user.Press(DialogButton::cmdNoXpdr);
      });
    } catch (const std::runtime_error& failure) {
      reached = failure.what();
    }
    ASSERT_EQ(recorder_.told.size(), 3U);
    EXPECT_EQ(reached, recorder_.told[1]);
    EXPECT_EQ(recorder_.told[2], "hiding");
  }
}

TEST_F(SimulatorDialogContract, AnExceptionOfTheProcessorInThePresenterReachesTheCallerAsAnError) {
  struct Fault : platform::RaisedFault {};
  platform::InstallFaultHandling([](std::uint32_t code) { throw Fault{{code}}; });
  recorder_.on_told = [](const std::string&) { contract::RaiseFault(0xC0000005); };
  std::uint32_t code = 0;
  try {
    Show([](DialogUser& user) { user.Click(DialogCheck::chkEOL); });
  } catch (const Fault& fault) {
    code = fault.code;
  }
  EXPECT_EQ(code, 0xC0000005U);
}

TEST_F(SimulatorDialogContract, AFailureInPlacingReachesTheCallerAndNothingIsHidden) {
  recorder_.on_placing = [](WindowPlace&) { throw std::runtime_error("no place"); };
  bool acted = false;
  EXPECT_THROW(Show([&](DialogUser&) { acted = true; }), std::runtime_error);
  EXPECT_FALSE(acted);
  EXPECT_EQ(recorder_.told, Lines{"placing"});
}

TEST_F(SimulatorDialogContract, AFailureInHidingReachesTheCaller) {
  recorder_.on_hiding = [] { throw std::runtime_error("not stored"); };
  EXPECT_THROW(Show([](DialogUser&) {}), std::runtime_error);
}

TEST_F(SimulatorDialogContract, OfTwoFailuresTheFirstReachesTheCaller) {
  recorder_.on_told = [](const std::string&) { throw std::runtime_error("first"); };
  recorder_.on_hiding = [] { throw std::runtime_error("second"); };
  std::string reached;
  try {
    Show([](DialogUser& user) { user.Click(DialogCheck::chkEOL); });
  } catch (const std::runtime_error& failure) {
    reached = failure.what();
  }
  EXPECT_EQ(reached, "first");
}

TEST_F(SimulatorDialogContract, MessagesOfTheThreadAreDispatchedMeanwhile) {
  std::atomic<bool> ran = false;
  contract::PostCallLater(50, [&ran] { ran = true; });
  bool seen = false;
  Show([&](DialogUser& user) { seen = user.WaitFor([&ran] { return ran.load(); }); });
  EXPECT_TRUE(seen);
}

TEST_F(SimulatorDialogContract, TheEndOfTheProgramEndsTheDialogAndIsPassedOnOnce) {
  bool gone = false;
  EXPECT_TRUE(Show([&](DialogUser& user) {
    contract::PostCallLater(0, [] { contract::PostQuit(7); });
    gone = user.WaitFor([&user] { return !user.SeesDialog(); });
  }));
  EXPECT_TRUE(gone);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
  EXPECT_EQ(contract::TakeQuit(), 7);
  EXPECT_EQ(contract::TakeQuit(), std::nullopt);
}

TEST_F(SimulatorDialogContract, AMessageMayHideTheDialog) {
  bool gone = false;
  Show([&](DialogUser& user) {
    contract::PostCallLater(0, [] { HideSimulatorDialog(); });
    gone = user.WaitFor([&user] { return !user.SeesDialog(); });
  });
  EXPECT_TRUE(gone);
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogContract, WithoutADialogRefreshingAndHidingDoNothing) {
  RefreshSimulatorDialog();
  HideSimulatorDialog();
  Show([](DialogUser&) {});
  RefreshSimulatorDialog();
  HideSimulatorDialog();
  EXPECT_EQ(recorder_.told, (Lines{"placing", "hiding"}));
}

TEST_F(SimulatorDialogContract, AnotherThreadCannotHideIt) {
  bool still_up = false;
  recorder_.on_told = [](const std::string&) {
    contract::RunOnAnotherThread([] {
      HideSimulatorDialog();
      RefreshSimulatorDialog();
    });
  };
  Show([&](DialogUser& user) {
    user.Click(DialogCheck::chkEOL);
    still_up = user.SeesDialog();
  });
  EXPECT_TRUE(still_up);
}

// A second dialog, with a presenter of its own, whose OK hides it. What its presenter was told.
Lines ShowAnotherAndPressOk() {
  const DialogContent content = FullContent("Contract, another dialog");
  DialogRecorder recorder;
  recorder.on_told = [](const std::string& line) {
    if (line == "button 0 OK") HideSimulatorDialog();
  };
  ShowToUser(content, recorder, [](DialogUser& user) {
    user.Turn(DialogSpin::udUtil, 3);
    user.Press(DialogButton::cmdOK);
  });
  return recorder.told;
}

TEST_F(SimulatorDialogContract, TwoDialogsThatAreUpDoNotDisturbEachOther) {
  recorder_.on_told = [this](const std::string&) {
    content_.notice = "Refreshed";
    RefreshSimulatorDialog();
  };
  Lines told_by_other;
  DialogContent seen;
  Show([&](DialogUser& user) {
    told_by_other = ShowAnotherAndPressOk();
    user.Click(DialogCheck::chkEOL);
    seen = user.Shown();
  });
  EXPECT_EQ(told_by_other, (Lines{"placing", "spin 3 3", "button 0 OK", "hiding"}));
  EXPECT_EQ(recorder_.told, (Lines{"placing", "check 2 ticked", "hiding"}));
  EXPECT_EQ(seen.notice, "Refreshed");
}

TEST_F(SimulatorDialogContract, ADialogMayBeShownFromWithinAnother) {
  Lines told_by_inner;
  recorder_.on_told = [&](const std::string& line) {
    if (line == "check 2 ticked") told_by_inner = ShowAnotherAndPressOk();
    if (line == "button 0 OK") HideSimulatorDialog();
  };
  bool still_up = false;
  Show([&](DialogUser& user) {
    user.Click(DialogCheck::chkEOL);
    still_up = user.SeesDialog();
    user.Press(DialogButton::cmdOK);
  });
  EXPECT_TRUE(still_up);
  EXPECT_EQ(told_by_inner, (Lines{"placing", "spin 3 3", "button 0 OK", "hiding"}));
  EXPECT_EQ(recorder_.told, (Lines{"placing", "check 2 ticked", "button 0 OK", "hiding"}));
}

TEST_F(SimulatorDialogContract, WithoutADesktopNothingIsShown) {
  bool acted = false;
  bool shown = true;
  contract::WithoutDesktop([&] { shown = Show([&](DialogUser&) { acted = true; }); });
  EXPECT_FALSE(shown);
  EXPECT_FALSE(acted);
  EXPECT_EQ(recorder_.told, Lines{});
}

}  // namespace
}  // namespace qmzentrel
