// Clients whose language raises exceptions of its own, and handles them outside their call to the
// component: whatever they leave in the middle is given back, and the object goes on.
#include <gtest/gtest.h>

#include "platform/win32/simulator_dialog_controls.h"
#include "tests/automation/replaced_import.h"
#include "tests/automation/scripted_object.h"
#include "tests/clients/client_filter.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/outside_handler.h"
#include "tests/clients/raising_window.h"
#include "tests/clients/test_catalog.h"
#include "tools/dialog_driver/dialog_window.h"

namespace qmzentrel::clients {
namespace {

using automation::ScriptedObject;
using dialog_driver::DialogWindow;

constexpr int kRounds = 1000;

class ClientExceptions : public testing::Test {
 protected:
  ClientExceptions() {
    catalog.Fill();
    zentrel = NewZentrel();
    Attach(zentrel.Get(), sink);
  }
  // The last reference frees the object, whatever has been left in its calls.
  ~ClientExceptions() override {
    sink->on_event = nullptr;
    EXPECT_EQ(zentrel.Detach()->Release(), 0U);
    EXPECT_EQ(sink->References(), 1U) << "the object has not gone";
    sink->Release();
    EXPECT_EQ(reports.Count(), 0);
    EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_OK);
  }

  static void Attach(_Zentrel* object, EventSink* sink) {
    const auto container = As<IConnectionPointContainer>(object, IID_IConnectionPointContainer);
    ComPointer<IConnectionPoint> point;
    DWORD cookie = 0;
    EXPECT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
    EXPECT_EQ(point->Advise(sink, &cookie), S_OK);
  }

  void RaiseInEvents(unsigned long code = CLIENT_EXCEPTION) {
    code_to_raise = code;
    sink->on_event = [](EventSink& self, EXCEPINFO*) {
      self.states.clear();
      RaiseClientException(code_to_raise);
      return S_OK;
    };
  }

  void ExpectObjectAtWork() {
    sink->on_event = nullptr;
    LONG util = 0;
    EXPECT_EQ(zentrel->put_Util(42), S_OK);
    EXPECT_EQ(zentrel->get_Util(&util), S_OK);
    EXPECT_EQ(util, 42);
    sink->states.clear();
    EXPECT_EQ(zentrel->put_PowerManagement(VARIANT_FALSE), S_OK);
    EXPECT_EQ(sink->states, std::vector<bool>{true});
  }

  // A handler in the middle of the stack destroys nothing: what an event needs lies here.
  static inline unsigned long code_to_raise = 0;
  static inline int depth = 0;
  static inline _Zentrel* itself = nullptr;

  ErrorReports reports;
  TestCatalog catalog;
  ComPointer<_Zentrel> zentrel;
  EventSink* sink = new EventSink;
};

TEST_F(ClientExceptions, FromAnEventLeaveNothingBehind) {
  for (const unsigned long code : {CLIENT_EXCEPTION, OTHER_CLIENT_EXCEPTION}) {
    RaiseInEvents(code);
    int left = 0;
    EXPECT_LT(LeftByEachRound(kRounds,
                              [&] {
                                left += LeftByClientException(
                                    [this] { zentrel->put_PowerManagement(VARIANT_FALSE); });
                              }),
              kNothing);
    EXPECT_EQ(left, kRounds + kRounds / 10 + 1);
    ExpectObjectAtWork();
  }
}

TEST_F(ClientExceptions, FromALateBoundCallLeaveNothingBehind) {
  RaiseInEvents();
  const DISPID power = IdOf(zentrel.Get(), L"PowerManagement");
  EXPECT_LT(LeftByEachRound(kRounds,
                            [&] {
                              EXPECT_TRUE(LeftByClientException([this, power] {
                                VARIANTARG value;
                                V_VT(&value) = VT_I4;  // to be converted
                                V_I4(&value) = 0;
                                DISPID let = DISPID_PROPERTYPUT;
                                DISPPARAMS parameters{&value, &let, 1, 1};
                                zentrel->Invoke(power, IID_NULL, kEnglish, DISPATCH_PROPERTYPUT,
                                                &parameters, nullptr, nullptr, nullptr);
                              }));
                            }),
            kNothing);
  ExpectObjectAtWork();
}

TEST_F(ClientExceptions, InACallWithinACallLeaveBoth) {
  sink->on_event = [](EventSink& self, EXCEPINFO*) {
    self.states.clear();
    if (++depth < 3) {
      itself->put_PowerManagement(VARIANT_FALSE);
    } else {
      RaiseClientException(CLIENT_EXCEPTION);
    }
    return S_OK;
  };
  itself = zentrel.Get();
  EXPECT_LT(LeftByEachRound(kRounds,
                            [&] {
                              depth = 0;
                              EXPECT_TRUE(LeftByClientException(
                                  [this] { zentrel->put_PowerManagement(VARIANT_FALSE); }));
                              EXPECT_EQ(depth, 3);
                            }),
            kNothing);
  ExpectObjectAtWork();
}

TEST_F(ClientExceptions, CaughtWithinTheEventLeaveTheCallAlone) {
  static int caught = 0;
  sink->on_event = [](EventSink& self, EXCEPINFO*) {
    self.states.clear();
    caught += LeftByClientException([] { RaiseClientException(CLIENT_EXCEPTION); });
    return S_OK;
  };
  EXPECT_FALSE(LeftByClientException(
      [this] { EXPECT_EQ(zentrel->put_PowerManagement(VARIANT_FALSE), S_OK); }));
  EXPECT_EQ(caught, 1);
  ExpectObjectAtWork();
}

TEST_F(ClientExceptions, WhoseClientHasLetGoOfTheObjectStillFreeIt) {
  auto* const other = NewZentrel().Detach();
  auto* const other_sink = new EventSink;
  Attach(other, other_sink);
  itself = other;
  other_sink->on_event = [](EventSink&, EXCEPINFO*) {
    EXPECT_EQ(itself->Release(), 0U);
    RaiseClientException(CLIENT_EXCEPTION);
    return S_OK;
  };
  EXPECT_TRUE(LeftByClientException([other] { other->put_PowerManagement(VARIANT_FALSE); }));
  EXPECT_EQ(other_sink->References(), 1U) << "the object has not gone";
  other_sink->on_event = nullptr;
  other_sink->Release();
}

TEST_F(ClientExceptions, FromTheTickLeaveTheTimerAlone) {
  ASSERT_EQ(zentrel->put_PowerTimeout(1), S_OK);
  ASSERT_EQ(zentrel->put_PowerManagement(VARIANT_TRUE), S_OK);
  RaiseInEvents();
  for (int tick = 0; tick < 3; ++tick) {
    ASSERT_EQ(zentrel->put_Power(VARIANT_FALSE), S_OK);  // the count-down begins
    // Some systems swallow what a timer procedure raises.
    const DWORD begin = GetTickCount();
    constexpr DWORD kPatienceMs = 5000;
    sink->states.assign(1, true);
    while (!sink->states.empty() && GetTickCount() - begin < kPatienceMs) {
      LeftByClientException([this] { PumpUntil([this] { return sink->states.empty(); }, 100); });
    }
    EXPECT_TRUE(sink->states.empty()) << "no event";
  }
  EXPECT_EQ(LoadedLibrary().CanUnloadNow(), S_FALSE);  // for the object, not for a timer
  ExpectObjectAtWork();
}

class ExceptionsOfComboBoxes : public ClientExceptions,
                               public testing::WithParamInterface<const wchar_t*> {};

// Of the box to everything; so the entry with this number is there and gets selected.
constexpr LONG kAnswer = 1;

TEST_P(ExceptionsOfComboBoxes, LeaveNothingBehind) {
  for (const auto face : {ScriptedObject::Face::kDispatch, ScriptedObject::Face::kDispatchEx}) {
    ScriptedObject box(face);
    for (const wchar_t* const name :
         {L"Clear", L"AddItem", L"NewIndex", L"ItemData", L"ListCount", L"ListIndex"}) {
      const bool raises = std::wstring_view(name) == GetParam();
      const auto raise = [](const ScriptedObject::Use&) {
        RaiseClientException(CLIENT_EXCEPTION);
        return S_OK;
      };
      const auto answer = [](const ScriptedObject::Use& use) {
        if (use.result != nullptr && !use.IsLet()) use.GiveShort(kAnswer);
        return S_OK;
      };
      box.members.emplace_back(
          name, raises ? ScriptedObject::Member(raise) : ScriptedObject::Member(answer));
    }
    IDispatch* object = &box;
    const auto fill = [&] {
      EXPECT_TRUE(LeftByClientException([&] {
        VARIANT_BOOL filled = VARIANT_FALSE;
        zentrel->TELIC2EnumMessages(&object, kAnswer, &filled);
      }));
    };
    constexpr int kSomeRounds = 100;
    // What the test's own object has made for the call is lost with its frame.
    constexpr double kOfTheTest = 64;
    EXPECT_LT(LeftByEachRound(kSomeRounds, fill), kOfTheTest);
    EXPECT_EQ(box.references, 1U);
  }
  ExpectObjectAtWork();
}

INSTANTIATE_TEST_SUITE_P(Members, ExceptionsOfComboBoxes,
                         testing::Values(L"Clear", L"AddItem", L"NewIndex", L"ItemData",
                                         L"ListCount", L"ListIndex"));

TEST_F(ClientExceptions, FromAWindowDuringTheHoldOffEndTheWait) {
  // A box that has not said what it is.
  ZentrelStatus status = S_OKAY;
  ASSERT_EQ(zentrel->put_PowerManagement(VARIANT_TRUE), S_OK);
  ASSERT_EQ(zentrel->BoxStatus(&status), S_OK);
  const RaisingWindow window;
  window.RaiseSoon();
  EXPECT_TRUE(LeftByClientException([this] { zentrel->put_Power(VARIANT_TRUE); }));
  ExpectObjectAtWork();
}

TEST_F(ClientExceptions, FromAWindowDuringAReportTakeItsBoxAway) {
  SetEnvironmentVariableW(L"QMZ_NO_ERROR_HANDLER", L"1");
  const RaisingWindow window;
  window.RaiseSoon();
  EXPECT_TRUE(LeftByClientException([this] {
    LONG signature = 0;
    zentrel->get_ZentrelSignature(5, &signature);
  }));
  SetEnvironmentVariableW(L"QMZ_NO_ERROR_HANDLER", nullptr);
  EXPECT_EQ(FindWindowW(L"#32770", L"Application Error"), nullptr);
  EXPECT_TRUE(IsWindowEnabled(window.Window()));
  ExpectObjectAtWork();
}

// --- The simulator's dialog ---

class ExceptionsAtTheDialog : public ClientExceptions {
 protected:
  ExceptionsAtTheDialog() { catalog.Simulator(true); }

  static constexpr const wchar_t* kTitle = L"Zentrel Simulator - Read";
};

TEST_F(ExceptionsAtTheDialog, TakeItAwayAndFreeIt) {
  const RaisingWindow window(WS_OVERLAPPEDWINDOW | WS_VISIBLE);
  const auto left_by_dialogs = [&](bool by_exception) {
    constexpr int kDialogs = 50;
    return LeftByEachRound(kDialogs, [&] {
      by_exception ? window.RaiseSoon() : window.CloseSoon(kTitle);
      const bool left = LeftByClientException([this] {
        ZentrelStatus status = S_OKAY;
        zentrel->ReadXpdr(&status);
      });
      EXPECT_EQ(left, by_exception);
      EXPECT_EQ(FindWindowW(L"#32770", kTitle), nullptr);
      EXPECT_TRUE(IsWindowEnabled(window.Window()));
    });
  };
  // The window system keeps something of every dialog.
  const double by_closed_ones = left_by_dialogs(false);
  const double by_left_ones = left_by_dialogs(true);
  constexpr double kOfTheWindowSystem = 16;
  EXPECT_LT(by_left_ones, by_closed_ones + kOfTheWindowSystem);
  // And now as it should be.
  OtherApartment user(COINIT_APARTMENTTHREADED, [] {
    constexpr DWORD kPatienceMs = 10000;
    const auto dialog = DialogWindow::WaitFor(kTitle, kPatienceMs);
    ASSERT_TRUE(dialog) << "no dialog";
    dialog->Click(IDC_cmdNoXpdr);
  });
  ZentrelStatus status = S_OKAY;
  EXPECT_EQ(zentrel->ReadXpdr(&status), S_OK);
  EXPECT_EQ(status, S_TIMEOUT);
  user.Join();
}

int g_questions = 0;

HMODULE WINAPI CountQuestion(LPCWSTR name) {
  ++g_questions;
  return GetModuleHandleW(name);
}

TEST_F(ClientExceptions, TheirUnwinderIsLookedForOnlyWhenALibraryHasBeenLoaded) {
  const auto ask_status = [this] {
    EXPECT_EQ(Call(zentrel.Get(), L"Status", {Value::Short(1)}).value.AsText(), L"Timeout");
  };
  ask_status();
  const automation::ReplacedImport<decltype(&GetModuleHandleW)> asked(
      LoadedLibrary().module, L"kernel32.dll", "GetModuleHandleW", &CountQuestion);
  g_questions = 0;
  for (int i = 0; i < kRounds; ++i) ask_status();
  EXPECT_EQ(g_questions, 0);
  const bool is_there = GetModuleHandleW(L"libgcc_s_dw2-1.dll") != nullptr;
  const HMODULE other = LoadLibraryW(L"avifil32.dll");
  ASSERT_NE(other, nullptr);
  ask_status();
  EXPECT_EQ(g_questions, is_there ? 0 : 1);
  FreeLibrary(other);
}

}  // namespace
}  // namespace qmzentrel::clients
