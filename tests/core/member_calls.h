// Calls of all published members of the class, by the table that makes the interface
// (com/member_table.inc): a member that comes in is called without being named here.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "device/Zentrel.h"

namespace qmzentrel::tests {

/// What a client hands over, by the types of the table.
struct GivenArguments {
  std::int16_t Integer = 0;
  std::int32_t Long = 0;
  bool Boolean = false;
  std::string String;
  std::int32_t ZentrelStatus = 0;
  LongArray Longs;
  LateBound Object{{nullptr}};
};

struct MemberCall {
  std::string name;
  std::function<void(Zentrel&)> run;
};

/// The get and the let procedure of a property are a call each.
inline std::vector<MemberCall> CallsOfAllMembers(const GivenArguments& given) {
  return {
#define ARGUMENT(type, name, ...) given.type
#define METHOD(name, id, type, ...) \
  {#name, [given](Zentrel& zentrel) { zentrel.name(EACH(ARGUMENT, __VA_ARGS__)); }},
#define GET(name, id, type, ...) METHOD(name, id, type, __VA_ARGS__)
#define LET(name, id, type) METHOD(name, id, type, (type, value))
#include "com/member_table.inc"
#undef ARGUMENT
  };
}

}  // namespace qmzentrel::tests
