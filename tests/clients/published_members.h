// The members of the class as the tests of the library walk through them. That the table they come
// from says what is published, a test of the type library holds.
#pragma once

#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <vector>

#include "com/member_types.h"

namespace qmzentrel::clients {

enum class Kind { kMethod, kGet, kGetLet, kLet };

struct PublishedParameter {
  const wchar_t* name;
  VARTYPE type;
};

inline constexpr VARTYPE kLongs = com::kLongArrayByReference;
inline constexpr VARTYPE kObject = com::kObjectByReference;

struct PublishedMember {
  const wchar_t* name;
  Kind kind;
  DISPID id;
  VARTYPE type;  // of the result, or of the value that is let
  std::vector<PublishedParameter> parameters;
};

// In slot order; the get procedure of a property stands before its let procedure.
inline const std::vector<PublishedMember> kPublishedMembers{
#define PARAMETER(type, name, ...)        \
  PublishedParameter {                    \
    L"" #name, com::types::type::kVariant \
  }
#define MEMBER(kind, name, id, type, ...) \
  {L"" #name, Kind::kind, id, com::types::type::kVariant, {EACH(PARAMETER, __VA_ARGS__)}},
#define METHOD(name, id, type, ...) MEMBER(kMethod, name, id, type, __VA_ARGS__)
#define GET(name, id, type, ...) MEMBER(kGet, name, id, type, __VA_ARGS__)
#define LET(name, id, type) MEMBER(kLet, name, id, type)
#define PROPERTY(name, id, type) MEMBER(kGetLet, name, id, type)
#include "com/member_table.inc"
#undef MEMBER
#undef PARAMETER
};

}  // namespace qmzentrel::clients
