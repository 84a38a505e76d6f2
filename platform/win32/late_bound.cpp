#include "platform/late_bound.h"

#include <windows.h>

// After it, which they need.
#include <dispex.h>
#include <ocidl.h>
#include <oleauto.h>

#include <vector>

#include "platform/win32/bstr.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/locale.h"
#include "platform/win32/wide.h"

namespace qmzentrel::platform {
namespace {

IDispatch* DispatchOf(ClientObject object) {
  return static_cast<IDispatch*>(object.object);
}

// A variant that is cleared with its owner.
class OwnedVariant {
 public:
  OwnedVariant() { VariantInit(&value_); }
  explicit OwnedVariant(const LateArgument& argument) : OwnedVariant() {
    if (const auto* number = std::get_if<std::int32_t>(&argument)) {
      V_VT(&value_) = VT_I4;
      V_I4(&value_) = *number;
    } else {
      V_BSTR(&value_) = OwnedBstr(Utf8ToWide(std::get<std::string>(argument))).Detach();
      V_VT(&value_) = VT_BSTR;
    }
  }
  ~OwnedVariant() { VariantClear(&value_); }
  OwnedVariant(OwnedVariant&& other) noexcept : value_(other.value_) { VariantInit(&other.value_); }
  OwnedVariant& operator=(OwnedVariant&&) = delete;

  VARIANT* Get() { return &value_; }

 private:
  VARIANT value_;
};

// The texts of a failure, freed with their owner.
class FailureTexts {
 public:
  FailureTexts() = default;
  ~FailureTexts() {
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
  }
  FailureTexts(const FailureTexts&) = delete;
  FailureTexts& operator=(const FailureTexts&) = delete;

  EXCEPINFO info{};
};

// The number by which automation clients know a result code.
std::int32_t NumberOf(HRESULT result) {
  constexpr std::int32_t kOverflow = 6;
  constexpr std::int32_t kOutOfMemory = 7;
  constexpr std::int32_t kTypeMismatch = 13;
  constexpr std::int32_t kMemberNotSupported = 438;
  constexpr std::int32_t kWrongArgumentCount = 450;
  switch (result) {
    case DISP_E_OVERFLOW:
      return kOverflow;
    case E_OUTOFMEMORY:
      return kOutOfMemory;
    case DISP_E_TYPEMISMATCH:
      return kTypeMismatch;
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
      return kMemberNotSupported;
    case DISP_E_BADPARAMCOUNT:
      return kWrongArgumentCount;
    default:
      return HRESULT_FACILITY(result) == FACILITY_CONTROL ? HRESULT_CODE(result) : result;
  }
}

LateFailure FailureOf(HRESULT result, EXCEPINFO& info) {
  if (result != DISP_E_EXCEPTION) return {NumberOf(result), "", ""};
  if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
  const std::int32_t number = info.wCode != 0 ? info.wCode : NumberOf(info.scode);
  return {number, WideToUtf8(ViewOf(info.bstrSource)), WideToUtf8(ViewOf(info.bstrDescription))};
}

// Objects of script languages tell their members through IDispatchEx alone.
HRESULT FindMember(IDispatch* object, std::string_view name, DISPID& id) {
  const OwnedBstr wide(Utf8ToWide(name));
  if (const auto ex = Query<IDispatchEx>(object, __uuidof(IDispatchEx))) {
    return ex->GetDispID(wide.Get(), fdexNameCaseInsensitive, &id);
  }
  LPOLESTR names[] = {wide.Get()};
  return object->GetIDsOfNames(IID_NULL, names, 1, kComponentLocale, &id);
}

HRESULT InvokeMember(IDispatch* object, DISPID id, WORD flags, DISPPARAMS& parameters,
                     VARIANT* result, EXCEPINFO& info) {
  if (const auto ex = Query<IDispatchEx>(object, __uuidof(IDispatchEx))) {
    return ex->InvokeEx(id, kComponentLocale, flags, &parameters, result, &info, nullptr);
  }
  UINT wrong_argument = 0;
  return object->Invoke(id, IID_NULL, kComponentLocale, flags, &parameters, result, &info,
                        &wrong_argument);
}

// `let_value` is set after the indices, and named as automation asks for.
std::optional<LateFailure> Invoke(ClientObject object, std::string_view name, WORD flags,
                                  LateArguments arguments, const LateArgument* let_value,
                                  VARIANT* result) {
  // Its own code may let go of it while it runs.
  const ComPointer<IDispatch> held(DispatchOf(object));
  FailureTexts failure;
  DISPID id = DISPID_UNKNOWN;
  HRESULT outcome = FindMember(held.Get(), name, id);
  if (SUCCEEDED(outcome)) {
    std::vector<OwnedVariant> values;
    values.reserve(arguments.size() + 1);
    if (let_value != nullptr) values.emplace_back(*let_value);
    for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument) {
      values.emplace_back(*argument);
    }
    std::vector<VARIANT> last_first;
    for (OwnedVariant& value : values) last_first.push_back(*value.Get());
    DISPID let_id = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{last_first.data(), let_value != nullptr ? &let_id : nullptr,
                          static_cast<UINT>(last_first.size()), let_value != nullptr ? 1U : 0U};
    outcome = InvokeMember(held.Get(), id, flags, parameters, result, failure.info);
  }
  if (SUCCEEDED(outcome)) return std::nullopt;
  return FailureOf(outcome, failure.info);
}

std::optional<LateFailure> Get(ClientObject object, std::string_view name, LateArguments arguments,
                               VARTYPE type, OwnedVariant& value) {
  // Languages that know no difference ask for either.
  constexpr WORD kGet = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
  if (auto failure = Invoke(object, name, kGet, arguments, nullptr, value.Get())) return failure;
  const HRESULT converted =
      VariantChangeTypeEx(value.Get(), value.Get(), kComponentLocale, 0, type);
  if (FAILED(converted)) return LateFailure{NumberOf(converted), "", ""};
  return std::nullopt;
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
  const auto provider = Query<IProvideClassInfo>(DispatchOf(object), __uuidof(IProvideClassInfo));
  if (provider && SUCCEEDED(provider->GetClassInfo(info.Receive())) && info) {
    return NameOf(info.Get());
  }
  info.Detach();  // whatever a failed call has stored
  if (FAILED(DispatchOf(object)->GetTypeInfo(0, kComponentLocale, info.Receive()))) {
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

std::optional<LateFailure> LateLet(ClientObject object, std::string_view name,
                                   LateArguments arguments, const LateArgument& value) {
  return Invoke(object, name, DISPATCH_PROPERTYPUT, arguments, &value, nullptr);
}

}  // namespace qmzentrel::platform
