#include "support/error_frame.h"

#include <new>
#include <stdexcept>

#include "support/ignoring_errors.h"
#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"

namespace qmzentrel {
namespace {

// `error`, or as much of it as there is memory for.
RunTimeError CopyOf(const RunTimeError& error) {
  try {
    return error;
  } catch (const std::bad_alloc&) {
    return {error.number, "", ""};
  }
}

RunTimeError StandardError(std::int32_t number, const char* detail = nullptr) {
  try {
    std::string description = ErrorDescription(number);
    if (detail != nullptr) description.append(": ").append(detail);
    return {number, description};
  } catch (const std::bad_alloc&) {
    return {number, "", ""};
  }
}

// The exception in progress as an error with a number. What has been reported, and what the client
// handles outside, goes straight through.
RunTimeError ErrorInProgress() {
  try {
    throw;
  } catch (const ReportedError&) {
    throw;
  } catch (const platform::ClientUnwinding&) {
    throw;
  } catch (const RunTimeError& error) {
    return CopyOf(error);
  } catch (const std::bad_alloc&) {
    return StandardError(kErrorOutOfMemory);
  } catch (const std::exception& error) {
    return StandardError(kErrorInternal, error.what());
  } catch (...) {
    return StandardError(kErrorInternal);
  }
}

// A report without the variables, for lack of memory say, is better than none.
template <class Dump>
std::string TextOrNothing(Dump dump) {
  return AnswerOf(dump, std::string());
}

}  // namespace

void ErrorFrame::Fail() const {
  const RunTimeError error = ErrorInProgress();
  // What fails in here, of the report itself or of the component that takes it, ends here: the
  // caller still hears of the error.
  IgnoringErrors([&] {
    const std::string local_variables = TextOrNothing([&] { return locals_.Dump(); });
    const std::string module_variables =
        TextOrNothing([&] { return fields_.dump(fields_.object); });
    const std::string parameters = TextOrNothing([&] { return parameters_.Dump(); });
    // After them: objects of the client show themselves there, and may meet errors of their own.
    IgnoringErrors([&] { modErrorReportSupport::StoreError(error, line); });
    modErrorReportSupport::ReportError(fields_.module, procedure_, local_variables,
                                       module_variables, parameters);
  });
  throw ReportedError();
}

}  // namespace qmzentrel
