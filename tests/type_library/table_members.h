// What the component's own table of members says, in the form of the expected library.
#pragma once

#include <utility>
#include <vector>

#include "tests/type_library/expected_library.h"

namespace qmzentrel::type_library {

// Two of the types are in/out parameters wherever they occur.
inline ExpectedParameter Parameter(std::string type, std::string name) {
  if (type == "Longs") return InOut(std::move(name), "Long()");
  if (type == "Object") return InOut(std::move(name), type);
  return In(std::move(name), std::move(type));
}

inline ExpectedParameter Parameter(std::string type, std::string name, int by_default) {
  return Optional(std::move(name), std::move(type), by_default);
}

// Without help, which stands in the type library only.
inline const std::vector<ExpectedMember> kTableMembers = {
#define PARAMETER(type, name, ...) Parameter(#type, #name __VA_OPT__(, __VA_ARGS__))
#define MEMBER(procedures, name, id, type, ...) \
  {L"" #name, procedures, id, {EACH(PARAMETER, __VA_ARGS__)}, #type, 0, L""},
#define METHOD(name, id, type, ...) MEMBER(kMethod, name, id, type, __VA_ARGS__)
#define GET(name, id, type, ...) MEMBER(kGet, name, id, type, __VA_ARGS__)
#define LET(name, id, type) MEMBER(kLet, name, id, type)
#define PROPERTY(name, id, type) MEMBER(kGet | kLet, name, id, type)
#include "com/member_table.inc"
#undef MEMBER
#undef PARAMETER
};

}  // namespace qmzentrel::type_library
