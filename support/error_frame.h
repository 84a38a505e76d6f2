// The error handler of every procedure that can fail. A procedure opens one frame and runs its
// statements inside it:
//
//   std::int32_t lngStatus = S_OKAY;
//   ErrorFrame frame(Fields(), "Zentrel_DeviceInit", Parameters(), Locals(NAMED(lngStatus)));
//   return frame.Run([&] {
//     STEP lngStatus = BoxStatus();
//     STEP return lngStatus;
//   });
//
// A fault, be it an exception of the processor, is reported once, with everything in scope as text,
// and leaves as kErrorReported. Until then the frame is a handful of pointers and a place in the
// chain of exception handlers: nothing is allocated or formatted.
#pragma once

#include <exception>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/hardware_faults.h"
#include "support/dump_variable.h"

/// Stands before each statement of a procedure: a fault is reported with this line.
#define STEP frame.line = __LINE__;

/// A variable with its name, for Parameters and Locals.
#define NAMED(variable)                                                 \
  ::qmzentrel::NamedVariable<std::remove_cvref_t<decltype(variable)>> { \
#variable, variable                                                 \
  }

namespace qmzentrel {

/// The name of a class or module and the way to render its fields.
struct ModuleFields {
  const char* module;
  const void* object;
  std::string (*dump)(const void* object);
};

/// Of a module that has no fields.
constexpr ModuleFields NoFields(const char* module) {
  return {module, nullptr, [](const void*) { return std::string(); }};
}

template <class T>
struct NamedVariable {
  const char* name;
  const T& value;
};

template <class... T>
using VariableList = std::tuple<NamedVariable<T>...>;

template <class... T>
VariableList<T...> Parameters(NamedVariable<T>... entries) {
  return {entries...};
}

template <class... T>
VariableList<T...> Locals(NamedVariable<T>... entries) {
  return {entries...};
}

/// What does not depend on the types of a procedure's variables.
class ErrorFrameBase {
 public:
  ErrorFrameBase(const ErrorFrameBase&) = delete;
  ErrorFrameBase& operator=(const ErrorFrameBase&) = delete;

  /// Line of the statement at work. Volatile: it must be in memory whenever a statement faults.
  volatile int line = 0;

 protected:
  ErrorFrameBase(const ModuleFields& fields, const char* procedure)
      : fields_(fields), procedure_(procedure) {}

  using DumpList = std::string (*)(const ErrorFrameBase& frame);

  /// Called while an exception is handled: reports it unless that has been done, and raises
  /// kErrorReported.
  [[noreturn]] void Fail(DumpList parameters, DumpList locals) const;

 private:
  ModuleFields fields_;
  const char* procedure_;
};

template <class ParameterList = VariableList<>, class LocalList = VariableList<>>
class ErrorFrame : public ErrorFrameBase {
 public:
  ErrorFrame(const ModuleFields& fields, const char* procedure, ParameterList parameters = {},
             LocalList locals = {})
      : ErrorFrameBase(fields, procedure), parameters_(parameters), locals_(locals) {}

  /// Runs the statements of the procedure and returns what they return.
  template <class Body>
  std::invoke_result_t<Body> Run(Body&& body) {
    try {
      return platform::RaisingFaults(std::forward<Body>(body));
    } catch (...) {
      Fail(
          [](const ErrorFrameBase& frame) {
            return DumpAll(static_cast<const ErrorFrame&>(frame).parameters_);
          },
          [](const ErrorFrameBase& frame) {
            return DumpAll(static_cast<const ErrorFrame&>(frame).locals_);
          });
    }
  }

 private:
  template <class List>
  static std::string DumpAll(const List& list) {
    std::string text;
    std::apply(
        [&](const auto&... entry) { ((text += DumpVariable(entry.name, entry.value)), ...); },
        list);
    return text;
  }

  ParameterList parameters_;
  LocalList locals_;
};

}  // namespace qmzentrel
