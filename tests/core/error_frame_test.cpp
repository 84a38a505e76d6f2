// What becomes of a fault: one report with everything in scope, then one number for the caller.
#include "support/error_frame.h"

#include <memory>
#include <new>
#include <optional>
#include <stdexcept>

#include "support/late_bound.h"
#include "tests/core/core_test.h"
#include "tests/core/failing_memory.h"

namespace qmzentrel::tests {
namespace {

int g_module_dumps = 0;

/// A class of the component in miniature.
class Meter {
 public:
  const ModuleFields& Fields() const { return fields_; }

  std::string DumpFields() const {
    ++g_module_dumps;
    if (unprintable) throw std::bad_alloc();
    return DumpVariable("m_lngReading", m_lngReading);
  }

  std::int32_t m_lngReading = 12;
  bool unprintable = false;

 private:
  ModuleFields fields_ = FieldsOf("Meter", this);
};

class ErrorFrameTest : public CoreTest {
 protected:
  void SetUp() override {
    CoreTest::SetUp();
    g_module_dumps = 0;
  }

  /// A procedure whose only statement is `statement`.
  template <class Statement>
  void Procedure(Statement statement) {
    ErrorFrame frame(meter.Fields(), "Procedure");
    frame.Run([&] { STEP statement(); });
  }

  Meter meter;
};

// --- While nothing fails ---

TEST_F(ErrorFrameTest, AProcedureReturnsWhatItsStatementsReturn) {
  ErrorFrame frame(meter.Fields(), "Value");
  const auto text = frame.Run([&] {
    STEP auto owned = std::make_unique<std::string>("2.1");
    STEP return owned;
  });
  EXPECT_EQ(*text, "2.1");
}

TEST_F(ErrorFrameTest, TheStatementsRunOnce) {
  int runs = 0;
  Procedure([&] { ++runs; });
  EXPECT_EQ(runs, 1);
}

TEST_F(ErrorFrameTest, NothingIsRenderedWhileNothingFails) {
  std::int32_t lngStatus = 0;
  ErrorFrame frame(meter.Fields(), "Calm", PARAMETERS(), LOCALS(lngStatus));
  frame.Run([&] { STEP lngStatus = 1; });
  EXPECT_EQ(g_module_dumps, 0);
}

// --- The kinds of fault ---

struct Kind {
  const char* name;
  void (*raise)();
  std::int32_t number;
  const char* description;
};

void PrintTo(const Kind& kind, std::ostream* stream) {
  *stream << kind.name;
}

class FaultKind : public ErrorFrameTest, public testing::WithParamInterface<Kind> {};

TEST_P(FaultKind, IsReportedWithItsNumberAndDescriptionAndLeavesAs65535) {
  const ErrorReport report = ReportOf([&] { Procedure(GetParam().raise); });
  EXPECT_EQ(report.ErrorNumber, GetParam().number);
  EXPECT_EQ(report.ErrorDescription, GetParam().description);
  EXPECT_EQ(report.ErrorSource, "QmZentrel");
}

INSTANTIATE_TEST_SUITE_P(
    Each, FaultKind,
    testing::Values(
        Kind{"StandardError", [] { RaiseError(6); }, 6, "Overflow"},
        Kind{"OwnDescription",
             [] {
               throw RunTimeError{static_cast<std::int32_t>(0x80047925U), "No timers available"};
             },
             static_cast<std::int32_t>(0x80047925U), "No timers available"},
        Kind{"OutOfMemory", [] { throw std::bad_alloc(); }, 7, "Out of memory"},
        Kind{"ImpossibleArray", [] { throw std::bad_array_new_length(); }, 7, "Out of memory"},
        Kind{"LibraryError", [] { throw std::runtime_error("why"); }, 51, "Internal error: why"},
        Kind{"OutOfRange", [] { throw std::out_of_range("index"); }, 51, "Internal error: index"},
        Kind{"AnythingElse", [] { throw 42; }, 51, "Internal error"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(ErrorFrameTest, TheErrorThatLeavesHasNoTextOfItsOwn) {
  try {
    Procedure([] { throw RunTimeError{6, "secret"}; });
    ADD_FAILURE() << "nothing was raised";
  } catch (const RunTimeError& error) {
    EXPECT_EQ(error.number, 65535);
    EXPECT_EQ(error.description, "");
    EXPECT_EQ(error.source, "");
  }
  EXPECT_EQ(TakeReports().size(), 1U);
}

TEST_F(ErrorFrameTest, AProcedureWithAResultFailsLikeOneWithout) {
  ErrorFrame frame(meter.Fields(), "Value");
  const ErrorReport report = ReportOf([&] {
    frame.Run([&]() -> std::int32_t {
      STEP RaiseError(9);
      STEP return 1;
    });
  });
  EXPECT_EQ(report.ErrorNumber, 9);
  EXPECT_EQ(report.procedure, "Value");
}

TEST_F(ErrorFrameTest, AnErrorThatWasReportedBeforePassesUnreported) {
  try {
    Procedure([] { throw ReportedError(); });
    ADD_FAILURE() << "nothing was raised";
  } catch (const RunTimeError& error) {
    EXPECT_EQ(error.number, 65535);
    EXPECT_EQ(error.description, "");
    EXPECT_EQ(error.source, "");
  }
  EXPECT_EQ(g_module_dumps, 0);
}

// --- The report ---

TEST_F(ErrorFrameTest, NestedProceduresReportOnceWhereItHappened) {
  Meter inner;
  inner.m_lngReading = 99;
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Outer");
    frame.Run([&] {
      ErrorFrame middle(meter.Fields(), "Middle");
      middle.Run([&] {
        ErrorFrame innermost(inner.Fields(), "Inner");
        innermost.Run([] { RaiseError(13); });
      });
    });
  });
  EXPECT_EQ(report.procedure, "Inner");
  EXPECT_EQ(report.ErrorNumber, 13);
  EXPECT_EQ(report.module_variables, "<m_lngReading>99</m_lngReading>\r\n");
}

TEST_F(ErrorFrameTest, AFaultWhileAnotherIsBeingHandledIsReportedToo) {
  EXPECT_EQ(ErrorNumberOf([&] {
              ErrorFrame frame(meter.Fields(), "Outer");
              frame.Run([&] {
                try {
                  Procedure([] { RaiseError(5); });
                } catch (const RunTimeError&) {
                  RaiseError(6);
                }
              });
            }),
            65535);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0].ErrorNumber, 5);
  EXPECT_EQ(reports[1].ErrorNumber, 6);
  EXPECT_EQ(reports[1].procedure, "Outer");
}

TEST_F(ErrorFrameTest, TheReportNamesModuleAndProcedure) {
  const ErrorReport report = ReportOf([&] { Procedure([] { RaiseError(5); }); });
  EXPECT_EQ(report.module, "Meter");
  EXPECT_EQ(report.procedure, "Procedure");
}

TEST_F(ErrorFrameTest, TheReportNamesTheLineOfTheFailingStatement) {
  int line = 0;
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Lines");
    frame.Run([&] {
      STEP line = 1;
      STEP line = __LINE__ + 1;
      STEP RaiseError(5);
      STEP line = 2;
    });
  });
  EXPECT_EQ(report.ErrorLine, line);
}

TEST_F(ErrorFrameTest, AFaultBeforeTheFirstNumberedStatementIsOnLineZero) {
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "NoLines");
    frame.Run([] { RaiseError(5); });
  });
  EXPECT_EQ(report.ErrorLine, 0);
}

TEST_F(ErrorFrameTest, TheLineIsThatOfTheProcedureThatFailed) {
  int line = 0;
  const ErrorReport report = ReportOf([&] {
    ErrorFrame outer(meter.Fields(), "Outer");
    outer.Run([&] {
      outer.line = __LINE__;
      ErrorFrame frame(meter.Fields(), "Inner");
      line = __LINE__ + 1;
      frame.Run([&] { STEP RaiseError(5); });
    });
  });
  EXPECT_EQ(report.ErrorLine, line);
}

TEST_F(ErrorFrameTest, ParametersAndLocalsAreShownByNameInTheirOrder) {
  const std::int32_t Port = 7;
  const bool MaintainSupply = true;
  std::int32_t lngStatus = 3;
  std::string strText = "x";
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Both", PARAMETERS(Port, MaintainSupply),
                     LOCALS(lngStatus, strText));
    frame.Run([] { RaiseError(5); });
  });
  EXPECT_EQ(report.parameters, "<Port>7</Port>\r\n<MaintainSupply>True</MaintainSupply>\r\n");
  EXPECT_EQ(report.local_variables, "<lngStatus>3</lngStatus>\r\n<strText>x</strText>\r\n");
}

TEST_F(ErrorFrameTest, EveryKindOfVariableCanBeShown) {
  const std::int16_t Index = -2;
  const ZentrelStatus status = S_BAD_SUM;
  const float mark = 0.5F;
  const std::vector<std::string> Keys = {"MIF"};
  const std::array<std::uint8_t, 2> bytes{1, 2};
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Kinds", PARAMETERS(Index, status, mark, Keys, bytes));
    frame.Run([] { RaiseError(5); });
  });
  EXPECT_EQ(report.parameters,
            "<Index>-2</Index>\r\n<status>4</status>\r\n<mark>0.5</mark>\r\n"
            "<Keys Index=\"0\">MIF</Keys>\r\n"
            "<bytes Index=\"0\">1</bytes>\r\n<bytes Index=\"1\">2</bytes>\r\n");
}

TEST_F(ErrorFrameTest, WithoutVariablesTheTextsAreEmpty) {
  const ErrorReport report = ReportOf([&] { Procedure([] { RaiseError(5); }); });
  EXPECT_EQ(report.parameters, "");
  EXPECT_EQ(report.local_variables, "");
}

TEST_F(ErrorFrameTest, TheValuesAreThoseOfTheMomentOfTheFault) {
  std::int32_t New_Util = 1;
  std::int32_t lngCount = 1;
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Moment", PARAMETERS(New_Util), LOCALS(lngCount));
    frame.Run([&] {
      STEP New_Util = 2;
      STEP lngCount = 3;
      STEP meter.m_lngReading = 4;
      STEP RaiseError(5);
    });
  });
  EXPECT_EQ(report.parameters, "<New_Util>2</New_Util>\r\n");
  EXPECT_EQ(report.local_variables, "<lngCount>3</lngCount>\r\n");
  EXPECT_EQ(report.module_variables, "<m_lngReading>4</m_lngReading>\r\n");
}

TEST_F(ErrorFrameTest, WhatCannotBeDescribedIsLeftOutOfTheReport) {
  meter.unprintable = true;
  const std::int32_t Port = 7;
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Partly", PARAMETERS(Port));
    frame.Run([] { RaiseError(5); });
  });
  EXPECT_EQ(report.ErrorNumber, 5);
  EXPECT_EQ(report.module_variables, "");
  EXPECT_EQ(report.parameters, "<Port>7</Port>\r\n");
}

// --- Without memory ---

TEST_F(ErrorFrameTest, WithoutMemoryAnErrorStillLeavesAs65535) {
  std::int32_t number = 0;
  try {
    const MemoryRunsOut for_good;
    Procedure([] { throw 42; });
  } catch (const ReportedError& error) {
    number = error.number;
  } catch (...) {
    number = -1;
  }
  EXPECT_EQ(number, 65535);
  EXPECT_TRUE(TakeReports().empty());
}

TEST_F(ErrorFrameTest, WithoutMemoryForItsTextAnErrorStillLeavesAs65535) {
  const std::runtime_error failure("longer than any text that needs no memory of its own");
  std::int32_t number = 0;
  try {
    const MemoryRunsOut for_good;
    Procedure([&failure] { throw failure; });
  } catch (const ReportedError& error) {
    number = error.number;
  } catch (...) {
    number = -1;
  }
  EXPECT_EQ(number, 65535);
  EXPECT_TRUE(TakeReports().empty());
}

// Names and texts are longer than what needs no memory of its own.
class OneAllocationFails : public ErrorFrameTest, public testing::WithParamInterface<bool> {
 protected:
  /// The error that leaves two procedures when the allocation after `spared` others fails.
  std::int32_t Fail(int spared) {
    const std::string text = "longer than any text that needs no memory of its own";
    RunTimeError failure{9, "Subscript out of range", "SomewhereElseThanUsual"};
    modErrorReportSupport::InitErrorReporting();  // as the thread's first object does
    try {
      ErrorFrame outer(meter.Fields(), "TheProcedureOutsideOfIt");
      outer.Run([&] {
        ErrorFrame frame(meter.Fields(), "TheProcedureThatFails", PARAMETERS(text));
        frame.Run([&] {
          memory.emplace(spared);
          throw std::move(failure);
        });
      });
    } catch (const ReportedError& error) {
      memory.reset();
      return error.number;
    }
    return 0;
  }

  std::optional<MemoryRunsOut> memory;
};

TEST_P(OneAllocationFails, TheErrorIsReportedOnceWithItsNumber) {
  // What the world needs to take a report is not ours to spare.
  auto& make = TheWorld().classes[kErrorHandlerClass];
  make = [this, made = make] {
    memory.reset();
    return GetParam() ? made() : platform::HeldObject();
  };
  bool failed = true;
  int spared = 0;
  for (; failed && spared < 1000; ++spared) {
    modErrorReportSupport::ReleaseThread();
    ASSERT_EQ(Fail(spared), 65535) << spared;
    failed = MemoryRunsOut::HasFailed();
    const auto reports = TakeReports();
    const auto messages = std::exchange(TheWorld().stop_messages, {});
    ASSERT_EQ(reports.size() + messages.size(), 1U) << spared;
    for (const auto& report : reports) {
      ASSERT_EQ(report.ErrorNumber, 9) << spared;
      ASSERT_EQ(report.procedure, "TheProcedureThatFails") << spared;
    }
    for (const auto& message : messages) {
      ASSERT_TRUE(message.text.ends_with("(9)")) << spared << message.text;
      ASSERT_NE(message.text.find("TheProcedureThatFails"), std::string::npos) << spared;
    }
  }
  EXPECT_GT(spared, 20);
  EXPECT_FALSE(failed);
}

INSTANTIATE_TEST_SUITE_P(With, OneAllocationFails, testing::Bool(), [](const auto& test) {
  return test.param ? "AnErrorHandler" : "AMessageBox";
});

// --- Errors of the client while ours is reported ---

TEST_F(ErrorFrameTest, AnErrorOfAnObjectThatShowsItselfIsReportedBeforeOurs) {
  fakes::FakeObject object;
  object.default_value = [this]() -> platform::LateValue {
    EXPECT_EQ(ErrorNumberOf([this] { Procedure([] { RaiseError(13); }); }), 65535);
    return std::string("shown");
  };
  const LateBound cbo(object.Handle());
  EXPECT_EQ(ErrorNumberOf([&] {
              ErrorFrame frame(meter.Fields(), "Outer", PARAMETERS(cbo));
              frame.Run([] { RaiseError(6); });
            }),
            65535);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0].ErrorNumber, 13);
  EXPECT_EQ(reports[1].ErrorNumber, 6);
  EXPECT_EQ(reports[1].procedure, "Outer");
  EXPECT_EQ(reports[1].parameters, "<cbo>{shown}</cbo>\r\n");
}

TEST_F(ErrorFrameTest, AnErrorWhileTheErrorHandlerIsMadeLeavesOursAsItIs) {
  auto& make = TheWorld().classes[kErrorHandlerClass];
  make = [this, made = make, inner = false]() mutable {
    if (!std::exchange(inner, true)) {
      EXPECT_EQ(ErrorNumberOf([this] { Procedure([] { RaiseError(13); }); }), 65535);
    }
    return made();
  };
  EXPECT_EQ(ErrorNumberOf([this] { Procedure([] { RaiseError(6); }); }), 65535);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[1].ErrorNumber, 6);
  EXPECT_NE(reports[1].global_variables.find("<ErrorNumber>6</ErrorNumber>"), std::string::npos);
}

// --- Exceptions of the processor ---

TEST_F(ErrorFrameTest, AnExceptionOfTheProcessorIsAnErrorOfItsStatement) {
  int line = 0;
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Faulty");
    frame.Run([&] {
      STEP line = __LINE__ + 1;
      STEP fakes::RaiseHardwareFault(0xC0000005U);
      STEP line = 0;
    });
  });
  EXPECT_EQ(report.ErrorNumber, 10005);
  EXPECT_EQ(report.ErrorDescription, "Access Violation");
  EXPECT_EQ(report.ErrorSource, "ErrorReportExceptionFilter");
  EXPECT_EQ(report.procedure, "Faulty");
  EXPECT_EQ(report.ErrorLine, line);
}

TEST_F(ErrorFrameTest, AnExceptionInCodeOfTheClientIsTheClients) {
  bool taken = true;
  ErrorFrame frame(meter.Fields(), "Calls");
  frame.Run([&] {
    const platform::ClientCode client;
    taken = fakes::RaiseHardwareFault(0xC0000005U);
  });
  EXPECT_FALSE(taken);
}

TEST_F(ErrorFrameTest, AProcedureThatTheClientCallsMeetsItsOwnExceptions) {
  const ErrorReport report = ReportOf([&] {
    ErrorFrame frame(meter.Fields(), "Outer");
    frame.Run([&] {
      const platform::ClientCode client;
      Procedure([] { fakes::RaiseHardwareFault(0xC0000094U); });
    });
  });
  EXPECT_EQ(report.procedure, "Procedure");
  EXPECT_EQ(report.ErrorNumber, 10132);
}

TEST_F(ErrorFrameTest, OutsideEveryProcedureAnExceptionBelongsToSomebodyElse) {
  EXPECT_FALSE(fakes::RaiseHardwareFault(0xC0000005U));
  Procedure([] {});
  EXPECT_FALSE(fakes::RaiseHardwareFault(0xC0000005U));
  EXPECT_EQ(ReportOf([&] { Procedure([] { RaiseError(5); }); }).ErrorNumber, 5);
  EXPECT_FALSE(fakes::RaiseHardwareFault(0xC0000005U));
}

TEST_F(ErrorFrameTest, AnExceptionInTheErrorHandlerLeavesTheReportToAMessageBox) {
  Handler().object.methods["ErrorHandler"] = [](const auto&) -> platform::LateArgument {
    EXPECT_TRUE(fakes::IsInProcedure());
    fakes::RaiseHardwareFault(0xC0000005U);
    return 0;
  };
  EXPECT_EQ(ErrorNumberOf([&] { Procedure([] { RaiseError(5); }); }), 65535);
  EXPECT_EQ(std::exchange(TheWorld().stop_messages, {}).size(), 1U);
}

// --- The errors ---

TEST(RunTimeErrors, EachNumberHasItsStandardDescription) {
  EXPECT_EQ(ErrorDescription(6), "Overflow");
  EXPECT_EQ(ErrorDescription(7), "Out of memory");
  EXPECT_EQ(ErrorDescription(9), "Subscript out of range");
  EXPECT_EQ(ErrorDescription(13), "Type mismatch");
  EXPECT_EQ(ErrorDescription(51), "Internal error");
  EXPECT_EQ(ErrorDescription(70), "Permission denied");
  EXPECT_EQ(ErrorDescription(448), "Named argument not found");
}

// Those that objects of clients fail with.
TEST(RunTimeErrors, EachClassicNumberHasADescriptionOfItsOwn) {
  for (const std::int32_t number :
       {5,   6,   7,   9,   10,  11,  13,  48,  53,  57,  58,  61,  67,  70,  75, 76,
        322, 429, 430, 432, 438, 445, 446, 447, 448, 449, 450, 451, 453, 458, 462}) {
    EXPECT_NE(ErrorDescription(number), kOtherErrorDescription) << number;
  }
}

TEST(RunTimeErrors, AnyOtherNumberIsAnApplicationsOrAnObjectsOwn) {
  EXPECT_EQ(ErrorDescription(65535), "Application-defined or object-defined error");
  EXPECT_EQ(ErrorDescription(0), "Application-defined or object-defined error");
  EXPECT_EQ(ErrorDescription(-1), "Application-defined or object-defined error");
}

TEST(RunTimeErrors, RaiseErrorRaisesTheNumberWithItsDescription) {
  RunTimeError raised{0, ""};
  try {
    RaiseError(9);
  } catch (const RunTimeError& error) {
    raised = error;
  }
  EXPECT_EQ(raised.number, 9);
  EXPECT_EQ(raised.description, "Subscript out of range");
}

}  // namespace
}  // namespace qmzentrel::tests
