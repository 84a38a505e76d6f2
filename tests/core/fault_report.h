// A test per procedure with an error frame: the procedure fails, and its whole report is compared.
// The name of such a test is the procedure's and "IsReportedWhole", which is how the procedures
// without one are found.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {

inline constexpr std::string_view kFaultTestSuffix = "IsReportedWhole";

/// What a report says of the error.
struct ExpectedError {
  std::int32_t number = 0;
  std::string description;
  std::string source = "QmZentrel";
};

inline const ExpectedError kOverflow{6, "Overflow"};
inline const ExpectedError kOutOfMemory{7, "Out of memory"};
inline const ExpectedError kSubscript{9, "Subscript out of range"};
inline const ExpectedError kTypeMismatch{13, "Type mismatch"};
inline const ExpectedError kAccessViolation{10005, "Access Violation",
                                            "ErrorReportExceptionFilter"};
inline const ExpectedError kStackOverflow{10237, "Stack Overflow", "ErrorReportExceptionFilter"};

/// Where the stack ends before the first numbered statement.
inline constexpr const char* kBeforeTheFirstLine = "";

struct ExpectedReport {
  ExpectedError error;
  std::string module;
  std::string line;  ///< a part of the source line, or kBeforeTheFirstLine
  std::string parameters;
  std::string locals;
};

/// Entries as a report shows them, written without the help of what is tested.
std::string Shown(const std::string& name, const std::string& text);
inline std::string Shown(const std::string& name, const char* text) {
  return Shown(name, std::string(text));
}
std::string Shown(const std::string& name, std::int32_t number);
std::string Shown(const std::string& name, bool value);
/// A buffer that begins with `bytes` and holds zeros from there on.
std::string ShownFrame(const std::string& name, const Bytes& bytes = {});
std::string ShownNumbers(const std::string& name, const std::vector<std::int32_t>& numbers);
std::string ShownTexts(const std::string& name, const std::vector<std::string>& texts);

/// Compares with the procedure that the running test is named after.
void Compare(const ErrorReport& report, const ExpectedReport& expected);

// --- Ways to fail ---

inline void RunOutOfMemory() {
  throw std::bad_alloc();
}
void ViolateAccess();
void RunOutOfStack();

/// Lets the `turn`th of the coming calls of `call` fail, once.
void FailIn(const std::string& call, const std::function<void()>& fail, int turn = 1);

/// Lets the `turn`th of the coming procedures fail before its first statement.
inline void FailAtEntry(int turn = 1) {
  FailIn("procedure", RunOutOfStack, turn);
}

/// Lets memory run out in each registry call `call` about `subject`.
void RunOutOfMemoryInRegistry(const std::string& call, const std::string& subject);

/// `Base` is a fixture of the core.
template <class Base>
class FaultTest : public Base {
 protected:
  void TearDown() override {
    EXPECT_TRUE(compared_) << "no report was compared";
    StopFailing();
    Base::TearDown();
  }

  /// Runs `action`, which leaves with 65535.
  template <class Action>
  void ExpectReport(Action action, const ExpectedReport& expected) {
    CompareOnce(this->ReportOf(action), expected);
  }

  /// Runs `action`, whose fault is kept from its caller.
  template <class Action>
  void ExpectReportAndNoError(Action action, const ExpectedReport& expected) {
    action();
    const auto reports = this->TakeReports();
    ASSERT_EQ(reports.size(), 1U);
    CompareOnce(reports.front(), expected);
  }

 private:
  void CompareOnce(const ErrorReport& report, const ExpectedReport& expected) {
    StopFailing();
    Compare(report, expected);
    compared_ = true;
  }

  static void StopFailing() {
    TheWorld().before_call = nullptr;
    TheWorld().registry_fault = nullptr;
    TheWorld().out_of_timers = false;
  }

  bool compared_ = false;
};

}  // namespace qmzentrel::tests
