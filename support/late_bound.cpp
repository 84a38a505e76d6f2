#include "support/late_bound.h"

#include "support/dump_variable.h"
#include "support/run_time_error.h"

namespace qmzentrel {
namespace {

void RaiseFailure(const std::optional<platform::LateFailure>& failure) {
  if (!failure) return;
  RunTimeError error{failure->number, failure->description};
  if (error.description.empty()) error.description = ErrorDescription(error.number);
  if (!failure->source.empty()) error.source = failure->source;
  throw error;
}

platform::LateArguments ToSpan(LateBound::Arguments arguments) {
  return {arguments.begin(), arguments.size()};
}

}  // namespace

std::string LateBound::TypeName() const {
  return platform::LateTypeName(Object());
}

bool LateBound::HasMember(std::string_view name) const {
  return platform::LateHasMember(Object(), name);
}

void LateBound::Call(std::string_view name, Arguments arguments) const {
  RaiseFailure(platform::LateCall(Object(), name, ToSpan(arguments)));
}

std::int32_t LateBound::Number(std::string_view name, Arguments arguments) const {
  std::int32_t number = 0;
  RaiseFailure(platform::LateGet(Object(), name, ToSpan(arguments), number));
  return number;
}

std::string LateBound::Text(std::string_view name, Arguments arguments) const {
  std::string text;
  RaiseFailure(platform::LateGet(Object(), name, ToSpan(arguments), text));
  return text;
}

void LateBound::Let(std::string_view name, Arguments indices,
                    const platform::LateArgument& value) const {
  RaiseFailure(platform::LateLet(Object(), name, ToSpan(indices), value));
}

platform::ClientObject LateBound::Object() const {
  if (IsNothing()) RaiseError(kErrorObjectNotSet);
  return object_;
}

std::string DumpVariable(std::string_view name, const LateBound& value) {
  if (value.IsNothing()) return DumpFixedText(name, "{Nothing}");
  return DumpFixedText(name, "{" + value.TypeName() + "}");
}

}  // namespace qmzentrel
