// The type library inside the DLL, as the system's reader shows it to clients. The DLL is the one
// that the environment variable QMZ_DLL names; nothing is registered.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cwctype>
#include <set>

#include "tests/type_library/expected_library.h"
#include "tests/type_library/library_reader.h"
#include "tests/type_library/table_members.h"

namespace qmzentrel::type_library {
namespace {

constexpr int kDispatchSlots = 7;
constexpr unsigned kSlotSize = 4;
constexpr unsigned kProcedureCount = 81;  // of 54 members
constexpr wchar_t kHelpFile[] = L"QMZENTREL.chm";

// How a function looks from either side of a dual interface.
enum class Side { kDispatch, kVirtualTable };

std::string Hex(const char* format, unsigned long value) {
  std::array<char, 24> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string ExpectedFunction(const ExpectedMember& member, Procedures procedure, int slot,
                             Side side) {
  std::string parameters;
  const auto add = [&](const std::string& parameter) {
    parameters += (parameters.empty() ? "" : ", ") + parameter;
  };
  for (const ExpectedParameter& parameter : member.parameters) {
    add(Hex("0x%lX ", parameter.flags) + parameter.name + " " + parameter.type +
        (parameter.by_default.empty() ? "" : " = " + parameter.by_default));
  }
  std::string result = side == Side::kVirtualTable ? "HRESULT" : member.type;
  if (procedure == kLet) {
    add(Hex("0x%lX ", PARAMFLAG_FIN) + member.type);
    if (side == Side::kDispatch) result = "nothing";
  } else if (side == Side::kVirtualTable) {
    add(Hex("0x%lX ", PARAMFLAG_FOUT | PARAMFLAG_FRETVAL) + member.type + " by reference");
  }
  const std::string kind = procedure == kMethod ? "method" : procedure == kGet ? "get" : "let";
  return "slot " + std::to_string(slot) + ": " + kind +
         Hex(" 0x%08lX ", static_cast<unsigned long>(member.id)) + Narrow(member.name) + "(" +
         parameters + ") " + result;
}

std::vector<std::string> ExpectedFunctions(const std::vector<ExpectedMember>& members, Side side) {
  std::vector<std::string> functions;
  int slot = kDispatchSlots;
  for (const ExpectedMember& member : members) {
    for (const Procedures procedure : {kMethod, kGet, kLet}) {
      if ((member.procedures & procedure) == 0) continue;
      functions.push_back(ExpectedFunction(member, procedure, slot, side));
      ++slot;
    }
  }
  return functions;
}

void ExpectFunctions(ITypeInfo& type, const std::vector<ExpectedMember>& members, Side side) {
  const std::vector<std::string> actual = FunctionsOf(type);
  const std::vector<std::string> expected = ExpectedFunctions(members, side);
  ASSERT_EQ(expected.size(), kProcedureCount);
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(actual[i], expected[i]);
}

void ExpectMemberHelp(ITypeInfo& type) {
  for (const ExpectedMember& member : kExpectedMembers) {
    const Documentation documentation = DocumentationOf(type, member.id);
    EXPECT_EQ(documentation.name, member.name);
    EXPECT_EQ(documentation.help, member.help) << Narrow(member.name);
    EXPECT_EQ(documentation.help_context, member.help_context) << Narrow(member.name);
  }
}

class TypeLibraryTest : public testing::Test {
 protected:
  void SetUp() override {
    library_ = LoadLibraryUnderTest();
    interface_ = TypeNamed(*library_, L"_Zentrel");
  }

  TypeLibrary library_;
  TypeInfo interface_;
};

using LibraryAsAWhole = TypeLibraryTest;
using LibraryEntries = TypeLibraryTest;
using ZentrelInterface = TypeLibraryTest;
using ZentrelEvents = TypeLibraryTest;
using Enumerations = TypeLibraryTest;

TEST_F(LibraryAsAWhole, HasItsNameHelpFileAndHelpContext) {
  const Documentation documentation = DocumentationOf(*library_);
  EXPECT_EQ(documentation.name, L"QmZentrel");
  EXPECT_EQ(documentation.help, L"Quenmoor Zentrel Interface DLL");
  EXPECT_EQ(documentation.help_context, 1U);
  // The reader may put a folder before the name.
  EXPECT_TRUE(documentation.help_file.ends_with(kHelpFile)) << Narrow(documentation.help_file);
}

TEST_F(LibraryAsAWhole, HasItsIdentifierVersionLocaleAndSystem) {
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(GuidText(attributes->guid), L"{314317B4-1F1E-4FA7-B288-75070A78C531}");
  EXPECT_EQ(attributes->wMajorVerNum, 1);
  EXPECT_EQ(attributes->wMinorVerNum, 3);
  EXPECT_EQ(attributes->lcid, 0x0409U);
  EXPECT_EQ(attributes->syskind, SYS_WIN32);
  EXPECT_EQ(attributes->wLibFlags & (LIBFLAG_FRESTRICTED | LIBFLAG_FCONTROL | LIBFLAG_FHIDDEN), 0);
  library_->ReleaseTLibAttr(attributes);
}

TEST_F(LibraryAsAWhole, CarriesNoCustomData) {
  ITypeLib2* raw = nullptr;
  ASSERT_EQ(library_->QueryInterface(IID_ITypeLib2, reinterpret_cast<void**>(&raw)), S_OK);
  const ComPointer<ITypeLib2> library(raw);
  CUSTDATA data{};
  ASSERT_EQ(library->GetAllCustData(&data), S_OK);
  EXPECT_EQ(data.cCustData, 0U);
  ::ClearCustData(&data);
}

TEST_F(LibraryAsAWhole, ImportsIDispatchFromTheStandardLibrary) {
  const TypeInfo base = ImplementedType(*interface_, 0);
  EXPECT_EQ(AttributesOf(*base).guid, GuidText(IID_IDispatch));
  ITypeLib* raw = nullptr;
  UINT index = 0;
  ASSERT_EQ(base->GetContainingTypeLib(&raw, &index), S_OK);
  const TypeLibrary standard(raw);
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(standard->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(GuidText(attributes->guid), L"{00020430-0000-0000-C000-000000000046}");
  EXPECT_EQ(attributes->wMajorVerNum, 2);
  standard->ReleaseTLibAttr(attributes);
}

TEST_F(LibraryEntries, StandInTheirOrderWithTheirHelp) {
  ASSERT_EQ(library_->GetTypeInfoCount(), kExpectedTypes.size());
  for (unsigned i = 0; i < kExpectedTypes.size(); ++i) {
    const ExpectedType& expected = kExpectedTypes[i];
    const Documentation documentation = DocumentationOf(*library_, i);
    EXPECT_EQ(documentation.name, expected.name);
    EXPECT_EQ(documentation.help, expected.help) << Narrow(expected.name);
    EXPECT_EQ(documentation.help_context, expected.help_context) << Narrow(expected.name);
  }
}

TEST_F(LibraryEntries, HaveTheirKindIdentifierVersionAndFlags) {
  for (unsigned i = 0; i < kExpectedTypes.size(); ++i) {
    const ExpectedType& expected = kExpectedTypes[i];
    SCOPED_TRACE(Narrow(expected.name));
    const TypeAttributes actual = AttributesOf(*TypeAt(*library_, i));
    const bool is_dual = (expected.flags & TYPEFLAG_FDUAL) != 0;
    EXPECT_EQ(actual.kind, expected.kind);
    EXPECT_EQ(actual.guid, expected.guid);
    EXPECT_EQ(actual.version, expected.version);
    EXPECT_EQ(actual.flags,
              is_dual ? expected.flags & ~unsigned{TYPEFLAG_FOLEAUTOMATION} : expected.flags);
  }
}

TEST_F(LibraryEntries, TheClassHasTheInterfaceAndTheEventsAsItsDefaults) {
  const TypeInfo coclass = TypeNamed(*library_, L"Zentrel");
  ASSERT_EQ(AttributesOf(*coclass).implemented_count, 2U);
  int flags = 0;
  EXPECT_EQ(DocumentationOf(*ImplementedType(*coclass, 0)).name, L"_Zentrel");
  ASSERT_EQ(coclass->GetImplTypeFlags(0, &flags), S_OK);
  EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
  EXPECT_EQ(DocumentationOf(*ImplementedType(*coclass, 1)).name, L"__Zentrel");
  ASSERT_EQ(coclass->GetImplTypeFlags(1, &flags), S_OK);
  EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
}

TEST_F(LibraryEntries, EveryEarlierVersionStandsForTheInterface) {
  for (const wchar_t* const name : {L"Zentrel___v0", L"Zentrel___v1", L"Zentrel___v2"}) {
    EXPECT_EQ(AliasTargetOf(*TypeNamed(*library_, name)), "_Zentrel") << Narrow(name);
  }
}

TEST_F(ZentrelInterface, HasEveryMemberForLateBoundClients) {
  ExpectFunctions(*interface_, kExpectedMembers, Side::kDispatch);
  ExpectMemberHelp(*interface_);
}

TEST_F(ZentrelInterface, HasEveryMemberInItsSlotForEarlyBoundClients) {
  const TypeInfo table = ImplementedType(*interface_, -1);
  ExpectFunctions(*table, kExpectedMembers, Side::kVirtualTable);
  ExpectMemberHelp(*table);
}

// Name, identifier, kind, slot, parameters with their names, types and defaults, and result.
TEST_F(ZentrelInterface, IsWhatTheTableOfMembersSays) {
  ExpectFunctions(*interface_, kTableMembers, Side::kDispatch);
  ExpectFunctions(*ImplementedType(*interface_, -1), kTableMembers, Side::kVirtualTable);
}

TEST_F(ZentrelInterface, TheVirtualTableSideIsTheSameInterface) {
  const TypeInfo table = ImplementedType(*interface_, -1);
  const TypeAttributes attributes = AttributesOf(*table);
  const ExpectedType& expected = kExpectedTypes.at(0);
  EXPECT_EQ(DocumentationOf(*table).name, expected.name);
  EXPECT_EQ(attributes.kind, TKIND_INTERFACE);
  EXPECT_EQ(attributes.guid, expected.guid);
  EXPECT_EQ(attributes.version, expected.version);
  EXPECT_EQ(attributes.flags, expected.flags);
  EXPECT_EQ(attributes.table_size, (kDispatchSlots + kProcedureCount) * kSlotSize);
  EXPECT_EQ(DocumentationOf(*ImplementedType(*table, 0)).name, L"IDispatch");
}

TEST_F(ZentrelInterface, ProceduresAreDispatchedOnOneSideAndPureVirtualOnTheOther) {
  const auto expect = [](ITypeInfo& type, FUNCKIND kind) {
    const unsigned count = AttributesOf(type).function_count;
    ASSERT_GE(count, kProcedureCount);
    for (unsigned i = count - kProcedureCount; i < count; ++i) {
      FUNCDESC* function = nullptr;
      ASSERT_EQ(type.GetFuncDesc(i, &function), S_OK);
      EXPECT_EQ(function->funckind, kind) << i;
      EXPECT_EQ(function->callconv, CC_STDCALL) << i;
      EXPECT_EQ(function->wFuncFlags, 0) << i;
      type.ReleaseFuncDesc(function);
    }
  };
  expect(*interface_, FUNC_DISPATCH);
  expect(*ImplementedType(*interface_, -1), FUNC_PUREVIRTUAL);
}

TEST_F(ZentrelInterface, IdentifiersAreFoundByNameWhateverTheCase) {
  for (const ExpectedMember& member : kExpectedMembers) {
    std::wstring upper = member.name;
    for (wchar_t& character : upper) character = static_cast<wchar_t>(std::towupper(character));
    for (const std::wstring& spelling : {member.name, upper}) {
      LPOLESTR name = const_cast<LPOLESTR>(spelling.c_str());
      MEMBERID id = MEMBERID_NIL;
      EXPECT_EQ(interface_->GetIDsOfNames(&name, 1, &id), S_OK) << Narrow(spelling);
      EXPECT_EQ(id, member.id) << Narrow(spelling);
    }
  }
}

TEST_F(ZentrelInterface, ParametersAreFoundByName) {
  std::array<LPOLESTR, 3> names = {const_cast<LPOLESTR>(L"DeviceOpen"),
                                   const_cast<LPOLESTR>(L"MaintainSupply"),
                                   const_cast<LPOLESTR>(L"Port")};
  std::array<MEMBERID, 3> ids{};
  ASSERT_EQ(interface_->GetIDsOfNames(names.data(), 3, ids.data()), S_OK);
  EXPECT_EQ(ids, (std::array<MEMBERID, 3>{0x60030028, 1, 0}));
}

TEST_F(ZentrelInterface, HasLeakIsThe46thMemberThoughItsIdentifierIsLate) {
  EXPECT_EQ(kExpectedMembers.at(45).name, L"HasLeak");
  const std::vector<std::string> functions = FunctionsOf(*ImplementedType(*interface_, -1));
  // Before it: the seven slots of IDispatch, and 63 procedures of 45 members.
  EXPECT_EQ(functions.at(63), "slot 70: get 0x6803003B HasLeak(0xA Boolean by reference) HRESULT");
}

TEST_F(ZentrelInterface, NoOtherIdentifierIsInUse) {
  std::set<long> ids;
  for (const ExpectedMember& member : kExpectedMembers) ids.insert(member.id);
  ASSERT_EQ(ids.size(), 54U);
  for (const long base : {0x60030000L, 0x68030000L}) {
    for (long id = base; id < base + 0x100; ++id) {
      if (ids.contains(id)) continue;
      BSTR name = nullptr;
      UINT count = 0;
      EXPECT_NE(interface_->GetNames(id, &name, 1, &count), S_OK) << std::hex << id;
      ::SysFreeString(name);
    }
  }
}

TEST_F(ZentrelEvents, HaveTheOneEvent) {
  const TypeInfo events = TypeNamed(*library_, L"__Zentrel");
  EXPECT_EQ(AttributesOf(*events).variable_count, 0U);
  EXPECT_EQ(FunctionsOf(*events),
            std::vector<std::string>{
                "slot 0: method 0x00000001 PowerStateChange(0x1 NewState Boolean) nothing"});
  const Documentation documentation = DocumentationOf(*events, 1);
  EXPECT_EQ(documentation.help, L"Raised when the Zentrel Power Control changes state.");
  EXPECT_EQ(documentation.help_context, 2032U);
}

TEST_F(Enumerations, HaveTheirMembersInOrderEachHelpedByItsName) {
  for (const ExpectedEnumeration& enumeration : kExpectedEnumerations) {
    SCOPED_TRACE(Narrow(enumeration.name));
    const std::vector<EnumerationMember> actual =
        MembersOf(*TypeNamed(*library_, enumeration.name));
    ASSERT_EQ(actual.size(), enumeration.members.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
      const ExpectedConstant& expected = enumeration.members[i];
      EXPECT_EQ(actual[i].name, expected.name);
      EXPECT_EQ(actual[i].help, expected.name);
      EXPECT_EQ(actual[i].help_context, 0U);
      EXPECT_EQ(actual[i].value, "Long " + std::to_string(expected.value));
    }
  }
}

}  // namespace
}  // namespace qmzentrel::type_library
