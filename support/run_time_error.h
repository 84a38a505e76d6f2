// Errors as procedures raise them: the classic automation numbers with their standard descriptions.
#pragma once

#include <cstdint>
#include <string>

namespace qmzentrel {

inline constexpr std::int32_t kErrorInvalidCall = 5;
inline constexpr std::int32_t kErrorOverflow = 6;
inline constexpr std::int32_t kErrorOutOfMemory = 7;
inline constexpr std::int32_t kErrorSubscriptOutOfRange = 9;
inline constexpr std::int32_t kErrorArrayLocked = 10;
inline constexpr std::int32_t kErrorDivisionByZero = 11;
inline constexpr std::int32_t kErrorTypeMismatch = 13;
inline constexpr std::int32_t kErrorOutOfStackSpace = 28;
inline constexpr std::int32_t kErrorInternal = 51;
inline constexpr std::int32_t kErrorObjectNotSet = 91;
inline constexpr std::int32_t kErrorFormAlreadyDisplayed = 400;
inline constexpr std::int32_t kErrorMemberNotSupported = 438;
/// The one number under which a fault leaves a procedure once it has been reported.
inline constexpr std::int32_t kErrorReported = 65535;

/// The description of every number that has none of its own, kErrorReported among them.
inline constexpr char kOtherErrorDescription[] = "Application-defined or object-defined error";

/// A fault inside a procedure of the component. It reaches the procedure's error frame, is reported
/// there, and goes on as kErrorReported.
struct RunTimeError {
  std::int32_t number;
  std::string description;
  std::string source = "QmZentrel";  ///< another one when a client's object has raised it
};

/// What leaves a procedure whose fault has been reported: kErrorReported, without a text of its
/// own, so that lack of memory cannot turn it into something else. Error frames pass it on without
/// a second report.
struct ReportedError : RunTimeError {
  ReportedError() : RunTimeError{kErrorReported, "", ""} {}
};

/// The standard English description of a classic automation error number.
std::string ErrorDescription(std::int32_t number);

/// Raises `number` as a RunTimeError with its standard description.
[[noreturn]] void RaiseError(std::int32_t number);

}  // namespace qmzentrel
