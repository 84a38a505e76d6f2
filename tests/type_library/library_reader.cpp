#include "tests/type_library/library_reader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace qmzentrel::type_library {
namespace {

constexpr unsigned kSlotsOfDispatch = 7;
constexpr int kBytesOfSlot = 4;

void Require(HRESULT result, const char* call) {
  if (SUCCEEDED(result)) return;
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(), "%s: 0x%08lX", call, static_cast<unsigned long>(result));
  throw std::runtime_error(text.data());
}

std::string Hex(unsigned long value, const char* format) {
  std::array<char, 24> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

// A BSTR that is freed in any case.
class Text {
 public:
  Text() = default;
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { ::SysFreeString(text_); }

  BSTR* Receive() { return &text_; }
  std::wstring Get() const { return {text_, ::SysStringLen(text_)}; }

 private:
  BSTR text_ = nullptr;
};

// A description that its type lends and takes back.
template <class Description, void (STDMETHODCALLTYPE ITypeInfo::*kRelease)(Description*)>
class Lent {
 public:
  explicit Lent(ITypeInfo& type) : type_(type) {}
  Lent(const Lent&) = delete;
  Lent& operator=(const Lent&) = delete;
  ~Lent() {
    if (description_ != nullptr) (type_.*kRelease)(description_);
  }

  Description** Receive() { return &description_; }
  const Description* operator->() const { return description_; }

 private:
  ITypeInfo& type_;
  Description* description_ = nullptr;
};

using LentAttributes = Lent<TYPEATTR, &ITypeInfo::ReleaseTypeAttr>;
using LentFunction = Lent<FUNCDESC, &ITypeInfo::ReleaseFuncDesc>;
using LentVariable = Lent<VARDESC, &ITypeInfo::ReleaseVarDesc>;

std::string BasicTypeText(VARTYPE type) {
  switch (type) {
    case VT_I4:
      return "Long";
    case VT_I2:
      return "Integer";
    case VT_BOOL:
      return "Boolean";
    case VT_R4:
      return "Single";
    case VT_BSTR:
      return "String";
    case VT_DISPATCH:
      return "Object";
    case VT_VOID:
      return "nothing";
    case VT_HRESULT:
      return "HRESULT";
    default:
      return "type " + std::to_string(type);
  }
}

TypeInfo ReferredType(ITypeInfo& type, HREFTYPE reference) {
  ITypeInfo* referred = nullptr;
  Require(type.GetRefTypeInfo(reference, &referred), "GetRefTypeInfo");
  return TypeInfo(referred);
}

std::string TypeText(ITypeInfo& type, const TYPEDESC& description) {
  switch (description.vt) {
    case VT_PTR:
      return TypeText(type, *description.lptdesc) + " by reference";
    case VT_SAFEARRAY:
      return TypeText(type, *description.lptdesc) + "()";
    case VT_USERDEFINED:
      return Narrow(DocumentationOf(*ReferredType(type, description.hreftype)).name);
    default:
      return BasicTypeText(description.vt);
  }
}

std::string ValueText(const VARIANT& value) {
  switch (V_VT(&value)) {
    case VT_I4:
      return "Long " + std::to_string(V_I4(&value));
    case VT_BOOL:
      return "Boolean " + std::to_string(V_BOOL(&value));
    default:
      return "value of type " + std::to_string(V_VT(&value));
  }
}

std::string KindText(INVOKEKIND kind) {
  switch (kind) {
    case INVOKE_FUNC:
      return "method";
    case INVOKE_PROPERTYGET:
      return "get";
    case INVOKE_PROPERTYPUT:
      return "let";
    default:
      return "kind " + std::to_string(kind);
  }
}

// The names of a member and its parameters. Where a get and a let procedure share an identifier
// they are those of the first, the get procedure.
std::vector<std::wstring> NamesOf(ITypeInfo& type, MEMBERID member) {
  std::array<BSTR, 16> names{};
  UINT count = 0;
  Require(type.GetNames(member, names.data(), static_cast<UINT>(names.size()), &count), "GetNames");
  std::vector<std::wstring> texts;
  for (UINT i = 0; i < count; ++i) {
    texts.emplace_back(names[i], ::SysStringLen(names[i]));
    ::SysFreeString(names[i]);
  }
  return texts;
}

std::string ParameterText(ITypeInfo& type, const ELEMDESC& parameter, const std::wstring& name) {
  const PARAMDESC& description = parameter.paramdesc;
  std::string text = Hex(description.wParamFlags, "0x%lX") + " ";
  // What the result is called is nobody's business: it has no name for clients.
  const bool is_result = (description.wParamFlags & PARAMFLAG_FRETVAL) != 0;
  if (!name.empty() && !is_result) text += Narrow(name) + " ";
  text += TypeText(type, parameter.tdesc);
  if ((description.wParamFlags & PARAMFLAG_FHASDEFAULT) != 0) {
    text += " = " + ValueText(description.pparamdescex->varDefaultValue);
  }
  return text;
}

std::string FunctionText(ITypeInfo& type, const LentFunction& function, bool names_are_own) {
  const std::vector<std::wstring> names = NamesOf(type, function->memid);
  std::string text = "slot " + std::to_string(function->oVft / kBytesOfSlot) + ": " +
                     KindText(function->invkind) + " " +
                     Hex(static_cast<unsigned long>(function->memid), "0x%08lX") + " " +
                     Narrow(names.at(0)) + "(";
  for (int i = 0; i < function->cParams; ++i) {
    const std::size_t at = static_cast<std::size_t>(i) + 1;
    const std::wstring name = names_are_own && at < names.size() ? names[at] : L"";
    text += (i == 0 ? "" : ", ") + ParameterText(type, function->lprgelemdescParam[i], name);
  }
  return text + ") " + TypeText(type, function->elemdescFunc.tdesc);
}

// The dispatch side of a dual interface begins with the functions of IDispatch.
unsigned FirstFunctionOf(const TypeAttributes& attributes) {
  const bool is_dual_side =
      attributes.kind == TKIND_DISPATCH && (attributes.flags & TYPEFLAG_FDUAL) != 0;
  return is_dual_side ? kSlotsOfDispatch : 0;
}

}  // namespace

std::string Narrow(const std::wstring& text) {
  std::string narrow;
  for (const wchar_t character : text) {
    narrow += character < 0x80 ? static_cast<char>(character) : '?';
  }
  return narrow;
}

std::wstring GuidText(const GUID& guid) {
  std::array<wchar_t, 39> text{};
  ::StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

TypeLibrary LoadLibraryUnderTest() {
  const wchar_t* const path = ::_wgetenv(L"QMZ_DLL");
  if (path == nullptr) throw std::runtime_error("QMZ_DLL does not name the DLL under test");
  ITypeLib* library = nullptr;
  Require(::LoadTypeLibEx(path, REGKIND_NONE, &library), "LoadTypeLibEx");
  return TypeLibrary(library);
}

Documentation DocumentationOf(ITypeLib& library, unsigned index) {
  Text name;
  Text help;
  Text file;
  DWORD context = 0;
  Require(library.GetDocumentation(static_cast<int>(index), name.Receive(), help.Receive(),
                                   &context, file.Receive()),
          "ITypeLib::GetDocumentation");
  return {name.Get(), help.Get(), context, file.Get()};
}

Documentation DocumentationOf(ITypeLib& library) {
  return DocumentationOf(library, static_cast<unsigned>(-1));
}

Documentation DocumentationOf(ITypeInfo& type, MEMBERID member) {
  Text name;
  Text help;
  Text file;
  DWORD context = 0;
  Require(type.GetDocumentation(member, name.Receive(), help.Receive(), &context, file.Receive()),
          "ITypeInfo::GetDocumentation");
  return {name.Get(), help.Get(), context, file.Get()};
}

TypeInfo TypeAt(ITypeLib& library, unsigned index) {
  ITypeInfo* type = nullptr;
  Require(library.GetTypeInfo(index, &type), "ITypeLib::GetTypeInfo");
  return TypeInfo(type);
}

TypeInfo TypeNamed(ITypeLib& library, const std::wstring& name) {
  for (unsigned i = 0; i < library.GetTypeInfoCount(); ++i) {
    if (DocumentationOf(library, i).name == name) return TypeAt(library, i);
  }
  throw std::runtime_error("no type " + Narrow(name));
}

TypeInfo ImplementedType(ITypeInfo& type, int index) {
  HREFTYPE reference = 0;
  Require(type.GetRefTypeOfImplType(static_cast<UINT>(index), &reference), "GetRefTypeOfImplType");
  return ReferredType(type, reference);
}

TypeAttributes AttributesOf(ITypeInfo& type) {
  LentAttributes attributes(type);
  Require(type.GetTypeAttr(attributes.Receive()), "GetTypeAttr");
  return {.guid = GuidText(attributes->guid),
          .kind = attributes->typekind,
          .flags = attributes->wTypeFlags,
          .version = std::to_string(attributes->wMajorVerNum) + "." +
                     std::to_string(attributes->wMinorVerNum),
          .function_count = attributes->cFuncs,
          .variable_count = attributes->cVars,
          .implemented_count = attributes->cImplTypes,
          .table_size = attributes->cbSizeVft};
}

std::string AliasTargetOf(ITypeInfo& alias) {
  LentAttributes attributes(alias);
  Require(alias.GetTypeAttr(attributes.Receive()), "GetTypeAttr");
  return TypeText(alias, attributes->tdescAlias);
}

std::vector<std::string> FunctionsOf(ITypeInfo& type) {
  std::vector<std::string> texts;
  std::vector<MEMBERID> seen;
  const TypeAttributes attributes = AttributesOf(type);
  for (unsigned i = FirstFunctionOf(attributes); i < attributes.function_count; ++i) {
    LentFunction function(type);
    Require(type.GetFuncDesc(i, function.Receive()), "GetFuncDesc");
    const bool is_first = std::ranges::find(seen, function->memid) == seen.end();
    seen.push_back(function->memid);
    texts.push_back(FunctionText(type, function, is_first));
  }
  return texts;
}

std::set<MEMBERID> FunctionIdentifiersOf(ITypeInfo& type) {
  std::set<MEMBERID> identifiers;
  const TypeAttributes attributes = AttributesOf(type);
  for (unsigned i = FirstFunctionOf(attributes); i < attributes.function_count; ++i) {
    LentFunction function(type);
    Require(type.GetFuncDesc(i, function.Receive()), "GetFuncDesc");
    identifiers.insert(function->memid);
  }
  return identifiers;
}

std::vector<EnumerationMember> MembersOf(ITypeInfo& enumeration) {
  std::vector<EnumerationMember> members;
  const unsigned count = AttributesOf(enumeration).variable_count;
  for (unsigned i = 0; i < count; ++i) {
    LentVariable variable(enumeration);
    Require(enumeration.GetVarDesc(i, variable.Receive()), "GetVarDesc");
    if (variable->varkind != VAR_CONST) throw std::runtime_error("a member is no constant");
    const Documentation documentation = DocumentationOf(enumeration, variable->memid);
    members.push_back({.name = documentation.name,
                       .help = documentation.help,
                       .help_context = documentation.help_context,
                       .value = ValueText(*variable->lpvarValue)});
  }
  return members;
}

}  // namespace qmzentrel::type_library
