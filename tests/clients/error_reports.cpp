#include "tests/clients/error_reports.h"

#include <algorithm>
#include <stdexcept>

namespace qmzentrel::clients {

ErrorReports::ErrorReports() {
  LoadedLibrary();  // initialises COM
  CLSID identifier{};
  if (FAILED(CLSIDFromProgID(L"QuenmoorCommunications.Error", &identifier)) ||
      FAILED(CoCreateInstance(identifier, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              handler_.ReceiveVoid()))) {
    throw std::runtime_error("the tests' error handler is not registered");
  }
  Call(handler_.Get(), L"Forget");
}

std::vector<ErrorReport> ErrorReports::Take() {
  constexpr LONG kKept = 100;
  std::vector<ErrorReport> reports;
  const LONG count = Count();
  for (LONG report = std::max(count - kKept, 0L); report < count; ++report) {
    LONG place = 0;
    const auto next = [&] {
      return Get(handler_.Get(), L"Argument", {Value::Long(report), Value::Long(place++)})
          .value.AsText();
    };
    // In the order of the arguments.
    reports.push_back(ErrorReport{next(), next(), next(), next(), next(), next(), next(), next(),
                                  next(), next()});
  }
  Call(handler_.Get(), L"Forget");
  return reports;
}

LONG ErrorReports::Count() {
  return Get(handler_.Get(), L"Count").value.AsLong();
}

}  // namespace qmzentrel::clients
