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

}  // namespace

void ErrorFrameBase::Fail(DumpList parameters, DumpList locals) const {
  const RunTimeError error = ErrorInProgress();
  try {
    modErrorReportSupport::ReportError({error.number, error.description, line, error.source,
                                        fields_.module, procedure_, locals(*this),
                                        fields_.dump(fields_.object), parameters(*this)});
  } catch (...) {
    // Out of memory while describing the fault: the caller still hears of it.
  }
  throw ReportedError();
}

}  // namespace qmzentrel
