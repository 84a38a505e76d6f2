// What a report is made of, and who gets it.

#include "support/ErrorReportClient.h"
#include "support/component_version.h"
#include "tests/core/core_test.h"
#include "tests/faults/exception_names.h"

namespace qmzentrel::tests {
namespace {

using modErrorReportSupport::ErrorReportExceptionFilter;
using modErrorReportSupport::ExceptionName;
using modErrorReportSupport::HardwareFault;

class ErrorReporting : public CoreTest {
 protected:
  /// The module of a procedure.
  static const ModuleFields& Fields() {
    static constexpr ModuleFields kFields{
        "Meter", nullptr, [](const void*) { return DumpVariable("m_lngReading", 12); }};
    return kFields;
  }

  /// A procedure that fails with error 6 in line `line`.
  void Fail() {
    const std::int32_t Port = 7;
    const std::int32_t lngStatus = 3;
    ErrorFrame frame(Fields(), "Read", PARAMETERS(Port), LOCALS(lngStatus));
    line = __LINE__ + 1;
    frame.Run([&] { STEP RaiseError(kErrorOverflow); });
  }

  /// What the error handler gets of it.
  ErrorReport Report() {
    return ReportOf([this] { Fail(); });
  }

  std::int32_t FailingNumber() {
    return ErrorNumberOf([this] { Fail(); });
  }

  static void UninstallHandler() { TheWorld().classes.clear(); }
  static std::vector<fakes::World::StopMessage> TakeMessages() {
    return std::exchange(TheWorld().stop_messages, {});
  }

  /// The text of the message box about that failure.
  std::string BoxText() const {
    return "QmZentrel has encountered a problem. We are sorry for the inconvenience.\r\n"
           "\r\n"
           "Module: Meter\r\n"
           "Procedure: Read\r\n"
           "Line Number: " +
           std::to_string(line) +
           "\r\n"
           "\r\n"
           "Overflow (6)";
  }

  int line = 0;
};

// --- The external error handler ---

TEST_F(ErrorReporting, TheErrorHandlerGetsComponentAndVersion) {
  const ErrorReport report = Report();
  EXPECT_EQ(report.component, "QmZentrel");
  EXPECT_EQ(report.version, kComponentVersion);
  EXPECT_EQ(report.component_id, 0);
}

TEST_F(ErrorReporting, TheErrorHandlerGetsTheErrorAndItsPlace) {
  const ErrorReport report = Report();
  EXPECT_EQ(report.ErrorNumber, 6);
  EXPECT_EQ(report.ErrorDescription, "Overflow");
  EXPECT_EQ(report.ErrorLine, line);
  EXPECT_EQ(report.ErrorSource, "QmZentrel");
  EXPECT_EQ(report.module, "Meter");
  EXPECT_EQ(report.procedure, "Read");
}

TEST_F(ErrorReporting, TheVariablesAreInTheirSections) {
  const ErrorReport report = Report();
  EXPECT_EQ(report.variables,
            "<Variables>\r\n"
            "<LocalVariables>\r\n"
            "<lngStatus>3</lngStatus>\r\n"
            "</LocalVariables>\r\n"
            "<ModuleVariables>\r\n"
            "<m_lngReading>12</m_lngReading>\r\n"
            "</ModuleVariables>\r\n"
            "<GlobalVariables>\r\n"
            "<ComponentID>0</ComponentID>\r\n"
            "<HasInitialised>True</HasInitialised>\r\n"
            "<ErrorNumber>6</ErrorNumber>\r\n"
            "<ErrorDescription>Overflow</ErrorDescription>\r\n"
            "<ErrorLine>" +
                std::to_string(line) +
                "</ErrorLine>\r\n"
                "<ErrorSource>QmZentrel</ErrorSource>\r\n"
                "<maxti>{Cannot dump UDT arrays}</maxti>\r\n"
                "<mintMaxTimers>0</mintMaxTimers>\r\n"
                "</GlobalVariables>\r\n"
                "</Variables>\r\n"
                "<Parameters>\r\n"
                "<Port>7</Port>\r\n"
                "</Parameters>");
}

TEST_F(ErrorReporting, TheErrorHandlerIsCreatedAnewForEachReport) {
  Report();
  Report();
  EXPECT_EQ(Handler().created, 2);
}

TEST_F(ErrorReporting, WhateverTheErrorHandlerDecidesTheErrorLeavesAs65535) {
  Handler().object.gets["Action"] = [](const auto&) { return std::string("Ignore"); };
  Report();
}

TEST_F(ErrorReporting, TheActionIsReturned) {
  modErrorReportSupport::StoreError({6, "Overflow"}, 10);
  EXPECT_EQ(modErrorReportSupport::ReportError("Meter", "Read", "", "", ""), "Continue");
  EXPECT_EQ(TakeReports().size(), 1U);
}

TEST_F(ErrorReporting, AnErrorHandlerThatTellsNoActionHasTakenTheReportAllTheSame) {
  Handler().object.gets.erase("Action");
  EXPECT_EQ(modErrorReportSupport::ReportError("Meter", "Read", "", "", ""), "");
  EXPECT_EQ(TakeReports().size(), 1U);
  EXPECT_TRUE(TheWorld().stop_messages.empty());
}

TEST_F(ErrorReporting, AThreadThatHasMetNoErrorShowsNone) {
  InAnotherApartment([] {
    const std::string shown = modErrorReportSupport::DumpFields();
    for (const char* field :
         {"<ErrorNumber>0</ErrorNumber>\r\n", "<ErrorDescription></ErrorDescription>\r\n",
          "<ErrorLine>0</ErrorLine>\r\n", "<ErrorSource></ErrorSource>\r\n"}) {
      EXPECT_NE(shown.find(field), std::string::npos) << shown;
    }
  });
}

TEST_F(ErrorReporting, AReportOnOneThreadLeavesTheErrorOfAnother) {
  modErrorReportSupport::StoreError({6, "Overflow"}, 10);
  InAnotherApartment([] {
    EXPECT_TRUE(modErrorReportSupport::DumpFields().find("<ErrorNumber>0</ErrorNumber>") !=
                std::string::npos);
    modErrorReportSupport::StoreError({13, "Type mismatch"}, 11);
  });
  EXPECT_TRUE(modErrorReportSupport::DumpFields().find("<ErrorNumber>6</ErrorNumber>") !=
              std::string::npos);
}

TEST_F(ErrorReporting, AThreadThatEndsLeavesNoErrorToTheNextOne) {
  modErrorReportSupport::StoreError({6, "Overflow"}, 10);
  modErrorReportSupport::ReleaseThread();
  EXPECT_NE(modErrorReportSupport::DumpFields().find("<ErrorNumber>0</ErrorNumber>"),
            std::string::npos);
}

TEST_F(ErrorReporting, AProgramThatOnlyTriesWithholdsItsReports) {
  {
    const modErrorReportSupport::ReportsWithheld tried_only;
    EXPECT_EQ(FailingNumber(), 65535);
  }
  EXPECT_TRUE(TakeReports().empty());
  EXPECT_EQ(FailingNumber(), 65535);
  EXPECT_EQ(TakeReports().size(), 1U);
}

// --- The message box ---

TEST_F(ErrorReporting, WithoutAnErrorHandlerAMessageBoxTellsOfTheError) {
  UninstallHandler();
  EXPECT_EQ(FailingNumber(), 65535);
  const auto messages = TakeMessages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].title, "Application Error");
  EXPECT_EQ(messages[0].text, BoxText());
  EXPECT_TRUE(TheWorld().debugger_lines.empty());
}

TEST_F(ErrorReporting, TheMessageBoxAnswersWithNoAction) {
  UninstallHandler();
  EXPECT_EQ(modErrorReportSupport::ReportError("Meter", "Read", "", "", ""), "");
  EXPECT_EQ(TakeMessages().size(), 1U);
}

TEST_F(ErrorReporting, AnErrorHandlerThatCannotBeMadeIsAsNone) {
  TheWorld().classes[kErrorHandlerClass] = [] { return platform::HeldObject(); };
  EXPECT_EQ(FailingNumber(), 65535);
  EXPECT_EQ(TakeMessages().size(), 1U);
}

TEST_F(ErrorReporting, AnErrorHandlerThatFailsIsAsNone) {
  Handler().object.methods["ErrorHandler"] = [](const auto&) -> platform::LateArgument {
    throw platform::LateFailure{380, "Error", "no room"};
  };
  EXPECT_EQ(FailingNumber(), 65535);
  const auto messages = TakeMessages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].text, BoxText());
}

TEST_F(ErrorReporting, AnErrorHandlerForWhichMemoryRunsOutIsAsNone) {
  TheWorld().out_of_memory_in = {"CreateLateObject"};
  EXPECT_EQ(FailingNumber(), 65535);
  EXPECT_EQ(TakeMessages().size(), 1U);
}

TEST_F(ErrorReporting, OneMessageBoxTellsOfAnErrorThatPassesManyProcedures) {
  UninstallHandler();
  EXPECT_EQ(ErrorNumberOf([this] {
              ErrorFrame frame(Fields(), "Outer");
              frame.Run([&] { STEP Fail(); });
            }),
            65535);
  EXPECT_EQ(TakeMessages().size(), 1U);
}

TEST_F(ErrorReporting, AnErrorWhileTheUserReadsHasItsOwnMessageBox) {
  UninstallHandler();
  TheWorld().at_stop_message = [] {
    TheWorld().at_stop_message = nullptr;
    ErrorFrame frame(Fields(), "Meanwhile");
    EXPECT_EQ(ErrorNumberOf([&] { frame.Run([] { RaiseError(kErrorTypeMismatch); }); }), 65535);
  };
  EXPECT_EQ(FailingNumber(), 65535);
  const auto messages = TakeMessages();
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0].text, BoxText());
  EXPECT_TRUE(messages[1].text.ends_with("Type mismatch (13)"));
}

TEST_F(ErrorReporting, AMessageBoxThatFailsLeavesTheReportToTheDebuggerChannel) {
  UninstallHandler();
  TheWorld().out_of_memory_in = {"ShowStopMessage"};
  EXPECT_EQ(FailingNumber(), 65535);
  const auto lines = std::exchange(TheWorld().debugger_lines, {});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].starts_with(BoxText()));
}

// --- A zero character in a client's error description ---

class ErrorDescriptionWithAZero : public ErrorReporting {
 protected:
  void FailWithZero() {
    ErrorFrame frame(Fields(), "Read");
    frame.Run([&] { throw RunTimeError{380, description}; });
  }

  const std::string description{"A\0B\0", 4};
};

TEST_F(ErrorDescriptionWithAZero, IsShownWholeInTheMessageBox) {
  UninstallHandler();
  EXPECT_EQ(ErrorNumberOf([this] { FailWithZero(); }), 65535);
  const auto messages = TakeMessages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(messages[0].text.ends_with("\r\n\r\nA{Null}B{Null} (380)")) << messages[0].text;
}

TEST_F(ErrorDescriptionWithAZero, IsShownWholeInTheDebuggerChannel) {
  UninstallHandler();
  TheWorld().has_desktop = false;
  EXPECT_EQ(ErrorNumberOf([this] { FailWithZero(); }), 65535);
  const auto lines = std::exchange(TheWorld().debugger_lines, {});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].find('\0'), std::string::npos);
  EXPECT_NE(lines[0].find("A{Null}B{Null} (380)\r\n<Variables>"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("<ErrorDescription>A{Null}</ErrorDescription>"), std::string::npos);
}

TEST_F(ErrorDescriptionWithAZero, ReachesTheErrorHandlerAsItIs) {
  EXPECT_EQ(ReportOf([this] { FailWithZero(); }).ErrorDescription, description);
}

// --- Where nobody could see a message box ---

TEST_F(ErrorReporting, WithoutADesktopTheReportGoesToTheDebuggerChannel) {
  UninstallHandler();
  TheWorld().has_desktop = false;
  EXPECT_EQ(FailingNumber(), 65535);
  const auto lines = std::exchange(TheWorld().debugger_lines, {});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].starts_with(BoxText() + "\r\n<Variables>\r\n<LocalVariables>\r\n"));
  EXPECT_TRUE(lines[0].ends_with("<Port>7</Port>\r\n</Parameters>"));
}

TEST_F(ErrorReporting, WithoutADesktopTheErrorHandlerStillGetsTheReport) {
  TheWorld().has_desktop = false;
  Report();
  EXPECT_TRUE(TheWorld().debugger_lines.empty());
}

TEST_F(ErrorReporting, ADebuggerChannelThatFailsDoesNotHideTheError) {
  UninstallHandler();
  TheWorld().has_desktop = false;
  TheWorld().out_of_memory_in = {"DebuggerOutput"};
  EXPECT_EQ(FailingNumber(), 65535);
}

// --- The report service ---

TEST_F(ErrorReporting, WithoutADebuggingSessionNoObjectIsAnnounced) {
  Zentrel::Create();
  EXPECT_TRUE(TheWorld().service_notices.empty());
}

TEST_F(ErrorReporting, AServiceThatCannotBeAskedForASessionHasNone) {
  TheWorld().has_debug_session = true;
  TheWorld().out_of_memory_in = {"HasDebugSession"};
  const ErrorReportClient client;
  std::int16_t instance = 0;
  client.AnnounceCreation("Zentrel", instance);
  EXPECT_TRUE(TheWorld().service_notices.empty());
}

// --- Exceptions of the processor ---

class NamedException : public ErrorReporting,
                       public testing::WithParamInterface<faults::NamedCode> {};

TEST_P(NamedException, IsAnErrorWithItsNumberAndName) {
  EXPECT_EQ(ExceptionName(GetParam().code), GetParam().name);
  try {
    ErrorReportExceptionFilter(GetParam().code);
  } catch (const HardwareFault& fault) {
    EXPECT_EQ(fault.number, GetParam().number);
    EXPECT_EQ(fault.description, GetParam().name);
    EXPECT_EQ(fault.source, "ErrorReportExceptionFilter");
    EXPECT_EQ(fault.code, GetParam().code);
  }
}

INSTANTIATE_TEST_SUITE_P(Each, NamedException, testing::ValuesIn(faults::kNamedCodes),
                         [](const auto& test) { return "Code" + std::to_string(test.param.code); });

INSTANTIATE_TEST_SUITE_P(
    Unknown, NamedException,
    testing::Values(faults::NamedCode{0xE06D7363, "Unknown (&HE06D7363)", 10099},
                    faults::NamedCode{0x80000000, "Unknown (&H80000000)", 10000}),
    [](const auto& test) { return "Code" + std::to_string(test.param.code); });

TEST_F(ErrorReporting, AnUnknownExceptionIsNamedByEightDigits) {
  EXPECT_EQ(ExceptionName(0xABC), "Unknown (&H00000ABC)");
}

}  // namespace
}  // namespace qmzentrel::tests
