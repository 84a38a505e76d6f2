// What the tests' error handler was told, in this process.
#pragma once

#include <string>
#include <vector>

#include "tests/clients/com_client.h"

namespace qmzentrel::clients {

/// The arguments of one report, each as text.
struct ErrorReport {
  std::wstring component;
  std::wstring version;
  std::wstring component_id;
  std::wstring number;
  std::wstring description;
  std::wstring line;
  std::wstring source;
  std::wstring module;
  std::wstring procedure;
  std::wstring variables;
};

/// Watches the reports of the process from its beginning on; what came before is forgotten.
class ErrorReports {
 public:
  ErrorReports();

  /// The reports since the last call, at most the hundred last ones.
  std::vector<ErrorReport> Take();
  /// How many there were since the last call or the beginning.
  LONG Count();

 private:
  ComPointer<IDispatch> handler_;
};

}  // namespace qmzentrel::clients
