// What the component reports, as the external error handler gets it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/fake_object.h"

namespace qmzentrel::tests {

inline constexpr char kErrorHandlerClass[] = "QuenmoorCommunications.Error";

/// One call of the error handler, its variables text taken apart.
struct ErrorReport {
  std::string component;
  std::string version;
  std::int32_t component_id = -1;
  std::int32_t ErrorNumber = 0;
  std::string ErrorDescription;
  std::int32_t ErrorLine = 0;
  std::string ErrorSource;
  std::string module;
  std::string procedure;
  std::string variables;  ///< as given
  std::string local_variables;
  std::string module_variables;
  std::string global_variables;
  std::string parameters;
};

/// Stands for the external error handler as long as it lives: notes every report.
class ErrorHandler {
 public:
  ErrorHandler();
  ErrorHandler(const ErrorHandler&) = delete;
  ErrorHandler& operator=(const ErrorHandler&) = delete;

  std::vector<ErrorReport> reports;
  fakes::FakeObject object;  ///< members "ErrorHandler" and "Action"
  int created = 0;
};

}  // namespace qmzentrel::tests
