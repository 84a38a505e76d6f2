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

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/hardware_faults.h"
#include "support/dump_variable.h"

/// Stands before each statement of a procedure: a fault is reported with this line.
#define STEP frame.line = __LINE__;

/// The variables of a procedure that its report shows, in this order, by these names.
#define PARAMETERS(...) ::qmzentrel::Variables(#__VA_ARGS__ __VA_OPT__(, ) __VA_ARGS__)
#define LOCALS(...) ::qmzentrel::Variables(#__VA_ARGS__ __VA_OPT__(, ) __VA_ARGS__)

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

namespace internal {

/// Renders one variable, whose type it knows.
using DumpValue = std::string (*)(std::string_view name, const void* value);

template <class T>
std::string DumpValueOf(std::string_view name, const void* value) {
  return DumpVariable(name, *static_cast<const T*>(value));
}

template <class... T>
inline constexpr std::array<DumpValue, sizeof...(T)> kDumpValues{DumpValueOf<T>...};

}  // namespace internal

/// Names the variables as a report does: "lngFirst, lngLast". Refers to them.
template <class... T>
struct Variables {
  explicit Variables(const char* listed, const T&... values)
      : names(listed), addresses{&values...} {}

  const char* names;
  std::array<const void*, sizeof...(T)> addresses;
};

/// Variables of whatever types, as a frame keeps them.
class VariableList {
 public:
  /// More than any procedure has in one list.
  static constexpr std::size_t kMost = 8;

  VariableList() = default;
  template <class... T>
  explicit VariableList(const Variables<T...>& variables)
      : names_(variables.names), dumps_(internal::kDumpValues<T...>.data()), count_(sizeof...(T)) {
    static_assert(sizeof...(T) <= kMost);
    for (std::size_t i = 0; i < sizeof...(T); ++i) addresses_[i] = variables.addresses[i];
  }

  /// An entry for each.
  std::string Dump() const;

 private:
  const char* names_ = "";
  const internal::DumpValue* dumps_ = nullptr;
  std::size_t count_ = 0;
  // The rest is not written: a frame costs what its procedure shows.
  std::array<const void*, kMost> addresses_;  // NOLINT(cppcoreguidelines-pro-type-member-init)
};

class ErrorFrame {
 public:
  /// Module and procedure as the report names them.
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
  ErrorFrame(const ErrorFrame&) = delete;
  ErrorFrame& operator=(const ErrorFrame&) = delete;

  /// Runs the statements of the procedure and returns what they return.
  template <class Body>
  std::invoke_result_t<Body> Run(Body&& body) {
    try {
      return platform::RaisingFaults(std::forward<Body>(body));
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

  ModuleFields fields_;
  const char* procedure_;
  VariableList parameters_;
  VariableList locals_;
};

}  // namespace qmzentrel
