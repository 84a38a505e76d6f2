// The error handler of every procedure that can fail. A procedure opens one frame and runs its
// statements inside it:
//
//   std::int32_t lngStatus = S_OKAY;
//   ErrorFrame frame(Fields(), "Zentrel_DeviceInit", PARAMETERS(), LOCALS(lngStatus));
//   return frame.Run([&] {
//     STEP lngStatus = BoxStatus();
//     STEP return lngStatus;
//   });
//
// A fault, be it an exception of the processor, is reported once, with everything in scope as text,
// and leaves as kErrorReported. Until then the frame is a handful of pointers and a place in the
// chain of exception handlers: nothing is allocated or formatted.
#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "platform/hardware_faults.h"
#include "support/variables.h"

/// Stands before each statement of a procedure: a fault is reported with this line.
#define STEP frame.line = __LINE__;

#define PARAMETERS(...) VARIABLES(__VA_ARGS__)
#define LOCALS(...) VARIABLES(__VA_ARGS__)

namespace qmzentrel {

/// The name of a class or module and the way to render its fields.
struct ModuleFields {
  const char* module;
  const void* object;
  std::string (*dump)(const void* object);
};

/// Of a module that has no fields.
consteval ModuleFields NoFields(const char* module) {
  return {module, nullptr, [](const void*) { return std::string(); }};
}

/// Of a class that renders them by DumpFields.
template <class Class>
constexpr ModuleFields FieldsOf(const char* module, const Class* object) {
  return {module, object,
          [](const void* shown) { return static_cast<const Class*>(shown)->DumpFields(); }};
}

class ErrorFrame {
 public:
  /// Module and procedure as the report names them. They outlive the frame.
  ErrorFrame(const ModuleFields& fields, const char* procedure)
      : fields_(fields), procedure_(procedure) {}
  template <class... Parameter>
  ErrorFrame(const ModuleFields& fields, const char* procedure,
             const Variables<Parameter...>& parameters)
      : fields_(fields), procedure_(procedure), parameters_(parameters) {}
  template <class... Parameter, class... Local>
  ErrorFrame(const ModuleFields& fields, const char* procedure,
             const Variables<Parameter...>& parameters, const Variables<Local...>& locals)
      : fields_(fields), procedure_(procedure), parameters_(parameters), locals_(locals) {}
  template <class... Lists>
  ErrorFrame(ModuleFields&& gone_too_soon, const char* procedure, const Lists&... lists) = delete;
  ErrorFrame(const ErrorFrame&) = delete;
  ErrorFrame& operator=(const ErrorFrame&) = delete;

  /// Runs the statements of the procedure and returns what they return.
  template <class Body>
  std::invoke_result_t<Body> Run(Body&& body) {
    try {
      return platform::CallErased(platform::RunAsProcedure, std::forward<Body>(body));
    } catch (...) {
      Fail();
    }
  }

  /// Line of the statement at work. Volatile: it must be in memory whenever a statement faults.
  volatile int line = 0;

 private:
  /// Called while an exception is handled: reports it unless that has been done, and raises
  /// kErrorReported.
  [[noreturn]] void Fail() const;

  const ModuleFields& fields_;
  const char* procedure_;
  VariableList parameters_;
  VariableList locals_;
};

}  // namespace qmzentrel
