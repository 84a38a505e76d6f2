#include "tests/clients/com_client.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "tests/clients/guarded_heap.h"

namespace qmzentrel::clients {
namespace {

[[noreturn]] void Stop(const char* reason) {
  std::fprintf(stderr, "%s\n", reason);
  std::exit(2);
}

template <class Function>
void Find(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (function == nullptr) Stop(name);
}

Library Load() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) Stop("No COM");
  // As in a client that was linked with the compiler's shared run-time library.
  if (GetEnvironmentVariableW(L"QMZ_SHARED_RUNTIME", nullptr, 0) != 0 &&
      LoadLibraryW(L"libgcc_s_dw2-1.dll") == nullptr) {
    Stop("No shared run-time library");
  }
  Library library{};
  library.module = LoadLibraryW(LibraryPath().c_str());
  if (library.module == nullptr) Stop("The library that QMZ_DLL names cannot be loaded");
  if (GetEnvironmentVariableW(L"QMZ_GUARDED_HEAP", nullptr, 0) != 0) GuardHeapOf(library.module);
  Find(library.module, "DllGetClassObject", library.GetClassObject);
  Find(library.module, "DllCanUnloadNow", library.CanUnloadNow);
  Find(library.module, "DllRegisterServer", library.RegisterServer);
  Find(library.module, "DllUnregisterServer", library.UnregisterServer);
  Find(library.module, "DllInstall", library.Install);
  return library;
}

// `arguments` in their written order, with `named` identifiers for the last ones.
Outcome InvokeRaw(IDispatch* object, DISPID id, WORD flags, std::vector<Value>& arguments,
                  std::vector<DISPID> named, LCID lcid) {
  std::vector<VARIANTARG> list;
  // Named arguments come first, then the positional ones from last to first.
  const std::size_t positional = arguments.size() - named.size();
  for (std::size_t i = positional; i < arguments.size(); ++i) list.push_back(arguments[i].Raw());
  for (std::size_t i = positional; i > 0; --i) list.push_back(arguments[i - 1].Raw());
  DISPPARAMS parameters{list.data(), named.data(), static_cast<UINT>(list.size()),
                        static_cast<UINT>(named.size())};
  Outcome outcome;
  EXCEPINFO failure{};
  outcome.result = object->Invoke(id, IID_NULL, lcid, flags, &parameters, &outcome.value.Raw(),
                                  &failure, &outcome.wrong_argument);
  outcome.scode = failure.scode;
  outcome.code = failure.wCode;
  outcome.source = Taken(failure.bstrSource);
  outcome.description = Taken(failure.bstrDescription);
  SysFreeString(failure.bstrHelpFile);
  return outcome;
}

}  // namespace

// The build machine's path of the library, as Windows programs see it under Wine.
std::wstring LibraryPath() {
  std::wstring path(MAX_PATH, L'\0');
  const DWORD length =
      GetEnvironmentVariableW(L"QMZ_DLL", path.data(), static_cast<DWORD>(path.size()));
  if (length == 0 || length >= path.size()) Stop("QMZ_DLL does not name the library");
  path.resize(length);
  return path.front() == L'/' ? L"Z:" + path : path;
}

const Library& LoadedLibrary() {
  static const Library library = Load();
  return library;
}

ComPointer<IClassFactory> NewFactory() {
  ComPointer<IClassFactory> factory;
  if (FAILED(LoadedLibrary().GetClassObject(CLSID_Zentrel, IID_IClassFactory,
                                            factory.ReceiveVoid()))) {
    Stop("No class factory");
  }
  return factory;
}

ComPointer<_Zentrel> NewZentrel() {
  ComPointer<_Zentrel> object;
  if (FAILED(NewFactory()->CreateInstance(nullptr, IID__Zentrel, object.ReceiveVoid()))) {
    Stop("No object");
  }
  return object;
}

Value Value::Long(LONG number) {
  Value value;
  V_VT(&value.value_) = VT_I4;
  V_I4(&value.value_) = number;
  return value;
}

Value Value::Short(SHORT number) {
  Value value;
  V_VT(&value.value_) = VT_I2;
  V_I2(&value.value_) = number;
  return value;
}

Value Value::Double(double number) {
  Value value;
  V_VT(&value.value_) = VT_R8;
  V_R8(&value.value_) = number;
  return value;
}

Value Value::Single(float number) {
  Value value;
  V_VT(&value.value_) = VT_R4;
  V_R4(&value.value_) = number;
  return value;
}

Value Value::Bool(VARIANT_BOOL truth) {
  Value value;
  V_VT(&value.value_) = VT_BOOL;
  V_BOOL(&value.value_) = truth;
  return value;
}

Value Value::Text(std::wstring_view text) {
  Value value;
  V_VT(&value.value_) = VT_BSTR;
  V_BSTR(&value.value_) = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  return value;
}

Value Value::Object(IDispatch* object) {
  Value value;
  V_VT(&value.value_) = VT_DISPATCH;
  V_DISPATCH(&value.value_) = ComPointer<IDispatch>(object).Detach();
  return value;
}

Value Value::Null() {
  Value value;
  V_VT(&value.value_) = VT_NULL;
  return value;
}

Value Value::Missing() {
  Value value;
  V_VT(&value.value_) = VT_ERROR;
  V_ERROR(&value.value_) = DISP_E_PARAMNOTFOUND;
  return value;
}

Value Value::ReferenceTo(Value& referred) {
  Value value;
  V_VT(&value.value_) = VT_BYREF | VT_VARIANT;
  V_VARIANTREF(&value.value_) = &referred.value_;
  return value;
}

Value Value::TypedReferenceTo(Value& referred) {
  Value value;
  V_VT(&value.value_) = static_cast<VARTYPE>(VT_BYREF | referred.Type());
  V_BYREF(&value.value_) = &V_I4(&referred.value_);  // all values lie in the same place
  return value;
}

Value Value::LongArray(const std::vector<LONG>& numbers) {
  Value value;
  V_VT(&value.value_) = VT_ARRAY | VT_I4;
  V_ARRAY(&value.value_) = SafeArrayCreateVector(VT_I4, 0, static_cast<ULONG>(numbers.size()));
  for (LONG i = 0; i < static_cast<LONG>(numbers.size()); ++i) {
    LONG number = numbers[static_cast<std::size_t>(i)];
    SafeArrayPutElement(V_ARRAY(&value.value_), &i, &number);
  }
  return value;
}

Value Value::VariantArray(const std::vector<Value>& values) {
  Value value;
  V_VT(&value.value_) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&value.value_) = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(values.size()));
  for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i) {
    Value element = values[static_cast<std::size_t>(i)];
    SafeArrayPutElement(V_ARRAY(&value.value_), &i, &element.Raw());
  }
  return value;
}

DISPID IdOf(IDispatch* object, std::wstring_view member) {
  std::wstring name(member);
  LPOLESTR names[] = {name.data()};
  DISPID id = DISPID_UNKNOWN;
  object->GetIDsOfNames(IID_NULL, names, 1, kEnglish, &id);
  return id;
}

Outcome InvokeId(IDispatch* object, DISPID id, WORD flags, std::vector<Value> arguments,
                 LCID lcid) {
  return InvokeRaw(object, id, flags, arguments, {}, lcid);
}

Outcome Call(IDispatch* object, std::wstring_view member, std::vector<Value> arguments, LCID lcid) {
  return InvokeId(object, IdOf(object, member), DISPATCH_METHOD, std::move(arguments), lcid);
}

Outcome CallNamed(IDispatch* object, std::wstring_view member, std::vector<Value> positional,
                  std::initializer_list<NamedValue> named) {
  std::vector<std::wstring> texts{std::wstring(member)};
  for (const NamedValue& argument : named) texts.emplace_back(argument.name);
  std::vector<LPOLESTR> names;
  names.reserve(texts.size());
  for (std::wstring& text : texts) names.push_back(text.data());
  std::vector<DISPID> ids(names.size());
  object->GetIDsOfNames(IID_NULL, names.data(), static_cast<UINT>(names.size()), kEnglish,
                        ids.data());
  std::vector<Value> arguments = std::move(positional);
  for (const NamedValue& argument : named) arguments.push_back(argument.value);
  return InvokeRaw(object, ids.front(), DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments,
                   {ids.begin() + 1, ids.end()}, kEnglish);
}

Outcome Get(IDispatch* object, std::wstring_view member, std::vector<Value> arguments, LCID lcid) {
  return InvokeId(object, IdOf(object, member), DISPATCH_PROPERTYGET, std::move(arguments), lcid);
}

Outcome Let(IDispatch* object, std::wstring_view member, const Value& value, LCID lcid) {
  std::vector<Value> arguments{value};
  return InvokeRaw(object, IdOf(object, member), DISPATCH_PROPERTYPUT, arguments,
                   {DISPID_PROPERTYPUT}, lcid);
}

std::wstring TakenErrorDescription() {
  ComPointer<IErrorInfo> info;
  if (GetErrorInfo(0, info.Receive()) != S_OK) return {};
  BSTR description = nullptr;
  info->GetDescription(&description);
  return Taken(description);
}

std::wstring Taken(BSTR text) {
  std::wstring taken(text, SysStringLen(text));
  SysFreeString(text);
  return taken;
}

}  // namespace qmzentrel::clients
