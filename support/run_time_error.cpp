#include "support/run_time_error.h"

namespace qmzentrel {

std::string ErrorDescription(std::int32_t number) {
  switch (number) {
    case kErrorInvalidCall:
      return "Invalid procedure call or argument";
    case kErrorOverflow:
      return "Overflow";
    case kErrorOutOfMemory:
      return "Out of memory";
    case kErrorSubscriptOutOfRange:
      return "Subscript out of range";
    case kErrorArrayLocked:
      return "This array is fixed or temporarily locked";
    case kErrorDivisionByZero:
      return "Division by zero";
    case kErrorTypeMismatch:
      return "Type mismatch";
    case kErrorOutOfStackSpace:
      return "Out of stack space";
    case kErrorObjectNotSet:
      return "Object variable or With block variable not set";
    case kErrorFormAlreadyDisplayed:
      return "Form already displayed; can't show modally";
    case kErrorMemberNotSupported:
      return "Object doesn't support this property or method";
    case kErrorInternal:
      return "Internal error";
    default:
      return kOtherErrorDescription;
  }
}

void RaiseError(std::int32_t number) {
  throw RunTimeError{number, ErrorDescription(number)};
}

}  // namespace qmzentrel
