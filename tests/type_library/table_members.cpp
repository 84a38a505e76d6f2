#include "tests/type_library/table_members.h"

namespace qmzentrel::type_library {
namespace {

// Two of the types are in/out parameters wherever they occur.
ExpectedParameter Parameter(std::string type, std::string name) {
  if (type == "Longs") return InOut(std::move(name), "Long()");
  if (type == "Object") return InOut(std::move(name), type);
  return In(std::move(name), std::move(type));
}

ExpectedParameter Parameter(std::string type, std::string name, int by_default) {
  return Optional(std::move(name), std::move(type), by_default);
}

}  // namespace

std::vector<ExpectedMember> MembersOfTheTable() {
  return {
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
}

}  // namespace qmzentrel::type_library
