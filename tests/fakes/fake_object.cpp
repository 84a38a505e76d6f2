#include "tests/fakes/fake_object.h"

#include <cmath>

#include "platform/number.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {

namespace {

using fakes::FakeObject;
using Members = decltype(FakeObject::methods);

constexpr std::int32_t kOutOfMemory = 7;
constexpr std::int32_t kTypeMismatch = 13;
constexpr std::int32_t kMemberNotSupported = 438;

FakeObject& Object(ClientObject object) {
  return *static_cast<FakeObject*>(object.object);
}

std::optional<LateFailure> Invoke(const Members& members, std::string_view name,
                                  const FakeObject::Arguments& arguments, LateArgument& result) {
  const auto member = members.find(std::string(name));
  if (member == members.end()) return LateFailure{kMemberNotSupported, "", ""};
  try {
    result = member->second(arguments);
  } catch (const LateFailure& failure) {
    return failure;
  }
  return std::nullopt;
}

FakeObject::Arguments Copy(LateArguments arguments) {
  return {arguments.begin(), arguments.end()};
}

std::optional<LateFailure> Get(ClientObject object, std::string_view name, LateArguments arguments,
                               LateArgument& result) {
  const auto& fake = Object(object);
  const bool is_method = !fake.gets.contains(std::string(name));
  return Invoke(is_method ? fake.methods : fake.gets, name, Copy(arguments), result);
}

}  // namespace

std::string LateTypeName(ClientObject object) {
  return Object(object).type_name;
}

bool LateHasMember(ClientObject object, std::string_view name) {
  const auto& fake = Object(object);
  const std::string key(name);
  return fake.methods.contains(key) || fake.gets.contains(key) || fake.lets.contains(key);
}

std::optional<LateFailure> LateCall(ClientObject object, std::string_view name,
                                    LateArguments arguments) {
  LateArgument ignored;
  return Invoke(Object(object).methods, name, Copy(arguments), ignored);
}

std::optional<LateFailure> LateGet(ClientObject object, std::string_view name,
                                   LateArguments arguments, std::int32_t& value) {
  LateArgument result;
  if (auto failure = Get(object, name, arguments, result)) return failure;
  if (const auto* text = std::get_if<std::string>(&result)) {
    const auto number = ParseNumber(*text);
    if (!number) return LateFailure{kTypeMismatch, "", ""};
    value = static_cast<std::int32_t>(std::lround(*number));
  } else {
    value = std::get<std::int32_t>(result);
  }
  return std::nullopt;
}

std::optional<LateFailure> LateGet(ClientObject object, std::string_view name,
                                   LateArguments arguments, std::string& value) {
  LateArgument result;
  if (auto failure = Get(object, name, arguments, result)) return failure;
  const auto* const number = std::get_if<std::int32_t>(&result);
  value = number != nullptr ? std::to_string(*number) : std::get<std::string>(result);
  return std::nullopt;
}

std::optional<LateFailure> LateLet(ClientObject object, std::string_view name,
                                   LateArguments arguments, const LateArgument& value) {
  FakeObject::Arguments all = Copy(arguments);
  all.push_back(value);
  LateArgument ignored;
  return Invoke(Object(object).lets, name, all, ignored);
}

HeldObject CreateLateObject(std::string_view programmatic_identifier) {
  fakes::TheWorld().Enter("CreateLateObject");
  const auto& classes = fakes::TheWorld().classes;
  const auto found = classes.find(std::string(programmatic_identifier));
  return found == classes.end() ? nullptr : found->second();
}

bool IsDataObject(ClientObject object) {
  return Object(object).is_data_object;
}

std::optional<LateFailure> LateMembers(ClientObject object,
                                       std::optional<std::vector<LateValue>>& members) {
  members = Object(object).members;
  if (!members || members->size() <= kMostLateMembers) return std::nullopt;
  members.reset();
  return LateFailure{kOutOfMemory, "", ""};
}

std::optional<LateFailure> LateDefault(ClientObject object, LateValue& value) {
  if (!Object(object).default_value) return LateFailure{kMemberNotSupported, "", ""};
  try {
    value = Object(object).default_value();
  } catch (const LateFailure& failure) {
    return failure;
  }
  return std::nullopt;
}

}  // namespace qmzentrel::platform
