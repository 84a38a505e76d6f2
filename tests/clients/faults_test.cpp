// Faults of the library in a client's process: the component's own are reported and leave as one
// number, exceptions of the processor included; the client's own stay the client's.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "tests/automation/scripted_object.h"
#include "tests/automation/system_scenes.h"
#include "tests/clients/client_filter.h"
#include "tests/clients/component_version.h"
#include "tests/clients/error_reports.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/message_pump.h"
#include "tests/clients/other_apartment.h"
#include "tests/clients/test_catalog.h"
#include "tests/core/source_text.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);
constexpr short kNoSuchSignature = 5;

/// An array whose elements lie where no memory is, as a client's own mistake may leave it.
class ArrayWithoutMemory {
 public:
  ArrayWithoutMemory() {
    array_.cDims = 1;
    array_.fFeatures = FADF_AUTO | FADF_FIXEDSIZE;
    array_.cbElements = sizeof(LONG);
    array_.pvData = reinterpret_cast<void*>(0x10);
    array_.rgsabound[0] = {1, 0};
  }
  SAFEARRAY** Variable() { return &variable_; }

 private:
  SAFEARRAY array_{};
  SAFEARRAY* variable_ = &array_;
};

class Faults : public testing::Test {
 protected:
  Faults() {
    catalog.Fill();
    zentrel = NewZentrel();
    g_left_to_client = 0;
  }
  ~Faults() override { EXPECT_EQ(reports.Count(), 0); }

  HRESULT FailInCore() {
    LONG signature = 0;
    return zentrel->get_ZentrelSignature(kNoSuchSignature, &signature);
  }

  HRESULT FailInProcessor() {
    ArrayWithoutMemory identifiers;
    ArrayWithoutMemory values;
    ::ZentrelStatus status = static_cast<::ZentrelStatus>(0);
    return zentrel->TELIC2Read(1, identifiers.Variable(), values.Variable(), &status);
  }

  ErrorReport OnlyReport() {
    const auto taken = reports.Take();
    EXPECT_EQ(taken.size(), 1U);
    return taken.empty() ? ErrorReport{} : taken.front();
  }

  /// What a fault sends to the debugger channel where there is no desktop, and the error handler is
  /// as `setting` has it.
  std::vector<std::string> LinesWithoutDesktop(const wchar_t* setting) {
    SetEnvironmentVariableW(setting, L"1");
    HRESULT result = S_OK;
    auto lines = automation::DebuggerLinesOf(
        [&] { automation::WithoutDesktop([&] { result = FailInCore(); }); });
    SetEnvironmentVariableW(setting, nullptr);
    EXPECT_EQ(result, kReportedFault);
    return lines;
  }

  ComPointer<IConnectionPoint> Events() {
    const auto points = As<IConnectionPointContainer>(zentrel.Get(), IID_IConnectionPointContainer);
    ComPointer<IConnectionPoint> point;
    EXPECT_EQ(points->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
    return point;
  }

  ErrorReports reports;
  TestCatalog catalog;
  ComPointer<_Zentrel> zentrel;
};

// --- The component's own ---

TEST_F(Faults, ReachTheErrorHandlerWithEveryArgument) {
  EXPECT_EQ(FailInCore(), kReportedFault);
  const ErrorReport report = OnlyReport();
  EXPECT_EQ(report.component, L"QmZentrel");
  EXPECT_EQ(report.version, ComponentVersion());
  EXPECT_EQ(report.component_id, L"0");
  EXPECT_EQ(report.number, L"9");
  EXPECT_EQ(report.description, L"Subscript out of range");
  EXPECT_NE(tests::SourceLine("device/session.cpp", std::stoi(report.line))
                .find("kErrorSubscriptOutOfRange"),
            std::string::npos)
      << report.line;
  EXPECT_EQ(report.source, L"QmZentrel");
  EXPECT_EQ(report.module, L"Zentrel");
  EXPECT_EQ(report.procedure, L"ZentrelSignature");
  EXPECT_TRUE(report.variables.starts_with(
      L"<Variables>\r\n<LocalVariables>\r\n</LocalVariables>\r\n<ModuleVariables>\r\n"
      L"<m_blnPowerOnDemand>False</m_blnPowerOnDemand>\r\n"))
      << report.variables;
  EXPECT_TRUE(report.variables.ends_with(
      L"</Variables>\r\n<Parameters>\r\n<Index>5</Index>\r\n</Parameters>"))
      << report.variables;
}

TEST_F(Faults, AnExceptionOfTheProcessorIsAFaultOfItsProcedure) {
  EXPECT_EQ(FailInProcessor(), kReportedFault);
  const ErrorReport report = OnlyReport();
  EXPECT_EQ(report.number, L"10005");
  EXPECT_EQ(report.description, L"Access Violation");
  EXPECT_EQ(report.source, L"ErrorReportExceptionFilter");
  EXPECT_EQ(report.module, L"Zentrel");
  EXPECT_EQ(report.procedure, L"TELIC2Read");
  EXPECT_NE(tests::SourceLine("device/telic2_messages.cpp", std::stoi(report.line))
                .find("MessageIDs[i] == telic2::kNoMessage"),
            std::string::npos)
      << report.line;
  EXPECT_EQ(g_left_to_client, 0);
}

TEST_F(Faults, WhatCannotBeReadForTheReportSaysSo) {
  EXPECT_EQ(FailInProcessor(), kReportedFault);
  EXPECT_TRUE(OnlyReport().variables.ends_with(
      L"<Parameters>\r\n<NumMessages>1</NumMessages>\r\n"
      L"<MessageIDs Index=\"0\">{Error 10005 formatting for output}</MessageIDs>\r\n"
      L"<MessageData Index=\"0\">{Error 10005 formatting for output}</MessageData>\r\n"
      L"</Parameters>"));
}

TEST_F(Faults, TheObjectWorksOnAfterAnExceptionOfTheProcessor) {
  for (int i = 0; i < 100; ++i) ASSERT_EQ(FailInProcessor(), kReportedFault);
  EXPECT_EQ(reports.Take().size(), 100U);
  LONG util = 0;
  EXPECT_EQ(zentrel->put_Util(42), S_OK);
  EXPECT_EQ(zentrel->get_Util(&util), S_OK);
  EXPECT_EQ(util, 42);
}

TEST_F(Faults, EachApartmentReportsItsOwn) {
  OtherApartment(COINIT_APARTMENTTHREADED, [this] {
    const auto own = NewZentrel();
    for (int i = 0; i < 20; ++i) {
      LONG signature = 0;
      EXPECT_EQ(own->get_ZentrelSignature(6, &signature), kReportedFault);
      EXPECT_EQ(FailInProcessor(), kReportedFault);
    }
  }).Join();
  const auto taken = reports.Take();
  ASSERT_EQ(taken.size(), 40U);
  for (std::size_t i = 0; i < taken.size(); ++i) {
    EXPECT_EQ(taken[i].number, i % 2 == 0 ? L"9" : L"10005");
  }
}

// --- Without an error handler ---

TEST_F(Faults, WithoutErrorHandlerAndDesktopTheClientGoesOnAndTheDebuggerChannelHasTheReport) {
  const auto lines = LinesWithoutDesktop(L"QMZ_NO_ERROR_HANDLER");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].starts_with("QmZentrel has encountered a problem.")) << lines[0];
  EXPECT_NE(lines[0].find("Procedure: ZentrelSignature\r\n"), std::string::npos) << lines[0];
  EXPECT_TRUE(lines[0].ends_with("<Index>5</Index>\r\n</Parameters>")) << lines[0];
}

TEST_F(Faults, AnErrorHandlerWithAnExceptionOfItsOwnIsAsNone) {
  const auto lines = LinesWithoutDesktop(L"QMZ_FAULTY_ERROR_HANDLER");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].starts_with("QmZentrel has encountered a problem.")) << lines[0];
  EXPECT_EQ(g_left_to_client, 0);
}

TEST_F(Faults, AZeroInADescriptionOfTheClientsHidesNothingBehindIt) {
  automation::ScriptedObject box;
  const auto refuse = [](const automation::ScriptedObject::Use& use) {
    use.info->scode = CTL_E_INVALIDPROPERTYVALUE;
    use.info->bstrDescription = SysAllocStringLen(L"A\0B", 3);
    return DISP_E_EXCEPTION;
  };
  box.members = {
      {L"Clear", refuse}, {L"AddItem", refuse}, {L"NewIndex", refuse}, {L"ItemData", refuse}};
  IDispatch* object = &box;
  VARIANT_BOOL filled = VARIANT_FALSE;
  EXPECT_EQ(zentrel->TELIC2EnumDevices(&object, &filled), kReportedFault);
  EXPECT_EQ(OnlyReport().description, std::wstring(L"A\0B", 3));

  SetEnvironmentVariableW(L"QMZ_NO_ERROR_HANDLER", L"1");
  const auto lines = automation::DebuggerLinesOf(
      [&] { automation::WithoutDesktop([&] { zentrel->TELIC2EnumDevices(&object, &filled); }); });
  SetEnvironmentVariableW(L"QMZ_NO_ERROR_HANDLER", nullptr);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_NE(lines[0].find("\r\nA{Null}B (380)\r\n<Variables>\r\n"), std::string::npos) << lines[0];
  EXPECT_TRUE(lines[0].ends_with("</Parameters>")) << lines[0];
}

// --- The client's own ---

TEST_F(Faults, AnExceptionInAnEventSinkIsTheClients) {
  auto* const sink = new EventSink;
  const auto point = Events();
  DWORD cookie = 0;
  sink->on_event = [](EventSink&, EXCEPINFO*) {
    RaiseAccessViolation();
    return S_OK;
  };
  ASSERT_EQ(point->Advise(sink, &cookie), S_OK);
  sink->Release();
  EXPECT_EQ(zentrel->put_PowerManagement(VARIANT_FALSE), S_OK);
  EXPECT_EQ(sink->states.size(), 1U);
  EXPECT_EQ(g_left_to_client, 1);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
}

TEST_F(Faults, AnExceptionInTheLastReleaseOfAnEventSinkIsTheClients) {
  auto* const sink = new EventSink;
  const auto point = Events();
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink, &cookie), S_OK);
  sink->on_event = [&](EventSink&, EXCEPINFO*) { return point->Unadvise(cookie); };
  sink->gone = RaiseAccessViolation;
  sink->Release();
  EXPECT_EQ(zentrel->put_PowerManagement(VARIANT_FALSE), S_OK);
  EXPECT_EQ(g_left_to_client, 1);
}

// The last reference goes within a tick: the object ends under the procedures of the tick. What
// becomes of an exception there is decided by the system, which has called the timer.
TEST_F(Faults, AnExceptionInTheLastReleaseOfASinkOfAnObjectThatGoesIsNotReported) {
  ASSERT_EQ(zentrel->put_PowerTimeout(1), S_OK);
  ASSERT_EQ(zentrel->put_PowerManagement(VARIANT_TRUE), S_OK);
  bool sink_gone = false;
  auto* const sink = new EventSink;
  auto point = Events();
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(sink, &cookie), S_OK);
  sink->on_event = [&](EventSink&, EXCEPINFO*) {
    point.Reset();
    zentrel.Reset();
    return S_OK;
  };
  sink->gone = [&] {
    sink_gone = true;
    RaiseAccessViolation();
  };
  sink->Release();
  constexpr DWORD kLimitMs = 5000;
  EXPECT_TRUE(PumpUntil([&] { return sink_gone; }, kLimitMs));
  EXPECT_EQ(reports.Count(), 0);
}

TEST_F(Faults, AnExceptionInAComboBoxIsTheClients) {
  automation::ScriptedObject box;
  const auto done = [](const auto&) { return S_OK; };
  box.members = {{L"Clear",
                  [](const auto&) {
                    RaiseAccessViolation();
                    return S_OK;
                  }},
                 {L"AddItem", done},
                 {L"NewIndex", done},
                 {L"ItemData", done}};
  IDispatch* object = &box;
  VARIANT_BOOL filled = VARIANT_FALSE;
  EXPECT_EQ(zentrel->TELIC2EnumDevices(&object, &filled), S_OK);
  EXPECT_EQ(g_left_to_client, 1);
}

TEST_F(Faults, AnExceptionOutsideTheComponentReachesTheFilterOfTheClient) {
  EXPECT_EQ(FailInProcessor(), kReportedFault);
  OnlyReport();
  RaiseAccessViolation();
  EXPECT_EQ(g_left_to_client, 1);
}

// --- Whose default member a report shows ---

TEST_F(Faults, TheReportShowsAComboBoxByItsDefaultMember) {
  using Use = automation::ScriptedObject::Use;
  automation::ScriptedObject box;
  const auto refuse = [](const Use& use) {
    return use.Fail(CTL_E_INVALIDPROPERTYVALUE, L"Form1", L"Not now");
  };
  box.members = {
      {L"Clear", refuse}, {L"AddItem", refuse}, {L"NewIndex", refuse}, {L"ItemData", refuse}};
  box.default_member = [](const Use& use) { return use.GiveText(L"Pulse <1> & \u00E4"); };
  IDispatch* object = &box;
  VARIANT_BOOL filled = VARIANT_FALSE;
  EXPECT_EQ(zentrel->TELIC2EnumDevices(&object, &filled), kReportedFault);
  const ErrorReport report = OnlyReport();
  EXPECT_EQ(report.number, L"380");
  EXPECT_EQ(report.source, L"Form1");
  EXPECT_TRUE(report.variables.ends_with(
      L"<Parameters>\r\n<cbo>{Pulse <1> & \u00E4}</cbo>\r\n</Parameters>"))
      << report.variables;
}

}  // namespace
}  // namespace qmzentrel::clients
