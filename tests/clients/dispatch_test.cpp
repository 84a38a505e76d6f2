// Late binding, as script languages and automation clients use it.
#include <gtest/gtest.h>

#include <cwctype>
#include <set>
#include <string>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/event_sink.h"
#include "tests/clients/published_members.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr WORD kScriptCall = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

std::wstring InOtherCase(std::wstring text) {
  for (wchar_t& letter : text) {
    letter =
        static_cast<wchar_t>(std::iswupper(letter) ? std::towlower(letter) : std::towupper(letter));
  }
  return text;
}

std::string Narrow(const std::wstring& text) {
  return {text.begin(), text.end()};
}

class Dispatch : public testing::Test {
 protected:
  FilledTestCatalog catalog;
  ComPointer<_Zentrel> zentrel = NewZentrel();
  IDispatch* object = zentrel.Get();
};

// An argument that a parameter of that type takes as it is. There is no port 0, so nothing is
// opened, and a supply that is maintained needs no pause.
Value Suitable(VARTYPE type) {
  switch (type) {
    case VT_I2:
      return Value::Short(0);
    case VT_BOOL:
      return Value::Bool(VARIANT_TRUE);
    case VT_BSTR:
      return Value::Text(L"text");
    case kLongs:
      return Value::LongArray({8});
    case kObject:
      return Value::Object(nullptr);
    default:
      return Value::Long(0);
  }
}

std::vector<Value> SuitableArguments(const PublishedMember& member) {
  std::vector<Value> arguments;
  for (const PublishedParameter& parameter : member.parameters) {
    arguments.push_back(Suitable(parameter.type));
  }
  return arguments;
}

WORD ReadingFlag(const PublishedMember& member) {
  return member.kind == Kind::kMethod ? DISPATCH_METHOD : DISPATCH_PROPERTYGET;
}

bool CanBeRead(const PublishedMember& member) {
  return member.kind != Kind::kLet;
}

bool CanBeLet(const PublishedMember& member) {
  return member.kind == Kind::kGetLet || member.kind == Kind::kLet;
}

// --- Names ---

TEST_F(Dispatch, EveryMemberIsFoundByItsNameInAnyCase) {
  for (const PublishedMember& member : kPublishedMembers) {
    EXPECT_EQ(IdOf(object, member.name), member.id) << Narrow(member.name);
    EXPECT_EQ(IdOf(object, InOtherCase(member.name)), member.id) << Narrow(member.name);
  }
}

TEST_F(Dispatch, EveryParameterIsFoundByItsNameAndPlace) {
  for (const PublishedMember& member : kPublishedMembers) {
    for (std::size_t i = 0; i < member.parameters.size(); ++i) {
      std::wstring texts[] = {member.name, InOtherCase(member.parameters[i].name)};
      LPOLESTR names[] = {texts[0].data(), texts[1].data()};
      DISPID ids[] = {0, 0};
      EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 2, kEnglish, ids), S_OK);
      EXPECT_EQ(ids[0], member.id);
      EXPECT_EQ(ids[1], static_cast<DISPID>(i)) << Narrow(texts[1]);
    }
  }
}

TEST_F(Dispatch, AnUnknownNameLeavesTheOthersKnown) {
  wchar_t open[] = L"DeviceOpen";
  wchar_t unknown[] = L"Speed";
  wchar_t port[] = L"Port";
  LPOLESTR names[] = {open, unknown, port};
  DISPID ids[] = {0, 0, 0};
  EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 3, kEnglish, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[0], 0x60030028);
  EXPECT_EQ(ids[1], DISPID_UNKNOWN);
  EXPECT_EQ(ids[2], 0);
}

TEST_F(Dispatch, ANameThatIsNoneIsRefused) {
  wchar_t open[] = L"DeviceOpen";
  LPOLESTR names[] = {open, nullptr};
  DISPID ids[] = {0, 0};
  EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 2, kEnglish, ids), E_POINTER);
  EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names + 1, 1, kEnglish, ids), E_POINTER);
}

TEST_F(Dispatch, NamesThatAreNoMembersAreUnknown) {
  for (const wchar_t* name : {L"", L"Util ", L"Uti", L"get_Util", L"Port", L"Utıl", L"zzz"}) {
    EXPECT_EQ(IdOf(object, name), DISPID_UNKNOWN) << Narrow(name);
  }
}

TEST_F(Dispatch, OnlyTheNullInterfaceIdentifierIsAccepted) {
  wchar_t name[] = L"Util";
  LPOLESTR names[] = {name};
  DISPID id = 0;
  EXPECT_EQ(object->GetIDsOfNames(IID_IDispatch, names, 1, kEnglish, &id), DISP_E_UNKNOWNINTERFACE);
  DISPPARAMS none{};
  EXPECT_EQ(object->Invoke(0x68030016, IID__Zentrel, kEnglish, DISPATCH_PROPERTYGET, &none, nullptr,
                           nullptr, nullptr),
            DISP_E_UNKNOWNINTERFACE);
}

// --- The published description ---

TEST_F(Dispatch, TheTypeInformationDescribesTheSameMembers) {
  UINT count = 0;
  ASSERT_EQ(object->GetTypeInfoCount(&count), S_OK);
  ASSERT_EQ(count, 1u);
  ComPointer<ITypeInfo> info;
  ASSERT_EQ(object->GetTypeInfo(0, kEnglish, info.Receive()), S_OK);
  for (const PublishedMember& member : kPublishedMembers) {
    std::wstring name = member.name;
    LPOLESTR names[] = {name.data()};
    MEMBERID id = 0;
    EXPECT_EQ(info->GetIDsOfNames(names, 1, &id), S_OK) << Narrow(name);
    EXPECT_EQ(id, member.id) << Narrow(name);
  }
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  std::set<DISPID> described;
  for (UINT i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    ASSERT_EQ(info->GetFuncDesc(i, &function), S_OK);
    if ((function->wFuncFlags & FUNCFLAG_FRESTRICTED) == 0) described.insert(function->memid);
    info->ReleaseFuncDesc(function);
  }
  info->ReleaseTypeAttr(attributes);
  EXPECT_EQ(described.size(), kPublishedMembers.size());
}

TEST_F(Dispatch, ThereIsNoSecondTypeInformation) {
  ITypeInfo* info = reinterpret_cast<ITypeInfo*>(this);
  EXPECT_EQ(object->GetTypeInfo(1, kEnglish, &info), DISP_E_BADINDEX);
  EXPECT_EQ(info, nullptr);
}

// --- Which procedure a call means ---

TEST_F(Dispatch, EveryMemberAnswersItsOwnKindOfCallWithItsOwnType) {
  for (const PublishedMember& member : kPublishedMembers) {
    if (!CanBeRead(member)) continue;
    const Outcome outcome =
        InvokeId(object, member.id, ReadingFlag(member), SuitableArguments(member));
    EXPECT_EQ(outcome.result, S_OK) << Narrow(member.name);
    EXPECT_EQ(outcome.value.Type(), member.type) << Narrow(member.name);
  }
}

TEST_F(Dispatch, AScriptCallReachesMethodsAndPropertiesAlike) {
  for (const PublishedMember& member : kPublishedMembers) {
    if (!CanBeRead(member)) continue;
    EXPECT_EQ(InvokeId(object, member.id, kScriptCall, SuitableArguments(member)).result, S_OK)
        << Narrow(member.name);
  }
}

TEST_F(Dispatch, EveryPropertyCanBeLetThatIsPublishedSo) {
  for (const PublishedMember& member : kPublishedMembers) {
    // False keeps the supply maintained.
    const Value value = member.type == VT_BOOL ? Value::Bool(VARIANT_FALSE) : Suitable(member.type);
    const Outcome outcome = Let(object, member.name, value);
    if (!CanBeLet(member)) {
      EXPECT_EQ(outcome.result, DISP_E_MEMBERNOTFOUND) << Narrow(member.name);
    } else {
      EXPECT_EQ(outcome.result, S_OK) << Narrow(member.name);
    }
  }
}

TEST_F(Dispatch, ReadingAPropertyThatCanOnlyBeLetIsRefused) {
  for (const wchar_t* name : {L"Power", L"PowerManagement"}) {
    EXPECT_EQ(Get(object, name).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(InvokeId(object, IdOf(object, name), kScriptCall, {}).result, DISP_E_MEMBERNOTFOUND);
  }
}

TEST_F(Dispatch, AMethodIsNoPropertyAndAPropertyNoMethod) {
  EXPECT_EQ(Get(object, L"BoxStatus").result, DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(Call(object, L"Util").result, DISP_E_MEMBERNOTFOUND);
}

TEST_F(Dispatch, LettingByReferenceOnlyIsRefusedAndTogetherWithByValueAccepted) {
  Value value = Value::Long(12);
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&value.Raw(), &put, 1, 1};
  EXPECT_EQ(object->Invoke(0x68030016, IID_NULL, kEnglish, DISPATCH_PROPERTYPUTREF, &parameters,
                           nullptr, nullptr, nullptr),
            DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(
      object->Invoke(0x68030016, IID_NULL, kEnglish, DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF,
                     &parameters, nullptr, nullptr, nullptr),
      S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 12);
}

TEST_F(Dispatch, IdentifiersOfNoMemberAreNotFound) {
  for (const DISPID id : {DISPID{0}, DISPID{-1}, DISPID{1}, DISPID{0x68030002}, DISPID{0x68030043},
                          DISPID{0x6803001B}, DISPID{0x6802FFFF}, DISPID{0x6003001D},
                          DISPID{0x60030022}, DISPID{0x60030035}}) {
    EXPECT_EQ(InvokeId(object, id, kScriptCall, {}).result, DISP_E_MEMBERNOTFOUND) << id;
  }
}

// --- Counts ---

TEST_F(Dispatch, AWrongNumberOfArgumentsIsRefusedForEveryMember) {
  for (const PublishedMember& member : kPublishedMembers) {
    if (!CanBeRead(member)) continue;
    std::vector<Value> arguments = SuitableArguments(member);
    arguments.push_back(Value::Long(1));
    EXPECT_EQ(InvokeId(object, member.id, ReadingFlag(member), arguments).result,
              DISP_E_BADPARAMCOUNT)
        << Narrow(member.name);
    if (!member.parameters.empty()) {
      EXPECT_EQ(InvokeId(object, member.id, ReadingFlag(member), {}).result, DISP_E_BADPARAMCOUNT)
          << Narrow(member.name);
    }
  }
}

TEST_F(Dispatch, LettingTakesOneValueUnderItsOwnIdentifier) {
  EXPECT_EQ(InvokeId(object, 0x68030016, DISPATCH_PROPERTYPUT, {}).result, DISP_E_BADPARAMCOUNT);
  const Outcome unnamed = InvokeId(object, 0x68030016, DISPATCH_PROPERTYPUT, {Value::Long(1)});
  EXPECT_EQ(unnamed.result, DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(unnamed.wrong_argument, 0u);
  const Outcome two =
      InvokeId(object, 0x68030016, DISPATCH_PROPERTYPUT, {Value::Long(1), Value::Long(2)});
  EXPECT_EQ(two.result, DISP_E_BADPARAMCOUNT);
}

TEST_F(Dispatch, AMalformedListIsRefused) {
  EXPECT_EQ(object->Invoke(0x68030016, IID_NULL, kEnglish, DISPATCH_PROPERTYGET, nullptr, nullptr,
                           nullptr, nullptr),
            E_INVALIDARG);
  DISPPARAMS without_list{nullptr, nullptr, 1, 0};
  EXPECT_EQ(object->Invoke(0x60030027, IID_NULL, kEnglish, DISPATCH_METHOD, &without_list, nullptr,
                           nullptr, nullptr),
            E_INVALIDARG);
  Value one = Value::Long(1);
  DISPPARAMS more_names_than_arguments{&one.Raw(), nullptr, 1, 2};
  EXPECT_EQ(object->Invoke(0x60030027, IID_NULL, kEnglish, DISPATCH_METHOD,
                           &more_names_than_arguments, nullptr, nullptr, nullptr),
            E_INVALIDARG);
}

// --- Forms of an argument ---

TEST_F(Dispatch, EveryArgumentIsTakenByValueByReferenceAndAsVariantByReference) {
  for (const PublishedMember& member : kPublishedMembers) {
    if (!CanBeRead(member)) continue;
    for (std::size_t i = 0; i < member.parameters.size(); ++i) {
      std::vector<Value> arguments = SuitableArguments(member);
      const HRESULT by_value = InvokeId(object, member.id, ReadingFlag(member), arguments).result;
      EXPECT_EQ(by_value, S_OK) << Narrow(member.name);
      Value own = arguments[i];
      arguments[i] = Value::TypedReferenceTo(own);
      EXPECT_EQ(InvokeId(object, member.id, ReadingFlag(member), arguments).result, by_value)
          << Narrow(member.name) << " " << i << " by reference";
      arguments[i] = Value::ReferenceTo(own);
      EXPECT_EQ(InvokeId(object, member.id, ReadingFlag(member), arguments).result, by_value)
          << Narrow(member.name) << " " << i << " as a variant by reference";
    }
  }
}

TEST_F(Dispatch, ValuesByReferenceAreUsedAndNotChanged) {
  Value value = Value::Short(7);
  EXPECT_EQ(Let(object, L"Xpdr", Value::TypedReferenceTo(value)).result, S_OK);
  EXPECT_EQ(Get(object, L"Xpdr").value.AsLong(), 7);
  Value text = Value::Text(L"19");
  EXPECT_EQ(Let(object, L"Xpdr", Value::ReferenceTo(text)).result, S_OK);
  EXPECT_EQ(Get(object, L"Xpdr").value.AsLong(), 19);
  EXPECT_EQ(text.AsText(), L"19");
}

TEST_F(Dispatch, AReferenceThatLeadsNowhereIsAWrongType) {
  Value nowhere;
  V_VT(&nowhere.Raw()) = VT_BYREF | VT_I4;
  V_BYREF(&nowhere.Raw()) = nullptr;
  const Outcome outcome = Call(object, L"Status", {nowhere});
  EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(outcome.wrong_argument, 0u);
}

TEST_F(Dispatch, NumbersTextsAndBooleansBecomeWhatThePropertyHolds) {
  EXPECT_EQ(Let(object, L"Util", Value::Text(L"&HFF")).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 255);
  EXPECT_EQ(Let(object, L"Util", Value::Double(2.5)).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 2);
  EXPECT_EQ(Let(object, L"Util", Value::Bool(VARIANT_TRUE)).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), -1);
  EXPECT_EQ(Let(object, L"Util", Value()).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 0);
}

TEST_F(Dispatch, EveryNumberButZeroIsTrue) {
  for (const Value& truth : {Value::Bool(1), Value::Bool(VARIANT_TRUE), Value::Bool(256),
                             Value::Long(2), Value::Text(L"True")}) {
    ASSERT_EQ(Let(object, L"IDToggle", Value::Bool(VARIANT_FALSE)).result, S_OK);
    ASSERT_EQ(Let(object, L"IDToggle", truth).result, S_OK);
    EXPECT_EQ(Get(object, L"IDToggle").value.AsBool(), VARIANT_TRUE);
  }
  ASSERT_EQ(Let(object, L"IDToggle", Value::Long(0)).result, S_OK);
  EXPECT_EQ(Get(object, L"IDToggle").value.AsBool(), VARIANT_FALSE);
}

TEST_F(Dispatch, ATextIsReadInTheClientsLocale) {
  EXPECT_EQ(Let(object, L"Util", Value::Text(L"12,6"), kGerman).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 13);
  EXPECT_EQ(Let(object, L"Util", Value::Text(L"1,234"), kEnglish).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 1234);
  EXPECT_EQ(Let(object, L"Util", Value::Text(L"1.234"), kGerman).result, S_OK);
  EXPECT_EQ(Get(object, L"Util").value.AsLong(), 1234);
}

TEST_F(Dispatch, AnObjectIsAskedForItsValue) {
  // The class has no default member, so it has no value either.
  const Outcome outcome = Let(object, L"Util", Value::Object(object));
  EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(outcome.wrong_argument, 0u);
}

// --- Wrong arguments ---

TEST_F(Dispatch, AWrongArgumentIsNamedByItsPlaceInTheList) {
  // The list runs from the last argument to the first.
  Outcome outcome = Call(object, L"DeviceOpen", {Value::Text(L"first"), Value::Bool(0)});
  EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(outcome.wrong_argument, 1u);
  outcome = Call(object, L"DeviceOpen", {Value::Long(0), Value::Text(L"perhaps")});
  EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(outcome.wrong_argument, 0u);
}

TEST_F(Dispatch, ANumberThatDoesNotFitIsAnOverflow) {
  Outcome outcome = Get(object, L"ZentrelSignature", {Value::Long(40000)});
  EXPECT_EQ(outcome.result, DISP_E_OVERFLOW);
  EXPECT_EQ(outcome.wrong_argument, 0u);
  outcome = Let(object, L"Util", Value::Double(2147483648.0));
  EXPECT_EQ(outcome.result, DISP_E_OVERFLOW);
  EXPECT_EQ(outcome.wrong_argument, 0u);
}

TEST_F(Dispatch, AValueOfAnotherKindIsATypeMismatchInEveryPlaceOfEveryMember) {
  for (const PublishedMember& member : kPublishedMembers) {
    for (std::size_t i = 0; CanBeRead(member) && i < member.parameters.size(); ++i) {
      std::vector<Value> arguments = SuitableArguments(member);
      arguments[i] = Value::Null();
      const Outcome outcome = InvokeId(object, member.id, ReadingFlag(member), arguments);
      EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH) << Narrow(member.name) << " " << i;
      EXPECT_EQ(outcome.wrong_argument, arguments.size() - 1 - i) << Narrow(member.name);
    }
    if (CanBeLet(member)) {
      EXPECT_EQ(Let(object, member.name, Value::Null()).result, DISP_E_TYPEMISMATCH)
          << Narrow(member.name);
    }
  }
}

TEST_F(Dispatch, AWrongArgumentWithoutAPlaceToNameItIsRefusedAllTheSame) {
  Value wrong = Value::Null();
  DISPPARAMS parameters{&wrong.Raw(), nullptr, 1, 0};
  EXPECT_EQ(object->Invoke(0x60030027, IID_NULL, kEnglish, DISPATCH_METHOD, &parameters, nullptr,
                           nullptr, nullptr),
            DISP_E_TYPEMISMATCH);
}

// --- Missing and named arguments ---

// The supply mode that DeviceOpen chose shows in the events: maintained supply raises one at once.
std::vector<bool> StatesAfterOpening(IDispatch* object, const std::vector<Value>& arguments) {
  const auto container = As<IConnectionPointContainer>(object, IID_IConnectionPointContainer);
  ComPointer<IConnectionPoint> point;
  container->FindConnectionPoint(DIID___Zentrel, point.Receive());
  ComPointer<EventSink> sink;
  *sink.Receive() = new EventSink;
  DWORD cookie = 0;
  point->Advise(sink.Get(), &cookie);
  constexpr LONG kBadPort = 3;
  EXPECT_EQ(Call(object, L"DeviceOpen", arguments).value.AsLong(), kBadPort);
  point->Unadvise(cookie);
  return sink->states;
}

TEST_F(Dispatch, AMissingOptionalArgumentTakesItsDefault) {
  const std::vector<bool> maintained =
      StatesAfterOpening(object, {Value::Long(0), Value::Bool(VARIANT_TRUE)});
  EXPECT_FALSE(maintained.empty());
  EXPECT_EQ(StatesAfterOpening(object, {Value::Long(0)}), maintained);
  EXPECT_EQ(StatesAfterOpening(object, {Value::Long(0), Value::Missing()}), maintained);
  Value missing = Value::Missing();
  EXPECT_EQ(StatesAfterOpening(object, {Value::Long(0), Value::ReferenceTo(missing)}), maintained);
  EXPECT_EQ(StatesAfterOpening(object, {Value::Long(0), Value::TypedReferenceTo(missing)}),
            maintained);
}

TEST_F(Dispatch, AMissingArgumentWithoutADefaultIsRefused) {
  const Outcome outcome = Call(object, L"DeviceOpen", {Value::Missing(), Value::Bool(0)});
  EXPECT_EQ(outcome.result, DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(outcome.wrong_argument, 1u);
  EXPECT_EQ(Let(object, L"Util", Value::Missing()).result, DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(Dispatch, AnotherErrorValueIsNotAMissingArgument) {
  Value error = Value::Missing();
  V_ERROR(&error.Raw()) = E_FAIL;
  EXPECT_EQ(Call(object, L"DeviceOpen", {Value::Long(0), error}).result, DISP_E_TYPEMISMATCH);
}

TEST_F(Dispatch, ArgumentsCanBeGivenByName) {
  EXPECT_EQ(CallNamed(object, L"Status", {}, {{L"Code", Value::Long(3)}}).value.AsText(),
            Call(object, L"Status", {Value::Long(3)}).value.AsText());
  const Outcome swapped =
      CallNamed(object, L"DeviceOpen", {},
                {{L"MaintainSupply", Value::Text(L"perhaps")}, {L"Port", Value::Long(0)}});
  EXPECT_EQ(swapped.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(swapped.wrong_argument, 0u);
  const Outcome mixed = CallNamed(object, L"DeviceOpen", {Value::Text(L"first")},
                                  {{L"MaintainSupply", Value::Bool(VARIANT_TRUE)}});
  EXPECT_EQ(mixed.result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(mixed.wrong_argument, 1u);
}

TEST_F(Dispatch, ANamedArgumentThatNoParameterTakesIsNamed) {
  const Outcome unknown =
      CallNamed(object, L"DeviceOpen", {Value::Long(0)}, {{L"Speed", Value::Long(9600)}});
  EXPECT_EQ(unknown.result, DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(unknown.wrong_argument, 0u);
  const Outcome twice =
      CallNamed(object, L"DeviceOpen", {Value::Long(0)}, {{L"Port", Value::Long(0)}});
  EXPECT_EQ(twice.result, DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(twice.wrong_argument, 0u);
}

TEST_F(Dispatch, AnOptionalArgumentByNameDoesNotReplaceARequiredOne) {
  EXPECT_EQ(CallNamed(object, L"DeviceOpen", {}, {{L"MaintainSupply", Value::Bool(0)}}).result,
            DISP_E_PARAMNOTOPTIONAL);
}

// --- Results ---

TEST_F(Dispatch, AResultThatNobodyWantsIsDropped) {
  DISPPARAMS none{};
  for (const DISPID id : {0x68030016, 0x6803000D}) {
    EXPECT_EQ(object->Invoke(id, IID_NULL, kEnglish, DISPATCH_PROPERTYGET, &none, nullptr, nullptr,
                             nullptr),
              S_OK);
  }
}

TEST_F(Dispatch, AFailedCallLeavesAnEmptyResult) {
  Value result;
  V_VT(&result.Raw()) = VT_BSTR;
  V_BSTR(&result.Raw()) = reinterpret_cast<BSTR>(static_cast<INT_PTR>(0x1234));
  DISPPARAMS none{};
  ASSERT_EQ(zentrel->put_DeviceMIF(6), S_OK);  // has no name
  EXPECT_EQ(object->Invoke(0x68030017, IID_NULL, kEnglish, DISPATCH_PROPERTYGET, &none,
                           &result.Raw(), nullptr, nullptr),
            DISP_E_EXCEPTION);
  EXPECT_EQ(result.Type(), VT_EMPTY);
}

TEST_F(Dispatch, PropertiesKeepWhatIsStored) {
  LONG value = 100;
  for (const PublishedMember& member : kPublishedMembers) {
    if (member.kind != Kind::kGetLet || member.type != VT_I4) continue;
    if (std::wstring(member.name) == L"DeviceMIF") continue;  // only its low bits are stored
    ASSERT_EQ(Let(object, member.name, Value::Long(++value)).result, S_OK) << Narrow(member.name);
    EXPECT_EQ(Get(object, member.name).value.AsLong(), value) << Narrow(member.name);
  }
  ASSERT_EQ(Let(object, L"DeviceMIF", Value::Long(0x35)).result, S_OK);
  EXPECT_EQ(Get(object, L"DeviceMIF").value.AsLong(), 0x35);
  EXPECT_EQ(Get(object, L"IDToggle").value.AsBool(), VARIANT_TRUE);
  EXPECT_EQ(Get(object, L"MIFSelect").value.AsBool(), VARIANT_TRUE);
}

TEST_F(Dispatch, TextsAndSinglesComeInTheirOwnTypes) {
  ASSERT_EQ(Let(object, L"PLLWarmup", Value::Long(3)).result, S_OK);
  EXPECT_EQ(Get(object, L"PLLWarmUpName", {}, kGerman).value.AsText(), L"0.6 mS");
  EXPECT_EQ(Get(object, L"BatteryVoltage").value.AsSingle(), 0.0F);
  EXPECT_EQ(Get(object, L"ZentrelVersion").value.AsText(), L"");
}

}  // namespace
}  // namespace qmzentrel::clients
