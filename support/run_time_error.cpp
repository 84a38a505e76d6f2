#include "support/run_time_error.h"

#include <algorithm>
#include <iterator>

namespace qmzentrel {
namespace {

struct Description {
  std::int32_t number;
  const char* text;
};

// For the numbers that the component raises, and for those that objects of clients raise.
constexpr Description kDescriptions[] = {
    {kErrorInvalidCall, "Invalid procedure call or argument"},
    {kErrorOverflow, "Overflow"},
    {kErrorOutOfMemory, "Out of memory"},
    {kErrorSubscriptOutOfRange, "Subscript out of range"},
    {kErrorArrayLocked, "This array is fixed or temporarily locked"},
    {kErrorDivisionByZero, "Division by zero"},
    {kErrorTypeMismatch, "Type mismatch"},
    {kErrorOutOfStackSpace, "Out of stack space"},
    {48, "Error in loading DLL"},
    {kErrorInternal, "Internal error"},
    {53, "File not found"},
    {57, "Device I/O error"},
    {58, "File already exists"},
    {61, "Disk full"},
    {67, "Too many files"},
    {70, "Permission denied"},
    {75, "Path/File access error"},
    {76, "Path not found"},
    {kErrorObjectNotSet, "Object variable or With block variable not set"},
    {322, "Can't create necessary temporary file"},
    {kErrorFormAlreadyDisplayed, "Form already displayed; can't show modally"},
    {429, "ActiveX component can't create object"},
    {430, "Class does not support Automation or does not support expected interface"},
    {432, "File name or class name not found during Automation operation"},
    {kErrorMemberNotSupported, "Object doesn't support this property or method"},
    {445, "Object doesn't support this action"},
    {446, "Object doesn't support named arguments"},
    {447, "Object doesn't support current locale setting"},
    {448, "Named argument not found"},
    {449, "Argument not optional"},
    {450, "Wrong number of arguments or invalid property assignment"},
    {451, "Object not a collection"},
    {453, "Specified DLL function not found"},
    {458, "Variable uses an Automation type not supported in Visual Basic"},
    {462, "The remote server machine does not exist or is unavailable"},
};

}  // namespace

std::string ErrorDescription(std::int32_t number) {
  const auto* const known = std::ranges::find(kDescriptions, number, &Description::number);
  return known != std::end(kDescriptions) ? known->text : kOtherErrorDescription;
}

void RaiseError(std::int32_t number) {
  throw RunTimeError{number, ErrorDescription(number)};
}

}  // namespace qmzentrel
