// The procedures of the dual interface, one for one from the table of members: each converts types
// and calls the procedure of the core that has its name.
#include <cstdint>
#include <initializer_list>
#include <string>

#include "com/client_array.h"
#include "com/com_text.h"
#include "com/held_object.h"
#include "com/member_types.h"
#include "com/procedure.h"
#include "com/zentrel_object.h"

namespace qmzentrel::com {
namespace {

// --- What the core takes for an argument ---

std::int16_t Take(types::Integer, const Argument& given) {
  return given.As<SHORT>();
}
std::int32_t Take(types::Long, const Argument& given) {
  return given.As<LONG>();
}
std::int32_t Take(types::ZentrelStatus, const Argument& given) {
  return given.As<::ZentrelStatus>();
}
// Clients of other languages say true with any number but 0.
bool Take(types::Boolean, const Argument& given) {
  return given.As<VARIANT_BOOL>() != VARIANT_FALSE;
}
std::string Take(types::String, const Argument& given) {
  return TextOf(given.As<BSTR>());
}
ClientArray Take(types::Longs, const Argument& given) {
  if (given.View() != nullptr) return ClientArray(*given.View());
  return ClientArray(given.As<SAFEARRAY**>());
}
HeldObject<IDispatch> Take(types::Object, const Argument& given) {
  IDispatch** const object = given.As<IDispatch**>();
  if (object == nullptr) throw ComError{E_POINTER, "The combo box is missing"};
  return HeldObject(*object);
}

// Of something held, what the core works with.
template <class Value>
const Value& ForCore(const Value& taken) {
  return taken;
}
const LongArray& ForCore(const ClientArray& taken) {
  return taken.View();
}
LateBound ForCore(const HeldObject<IDispatch>& taken) {
  return LateBound({taken.Get()});
}

// --- What a client gets for a result ---

LONG Give(types::Long, std::int32_t value) {
  return value;
}
FLOAT Give(types::Single, float value) {
  return value;
}
VARIANT_BOOL Give(types::Boolean, bool value) {
  return value ? VARIANT_TRUE : VARIANT_FALSE;
}
BSTR Give(types::String, const std::string& value) {
  return NewBstr(value);
}
::ZentrelStatus Give(types::ZentrelStatus, ZentrelStatus value) {
  return static_cast<::ZentrelStatus>(value);
}

// --- From a row to a procedure ---

template <class... Types>
struct TypeList {};

// Takes the arguments, the first one first, and calls `body` with all of them. What is held for the
// core is let go before this returns.
template <class Body>
decltype(auto) WithTaken(TypeList<>, const Argument* /*arguments*/, Body body) {
  return body();
}
template <class First, class... Rest, class Body>
decltype(auto) WithTaken(TypeList<First, Rest...>, const Argument* arguments, Body body) {
  const auto taken = Take(First(), *arguments);
  return WithTaken(TypeList<Rest...>(), arguments + 1, [&](const auto&... rest) -> decltype(auto) {
    return body(ForCore(taken), rest...);
  });
}

// `Body` calls the core with what was taken.
template <class Result, class... Types, class Body>
consteval Procedure Answering(Caller member, Body /*body*/) {
  return {member, true, [](Zentrel& core, const Argument* arguments, void* result) {
            auto& place = *static_cast<typename Result::Given*>(result);
            place = {};
            place = Give(Result(), WithTaken(TypeList<Types...>(), arguments,
                                             [&](const auto&... taken) -> decltype(auto) {
                                               return Body()(core, taken...);
                                             }));
          }};
}

template <class Type, class Body>
consteval Procedure Letting(Caller member, Body /*body*/) {
  return {member, false, [](Zentrel& core, const Argument* arguments, void* /*result*/) {
            WithTaken(TypeList<Type>(), arguments, [&](const auto& value) { Body()(core, value); });
          }};
}

}  // namespace

#define TYPE(type, name, ...) types::type
#define DECLARED(type, name, ...) types::type::Given name
#define HANDED_OVER(type, name, ...) Argument(name)

#define ANSWERED(procedure, name, type, ...)                                             \
  constinit const Procedure Procedures::procedure =                                      \
      Answering<types::type __VA_OPT__(, ) EACH(TYPE, __VA_ARGS__)>(                     \
          Caller(L"" #name), [](Zentrel& core, const auto&... taken) -> decltype(auto) { \
            return core.name(taken...);                                                  \
          });                                                                            \
  STDMETHODIMP ZentrelObject::procedure(EACH(DECLARED, __VA_ARGS__) __VA_OPT__(, )       \
                                            types::type::Given* Result) {                \
    const std::initializer_list<Argument> given{EACH(HANDED_OVER, __VA_ARGS__)};         \
    return Call(Procedures::procedure, given.begin(), Result);                           \
  }
#define METHOD(name, id, type, ...) ANSWERED(name, name, type, __VA_ARGS__)
#define GET(name, id, type, ...) ANSWERED(get_##name, name, type, __VA_ARGS__)
#define LET(name, id, type)                                                           \
  constinit const Procedure Procedures::put_##name = Letting<types::type>(            \
      Caller(L"" #name), [](Zentrel& core, const auto& value) { core.name(value); }); \
  STDMETHODIMP ZentrelObject::put_##name(types::type::Given NewValue) {               \
    const Argument given(NewValue);                                                   \
    return Call(Procedures::put_##name, &given, nullptr);                             \
  }

#include "com/member_table.inc"

#undef ANSWERED
#undef HANDED_OVER
#undef DECLARED
#undef TYPE

}  // namespace qmzentrel::com
