#include "support/error_frame.h"

#include <new>
#include <stdexcept>

#include "support/modErrorReportSupport.h"
#include "support/run_time_error.h"

namespace qmzentrel {
namespace {

// The exception in progress as an error with a number. What has been reported goes straight
// through.
RunTimeError ErrorInProgress() {
  try {
    throw;
  } catch (const ReportedError&) {
    throw;
  } catch (const RunTimeError& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return {kErrorOutOfMemory, ErrorDescription(kErrorOutOfMemory)};
  } catch (const std::exception& error) {
    return {kErrorInternal, ErrorDescription(kErrorInternal) + ": " + error.what()};
  } catch (...) {
    return {kErrorInternal, ErrorDescription(kErrorInternal)};
  }
}

// A report without the variables, for lack of memory say, is better than none.
template <class Dump>
std::string TextOrNothing(Dump dump) {
  try {
    return dump();
  } catch (...) {
    return "";
  }
}

}  // namespace

void ErrorFrameBase::Fail(DumpList parameters, DumpList locals) const {
  const RunTimeError error = ErrorInProgress();
  try {
    // What fails in here, of the report itself or of the component that takes it, ends here.
    platform::RaisingFaults([&] {
      modErrorReportSupport::StoreError(error, line);
      modErrorReportSupport::ReportError(
          fields_.module, procedure_, TextOrNothing([&] { return locals(*this); }),
          TextOrNothing([&] { return fields_.dump(fields_.object); }),
          TextOrNothing([&] { return parameters(*this); }));
    });
  } catch (...) {
    // The caller still hears of the error.
  }
  throw ReportedError();
}

}  // namespace qmzentrel
