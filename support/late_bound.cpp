#include "support/late_bound.h"

#include "platform/hardware_faults.h"
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

// What the object's own code throws meanwhile is left to the client.
template <class Call>
auto InClientCode(Call call) {
  const platform::ClientCode object_of_the_client;
  return call();
}

platform::LateArguments ToSpan(LateBound::Arguments arguments) {
  return {arguments.begin(), arguments.size()};
}

}  // namespace

std::string LateBound::TypeName() const {
  return InClientCode([&] { return platform::LateTypeName(Object()); });
}

bool LateBound::HasMember(std::string_view name) const {
  return InClientCode([&] { return platform::LateHasMember(Object(), name); });
}

void LateBound::Call(std::string_view name, Arguments arguments) const {
  RaiseFailure(InClientCode([&] { return platform::LateCall(Object(), name, ToSpan(arguments)); }));
}

std::int32_t LateBound::Number(std::string_view name, Arguments arguments) const {
  std::int32_t number = 0;
  RaiseFailure(
      InClientCode([&] { return platform::LateGet(Object(), name, ToSpan(arguments), number); }));
  return number;
}

std::string LateBound::Text(std::string_view name, Arguments arguments) const {
  std::string text;
  RaiseFailure(
      InClientCode([&] { return platform::LateGet(Object(), name, ToSpan(arguments), text); }));
  return text;
}

void LateBound::Let(std::string_view name, Arguments indices,
                    const platform::LateArgument& value) const {
  RaiseFailure(
      InClientCode([&] { return platform::LateLet(Object(), name, ToSpan(indices), value); }));
}

platform::HeldObject LateBound::Unowned() const {
  return {platform::HeldObject(), object_.object};
}

platform::ClientObject LateBound::Object() const {
  if (IsNothing()) RaiseError(kErrorObjectNotSet);
  return object_;
}

std::string DumpVariable(std::string_view name, const LateBound& value) {
  return DumpVariable(name, platform::LateValue(platform::ObjectValue{value.Unowned()}));
}

}  // namespace qmzentrel
