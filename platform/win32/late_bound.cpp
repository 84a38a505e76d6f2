#include "platform/win32/late_bound.h"

#include <windows.h>

// After it, which they need.
#include <dispex.h>
#include <ocidl.h>
#include <oleauto.h>

#include <vector>

#include "platform/hardware_faults.h"
#include "platform/win32/automation_number.h"
#include "platform/win32/bstr.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/late_value.h"
#include "platform/win32/locale.h"
#include "platform/win32/owned_failure.h"
#include "platform/win32/owned_variant.h"
#include "platform/win32/variant_conversion.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {
namespace {

IDispatch* DispatchOf(ClientObject object) {
  return static_cast<IDispatch*>(object.object);
}

// Query of an object of the client's, whose own code answers.
template <class Interface>
ComPointer<Interface> Ask(IUnknown* object, REFIID riid) {
  return CallOut([&] { return Query<Interface>(object, riid); });
}

// As languages do that make no difference between reading a property and calling a method.
constexpr WORD kGetEither = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

OwnedVariant VariantOf(const LateArgument& argument) {
  OwnedVariant variant;
  if (const auto* number = std::get_if<std::int32_t>(&argument)) {
    V_VT(variant.Get()) = VT_I4;
    V_I4(variant.Get()) = *number;
  } else {
    V_BSTR(variant.Get()) = OwnedBstr(Utf8ToWide(std::get<std::string>(argument))).Detach();
    V_VT(variant.Get()) = VT_BSTR;
  }
  return variant;
}

LateFailure FailureOf(HRESULT result, EXCEPINFO& info) {
  if (result != DISP_E_EXCEPTION) return {AutomationNumber(result), "", ""};
  if (info.pfnDeferredFillIn != nullptr) CallOut([&] { return info.pfnDeferredFillIn(&info); });
  const std::int32_t number = info.wCode != 0 ? info.wCode : AutomationNumber(info.scode);
  return {number, WideToUtf8(ViewOf(info.bstrSource)), WideToUtf8(ViewOf(info.bstrDescription))};
}

// Objects of script languages tell their members through IDispatchEx alone.
HRESULT FindMember(IDispatch* object, std::string_view name, DISPID& id) {
  const OwnedBstr wide(Utf8ToWide(name));
  if (const auto ex = Ask<IDispatchEx>(object, __uuidof(IDispatchEx))) {
    return CallOut([&] { return ex->GetDispID(wide.Get(), fdexNameCaseInsensitive, &id); });
  }
  LPOLESTR names[] = {wide.Get()};
  return CallOut([&] { return object->GetIDsOfNames(IID_NULL, names, 1, kComponentLocale, &id); });
}

HRESULT InvokeMember(IDispatch* object, DISPID id, WORD flags, DISPPARAMS& parameters,
                     VARIANT* result, EXCEPINFO& info) {
  if (const auto ex = Ask<IDispatchEx>(object, __uuidof(IDispatchEx))) {
    return CallOut([&] {
      return ex->InvokeEx(id, kComponentLocale, flags, &parameters, result, &info, nullptr);
    });
  }
  UINT wrong_argument = 0;
  return CallOut([&] {
    return object->Invoke(id, IID_NULL, kComponentLocale, flags, &parameters, result, &info,
                          &wrong_argument);
  });
}

// `let_value` is set after the indices, and named as automation asks for.
std::optional<LateFailure> Invoke(ClientObject object, std::string_view name, WORD flags,
                                  LateArguments arguments, const LateArgument* let_value,
                                  VARIANT* result) {
  // The code of the object may release the last reference while it runs.
  const ComPointer<IDispatch> held(DispatchOf(object));
  OwnedFailure failure;
  DISPID id = DISPID_UNKNOWN;
  HRESULT outcome = FindMember(held.Get(), name, id);
  if (SUCCEEDED(outcome)) {
    std::vector<OwnedVariant> values;
    values.reserve(arguments.size() + 1);
    if (let_value != nullptr) values.push_back(VariantOf(*let_value));
    for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument) {
      values.push_back(VariantOf(*argument));
    }
    std::vector<VARIANT> last_first;
    last_first.reserve(values.size());
    for (OwnedVariant& value : values) last_first.push_back(*value.Get());
    DISPID let_id = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{last_first.data(), let_value != nullptr ? &let_id : nullptr,
                          static_cast<UINT>(last_first.size()), let_value != nullptr ? 1U : 0U};
    outcome = InvokeMember(held.Get(), id, flags, parameters, result, *failure.Get());
  }
  if (SUCCEEDED(outcome)) return std::nullopt;
  return FailureOf(outcome, *failure.Get());
}

std::optional<LateFailure> Get(ClientObject object, std::string_view name, LateArguments arguments,
                               VARTYPE type, OwnedVariant& value) {
  OwnedVariant given;
  if (auto failure = Invoke(object, name, kGetEither, arguments, nullptr, given.Get())) {
    return failure;
  }
  const HRESULT converted = ConvertVariant(value.Get(), given.Get(), kComponentLocale, type);
  if (FAILED(converted)) return LateFailure{AutomationNumber(converted), "", ""};
  return std::nullopt;
}

// Reads the member that stands under a number of automation's own.
std::optional<LateFailure> GetWellKnown(ClientObject object, DISPID id, VARIANT* value) {
  const ComPointer<IDispatch> held(DispatchOf(object));
  OwnedFailure failure;
  DISPPARAMS none{};
  const HRESULT outcome = InvokeMember(held.Get(), id, kGetEither, none, value, *failure.Get());
  if (SUCCEEDED(outcome)) return std::nullopt;
  return FailureOf(outcome, *failure.Get());
}

std::string NameOf(ITypeInfo* info) {
  OwnedBstr name;
  if (FAILED(info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr))) {
    return "";
  }
  return WideToUtf8(name.View());
}

}  // namespace

std::string LateTypeName(ClientObject object) {
  ComPointer<ITypeInfo> info;
  const auto provider = Ask<IProvideClassInfo>(DispatchOf(object), __uuidof(IProvideClassInfo));
  ITypeInfo** const place = info.Receive();
  if (provider && SUCCEEDED(CallOut([&] { return provider->GetClassInfo(place); })) && info) {
    return NameOf(info.Get());
  }
  *place = nullptr;  // whatever a failed call has stored
  if (FAILED(
          CallOut([&] { return DispatchOf(object)->GetTypeInfo(0, kComponentLocale, place); }))) {
    info.Detach();
  }
  return info ? NameOf(info.Get()) : "";
}

bool LateHasMember(ClientObject object, std::string_view name) {
  DISPID id = DISPID_UNKNOWN;
  return SUCCEEDED(FindMember(DispatchOf(object), name, id));
}

std::optional<LateFailure> LateCall(ClientObject object, std::string_view name,
                                    LateArguments arguments) {
  OwnedVariant ignored;
  return Invoke(object, name, DISPATCH_METHOD, arguments, nullptr, ignored.Get());
}

std::optional<LateFailure> LateGet(ClientObject object, std::string_view name,
                                   LateArguments arguments, std::int32_t& value) {
  OwnedVariant number;
  auto failure = Get(object, name, arguments, VT_I4, number);
  if (!failure) value = V_I4(number.Get());
  return failure;
}

std::optional<LateFailure> LateGet(ClientObject object, std::string_view name,
                                   LateArguments arguments, std::string& value) {
  OwnedVariant text;
  auto failure = Get(object, name, arguments, VT_BSTR, text);
  if (!failure) value = WideToUtf8(ViewOf(V_BSTR(text.Get())));
  return failure;
}

std::optional<LateFailure> LateGet(ClientObject object, std::string_view name, VARIANT* value) {
  return Invoke(object, name, DISPATCH_PROPERTYGET, {}, nullptr, value);
}

bool LateLacksMember(ClientObject object, std::string_view name) {
  DISPID id = DISPID_UNKNOWN;
  const HRESULT found = FindMember(DispatchOf(object), name, id);
  return found == DISP_E_UNKNOWNNAME || found == DISP_E_MEMBERNOTFOUND;
}

void LateEnsureMember(ClientObject object, std::string_view name) {
  const OwnedBstr wide(Utf8ToWide(name));
  const auto ex = Ask<IDispatchEx>(DispatchOf(object), __uuidof(IDispatchEx));
  DISPID id = DISPID_UNKNOWN;
  if (!ex) return;
  CallOut([&] { return ex->GetDispID(wide.Get(), fdexNameEnsure | fdexNameCaseSensitive, &id); });
}

std::optional<LateFailure> LateLet(ClientObject object, std::string_view name,
                                   LateArguments arguments, const LateArgument& value) {
  return Invoke(object, name, DISPATCH_PROPERTYPUT, arguments, &value, nullptr);
}

HeldObject CreateLateObject(std::string_view programmatic_identifier) {
  CLSID identifier{};
  const std::wstring wide = Utf8ToWide(programmatic_identifier);
  if (FAILED(CLSIDFromProgID(wide.c_str(), &identifier))) return nullptr;
  ComPointer<IDispatch> object;
  const HRESULT created = CallOut([&] {
    return CoCreateInstance(identifier, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                            IID_IDispatch, object.ReceiveVoid());
  });
  if (FAILED(created)) object.Detach();
  return Hold(object.Get());
}

bool IsDataObject(ClientObject object) {
  return static_cast<bool>(Ask<IUnknown>(DispatchOf(object), IID_IDataObject));
}

std::optional<LateFailure> LateMembers(ClientObject object,
                                       std::optional<std::vector<LateValue>>& members) {
  members.reset();
  OwnedVariant enumerator;
  // One that cannot be enumerated may fail in any way; it is shown by its default member then.
  if (GetWellKnown(object, DISPID_NEWENUM, enumerator.Get())) return std::nullopt;
  const VARTYPE type = V_VT(enumerator.Get());
  if ((type != VT_UNKNOWN && type != VT_DISPATCH) || V_UNKNOWN(enumerator.Get()) == nullptr) {
    return std::nullopt;
  }
  const auto list = Ask<IEnumVARIANT>(V_UNKNOWN(enumerator.Get()), IID_IEnumVARIANT);
  if (!list) return std::nullopt;
  std::vector<LateValue> listed;
  for (;;) {
    OwnedVariant member;
    ULONG fetched = 0;
    const HRESULT outcome = CallOut([&] { return list->Next(1, member.Get(), &fetched); });
    if (FAILED(outcome)) return LateFailure{AutomationNumber(outcome), "", ""};
    if (outcome != S_OK) break;
    if (listed.size() == kMostLateMembers) {
      return LateFailure{AutomationNumber(E_OUTOFMEMORY), "", ""};
    }
    listed.push_back(ToLateValue(*member.Get()));
  }
  members = std::move(listed);
  return std::nullopt;
}

std::optional<LateFailure> LateDefault(ClientObject object, LateValue& value) {
  OwnedVariant held;
  if (auto failure = GetWellKnown(object, DISPID_VALUE, held.Get())) return failure;
  value = ToLateValue(*held.Get());
  return std::nullopt;
}

}  // namespace qmzentrel::platform
