#include "com/dispatch_invoke.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "com/dispatch_table.h"
#include "com/error_info.h"
#include "com/zentrel_object.h"
#include "platform/hardware_faults.h"
#include "platform/win32/owned_failure.h"
#include "support/ignoring_errors.h"

namespace qmzentrel::com {
namespace {

// Inline, unlike the comparison of the system's header: every late-bound call comes this way.
// Clients in C hand over no identifier at all, since other objects never look at it.
bool IsNull(REFIID identifier) {
  const IID* given = &identifier;
  asm("" : "+r"(given));  // or the compiler would rely on a reference
  return given == nullptr || InlineIsEqualGUID(*given, IID_NULL) != FALSE;
}

// The procedure that a call with these flags means. A client that cannot tell a method from a
// property asks for both at once.
const Procedure* SelectProcedure(const Member& member, WORD flags) {
  if (member.method != nullptr && (flags & DISPATCH_METHOD) != 0) return member.method;
  if (member.get != nullptr && (flags & DISPATCH_PROPERTYGET) != 0) return member.get;
  if (member.let != nullptr && (flags & DISPATCH_PROPERTYPUT) != 0) return member.let;
  return nullptr;
}

// A failed argument's place in the client's list.
HRESULT Wrong(HRESULT result, UINT place, UINT* wrong_argument) {
  if (wrong_argument != nullptr) *wrong_argument = place;
  return result;
}

// The arguments of one call. A client's list holds the named ones first, then the others from last
// to first.
class ArgumentList {
 public:
  ArgumentList(DISPPARAMS& given, std::span<const Parameter> expected)
      : given_(given), expected_(expected) {}

  HRESULT Bind(LCID lcid, UINT* wrong_argument) {
    const HRESULT sorted = Sort(wrong_argument);
    if (FAILED(sorted)) return sorted;
    for (std::size_t i = 0; i < expected_.size(); ++i) {
      if (places_[i] == kNotGiven) {
        // No place in the client's list to name.
        const HRESULT result = bound_[i].BindDefault(expected_[i]);
        if (FAILED(result)) return result;
      } else {
        // An array comes after the number of its entries.
        const bool is_array = expected_[i].type == kLongArrayByReference;
        const std::int32_t entries = is_array ? bound_[0].Number() : 0;
        const HRESULT result =
            bound_[i].Bind(given_.rgvarg[places_[i]], expected_[i], entries, lcid);
        if (FAILED(result)) return Wrong(result, places_[i], wrong_argument);
      }
    }
    return S_OK;
  }

  std::array<Argument, kMostParameters> ForProcedure() const {
    std::array<Argument, kMostParameters> arguments;
    for (std::size_t i = 0; i < expected_.size(); ++i) {
      arguments[i] = bound_[i].ForProcedure(expected_[i].type);
    }
    return arguments;
  }

  void WriteBack() {
    for (BoundArgument& argument : bound_) argument.WriteBack();
  }

 private:
  static constexpr UINT kNotGiven = static_cast<UINT>(-1);

  // Finds the place of each parameter's argument in the client's list.
  HRESULT Sort(UINT* wrong_argument) {
    const auto required = static_cast<UINT>(
        std::ranges::count(expected_, false, [](const Parameter& p) { return p.optional; }));
    if (given_.cArgs < required || given_.cArgs > expected_.size()) return DISP_E_BADPARAMCOUNT;
    places_.fill(kNotGiven);
    const UINT positional = given_.cArgs - given_.cNamedArgs;
    for (UINT i = 0; i < positional; ++i) places_[i] = given_.cArgs - 1 - i;
    for (UINT i = 0; i < given_.cNamedArgs; ++i) {
      const auto index = static_cast<std::size_t>(given_.rgdispidNamedArgs[i]);
      if (index >= expected_.size() || places_[index] != kNotGiven) {
        return Wrong(DISP_E_PARAMNOTFOUND, i, wrong_argument);
      }
      places_[index] = i;
    }
    return S_OK;
  }

  DISPPARAMS& given_;
  std::span<const Parameter> expected_;
  std::array<UINT, kMostParameters> places_{};
  std::array<BoundArgument, kMostParameters> bound_;
};

bool IsWellFormed(const DISPPARAMS* parameters) {
  return parameters != nullptr && parameters->cNamedArgs <= parameters->cArgs &&
         (parameters->cArgs == 0 || parameters->rgvarg != nullptr) &&
         (parameters->cNamedArgs == 0 || parameters->rgdispidNamedArgs != nullptr);
}

// A procedure has failed and left an error info behind.
[[gnu::noinline]] HRESULT Failed(HRESULT called, EXCEPINFO* failure) {
  platform::OwnedFailure info;
  TakeErrorInfo(called, *info.Get());
  if (failure != nullptr) *failure = info.Detach();
  return DISP_E_EXCEPTION;
}

// `result` is empty or null. The procedure writes its value straight into it.
HRESULT Get(ZentrelObject& object, const Member& member, const Procedure& procedure,
            const Argument* arguments, VARIANT* result, EXCEPINFO* failure) {
  VARIANT dropped;
  VARIANT& value = result != nullptr ? *result : dropped;
  // The values of a variant share one place.
  const HRESULT called = object.Call(procedure, arguments, &V_I4(&value));
  if (FAILED(called)) return Failed(called, failure);
  V_VT(&value) = member.type;
  if (result == nullptr) VariantClear(&dropped);
  return S_OK;
}

// Apart from the calls without arguments, which do not need its room.
[[gnu::noinline]] HRESULT CallWithArguments(ZentrelObject& object, const Member& member,
                                            const Procedure& procedure, DISPPARAMS& given,
                                            LCID lcid, VARIANT* result, EXCEPINFO* failure,
                                            UINT* wrong_argument) {
  ArgumentList arguments(given, member.Parameters());
  const HRESULT bound = arguments.Bind(lcid, wrong_argument);
  if (FAILED(bound)) return bound;
  const auto bound_arguments = arguments.ForProcedure();
  // Out of this function's own frame, which an exception that unwinds past the procedure leaves
  // too.
  const HRESULT called = platform::CallOut(
      [&] { return Get(object, member, procedure, bound_arguments.data(), result, failure); });
  if (SUCCEEDED(called)) {
    arguments.WriteBack();
  } else {
    // The error of the procedure is the one to tell.
    IgnoringErrors([&] { arguments.WriteBack(); });
  }
  return called;
}

[[gnu::noinline]] HRESULT Let(ZentrelObject& object, const Member& member, DISPPARAMS& given,
                              LCID lcid, EXCEPINFO* failure, UINT* wrong_argument) {
  if (given.cArgs != 1) return DISP_E_BADPARAMCOUNT;
  if (given.cNamedArgs != 1 || given.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) {
    return Wrong(DISP_E_PARAMNOTFOUND, 0, wrong_argument);
  }
  BoundArgument value;
  const HRESULT bound = value.Bind(given.rgvarg[0], {nullptr, member.type}, 0, lcid);
  if (FAILED(bound)) return Wrong(bound, 0, wrong_argument);
  const Argument argument = value.ForProcedure(member.type);
  const HRESULT called =
      platform::CallOut([&] { return object.Call(*member.let, &argument, nullptr); });
  return FAILED(called) ? Failed(called, failure) : S_OK;
}

}  // namespace

HRESULT GetIDsOfMemberNames(REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) noexcept {
  if (!IsNull(riid)) return DISP_E_UNKNOWNINTERFACE;
  if (count == 0) return S_OK;
  if (names == nullptr || ids == nullptr) return E_POINTER;
  std::fill_n(ids, count, DISPID_UNKNOWN);
  if (std::any_of(names, names + count, [](const OLECHAR* name) { return name == nullptr; })) {
    return E_POINTER;
  }
  const Member* const member = FindMember(names[0]);
  if (member == nullptr) return DISP_E_UNKNOWNNAME;
  ids[0] = member->id;
  bool all_known = true;
  for (UINT i = 1; i < count; ++i) {
    ids[i] = FindParameter(*member, names[i]);
    all_known = all_known && ids[i] != DISPID_UNKNOWN;
  }
  return all_known ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT InvokeMember(ZentrelObject& object, DISPID id, REFIID riid, LCID lcid, WORD flags,
                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* failure,
                     UINT* wrong_argument) {
  if (!IsNull(riid)) return DISP_E_UNKNOWNINTERFACE;
  if (!IsWellFormed(parameters)) return E_INVALIDARG;
  if (result != nullptr) V_VT(result) = VT_EMPTY;
  const Member* const member = FindMember(id);
  const Procedure* const procedure = member == nullptr ? nullptr : SelectProcedure(*member, flags);
  if (procedure == nullptr) return DISP_E_MEMBERNOTFOUND;
  if (parameters->cArgs == 0 && member->Parameters().empty() && procedure != member->let) {
    return Get(object, *member, *procedure, nullptr, result, failure);
  }
  // What the procedure raises it reports itself; this is about its arguments.
  HRESULT called = S_OK;
  const HRESULT raised = object.Guarded(
      [&] {
        called = procedure == member->let
                     ? Let(object, *member, *parameters, lcid, failure, wrong_argument)
                     : CallWithArguments(object, *member, *procedure, *parameters, lcid, result,
                                         failure, wrong_argument);
        return S_OK;
      },
      Caller(member->name));
  if (SUCCEEDED(raised)) return called;
  // That of a command whose reply an array would not take.
  if (result != nullptr) VariantClear(result);
  return Failed(raised, failure);
}

}  // namespace qmzentrel::com
