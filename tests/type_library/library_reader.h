// Reads a type library through the system's own reader and puts what it says into plain records and
// short texts, which tests compare.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace qmzentrel::type_library {

struct Releaser {
  void operator()(IUnknown* object) const { object->Release(); }
};

template <class Interface>
using ComPointer = std::unique_ptr<Interface, Releaser>;

using TypeInfo = ComPointer<ITypeInfo>;
using TypeLibrary = ComPointer<ITypeLib>;

/// What the library says for the user about itself, a type or a member.
struct Documentation {
  std::wstring name;
  std::wstring help;
  unsigned long help_context;
  std::wstring help_file;

  bool operator==(const Documentation&) const = default;
};

/// The attributes of a type, as far as they do not depend on who reads.
struct TypeAttributes {
  std::wstring guid;  ///< with braces, upper case
  TYPEKIND kind;
  unsigned flags;
  std::string version;
  unsigned function_count;
  unsigned variable_count;
  unsigned implemented_count;
  unsigned table_size;  ///< bytes of the virtual table
};

struct EnumerationMember {
  std::wstring name;
  std::wstring help;
  unsigned long help_context;
  std::string value;  ///< "Long 8"

  bool operator==(const EnumerationMember&) const = default;
};

// Every function throws std::runtime_error where the system refuses; what() names the call.

/// Loads the library of the file that the environment variable QMZ_DLL names, registering nothing.
TypeLibrary LoadLibraryUnderTest();

Documentation DocumentationOf(ITypeLib& library);
Documentation DocumentationOf(ITypeLib& library, unsigned index);
Documentation DocumentationOf(ITypeInfo& type, MEMBERID member = MEMBERID_NIL);

TypeInfo TypeAt(ITypeLib& library, unsigned index);
TypeInfo TypeNamed(ITypeLib& library, const std::wstring& name);
/// The type that `type` implements at `index`; index -1 of a dual interface is its other side.
TypeInfo ImplementedType(ITypeInfo& type, int index);

TypeAttributes AttributesOf(ITypeInfo& type);
/// "Zentrel" for an alias of that type.
std::string AliasTargetOf(ITypeInfo& alias);

/// One line for each function with its own slot, such as
/// "slot 36: method 0x60030028 Open(0x1 Port Long, 0x31 Keep Boolean = Boolean -1) Long";
/// the seven functions of IDispatch are left out. A number before a parameter is its flags.
std::vector<std::string> FunctionsOf(ITypeInfo& type);

/// Those that FunctionsOf has, each once.
std::set<MEMBERID> FunctionIdentifiersOf(ITypeInfo& type);

std::vector<EnumerationMember> MembersOf(ITypeInfo& enumeration);

std::wstring GuidText(const GUID& guid);
std::string Narrow(const std::wstring& text);

}  // namespace qmzentrel::type_library
