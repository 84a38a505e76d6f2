// Arrays of sub-device messages as every kind of client hands them over. No port is open:
// S_BAD_PORT is the status of a command whose arrays were found good.
#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <utility>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/script_array.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFF);
constexpr const wchar_t* kCommands[] = {L"TELIC2Read", L"TELIC2Write", L"TELIC2Test"};

using Command = HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG, SAFEARRAY**, SAFEARRAY**,
                                                        ZentrelStatus*);
constexpr Command kDualCommands[] = {&_Zentrel::TELIC2Read, &_Zentrel::TELIC2Write,
                                     &_Zentrel::TELIC2Test};

Value ArrayOf(VARTYPE type, SAFEARRAY* array) {
  Value value;
  V_VT(&value.Raw()) = static_cast<VARTYPE>(VT_ARRAY | type);
  V_ARRAY(&value.Raw()) = array;
  return value;
}

Value NewArray(VARTYPE type, LONG lower_bound, ULONG count) {
  return ArrayOf(type, SafeArrayCreateVector(type, lower_bound, count));
}

class MessageArrays : public testing::Test {
 protected:
  MessageArrays() { Let(object, L"TELIC2Device", Value::Text(L"1")); }

  Outcome Run(const wchar_t* command, const Value& ids, const Value& data, LONG count = 1) {
    return Call(object, command, {Value::Long(count), ids, data});
  }
  Outcome Read(const Value& ids, const Value& data, LONG count = 1) {
    return Run(L"TELIC2Read", ids, data, count);
  }
  static LONG StatusOf(const Outcome& outcome) {
    return outcome.result == S_OK ? outcome.value.AsLong() : -1;
  }

  FilledTestCatalog catalog;
  ComPointer<_Zentrel> zentrel = NewZentrel();
  IDispatch* object = zentrel.Get();
};

TEST_F(MessageArrays, AreTakenInEveryFormThatLanguagesGiveThem) {
  Value numbers = Value::LongArray({8, 9});
  Value variants = Value::VariantArray({Value::Short(8), Value::Text(L"9"), Value::Double(10)});
  for (const wchar_t* command : {L"TELIC2Read", L"TELIC2Write"}) {
    for (Value* ids : {&numbers, &variants}) {
      Value typed = Value::TypedReferenceTo(*ids);
      for (const Value& form : {*ids, typed, Value::ReferenceTo(*ids), Value::ReferenceTo(typed)}) {
        Value data = Value::VariantArray({{}, {}});
        EXPECT_EQ(StatusOf(Run(command, form, data)), S_BAD_PORT);
        EXPECT_EQ(StatusOf(Run(command, form, Value::ReferenceTo(data))), S_BAD_PORT);
        EXPECT_EQ(V_ARRAY(&data.Raw())->cLocks, 0u);
        EXPECT_EQ(V_ARRAY(&ids->Raw())->cLocks, 0u);
      }
    }
  }
}

TEST_F(MessageArrays, OneArrayMayStandForBoth) {
  Value numbers = Value::LongArray({8, 9});
  Value variants = Value::VariantArray({Value::Short(8), Value::Text(L"9")});
  for (Value* array : {&numbers, &variants}) {
    const Value form = Value::TypedReferenceTo(*array);
    EXPECT_EQ(StatusOf(Read(form, form, 2)), S_BAD_PORT);
    EXPECT_EQ(V_ARRAY(&array->Raw())->cLocks, 0u);
  }
}

TEST_F(MessageArrays, UndimensionedOnesServeForNoMessagesAtAll) {
  for (const VARTYPE type : {VT_I4, VT_VARIANT}) {
    const Value undimensioned = ArrayOf(type, nullptr);
    for (const wchar_t* command : kCommands) {
      EXPECT_EQ(StatusOf(Run(command, undimensioned, undimensioned, 0)), S_BAD_PORT);
      EXPECT_EQ(Run(command, undimensioned, undimensioned).scode, kReportedFault);
    }
  }
}

TEST_F(MessageArrays, TooShortOnesAreAFaultWhicheverItIs) {
  for (const VARTYPE type : {VT_I4, VT_VARIANT}) {
    for (const wchar_t* command : {L"TELIC2Read", L"TELIC2Write"}) {
      const Value good = Value::LongArray({8, 9});
      const Value empty = NewArray(type, 0, 0);
      EXPECT_EQ(Run(command, good, empty).scode, kReportedFault);
      EXPECT_EQ(Run(command, empty, good).scode, kReportedFault);
      const Value one = NewArray(type, 0, 1);
      EXPECT_EQ(Run(command, good, one, 2).scode, kReportedFault);
      EXPECT_EQ(StatusOf(Run(command, good, one, 1)), S_BAD_PORT);
    }
  }
}

TEST_F(MessageArrays, IndicesAreTheClientsOwn) {
  const Value good = Value::LongArray({8, 9});
  for (const VARTYPE type : {VT_I4, VT_VARIANT}) {
    EXPECT_EQ(Read(good, NewArray(type, 1, 5)).scode, kReportedFault) << "entry 0 is missing";
    EXPECT_EQ(StatusOf(Read(good, NewArray(type, -1, 3), 2)), S_BAD_PORT) << "-1 to 1";
    EXPECT_EQ(Read(good, NewArray(type, -1, 2), 2).scode, kReportedFault) << "-1 to 0";
  }
  Value ids = NewArray(VT_I4, -3, 4);  // -3 to 0
  LONG index = 0;
  LONG message = 8;
  SafeArrayPutElement(V_ARRAY(&ids.Raw()), &index, &message);
  EXPECT_EQ(StatusOf(Read(ids, good)), S_BAD_PORT);
  message = 7;
  SafeArrayPutElement(V_ARRAY(&ids.Raw()), &index, &message);
  EXPECT_EQ(StatusOf(Read(ids, good)), S_BAD_PARAMETER) << "an unknown message in entry 0";
}

TEST_F(MessageArrays, StatusesComeBeforeFaults) {
  const Value empty = NewArray(VT_I4, 0, 0);
  EXPECT_EQ(StatusOf(Read(empty, empty, -1)), S_BAD_PARAMETER);
  EXPECT_EQ(StatusOf(Read(empty, empty, 17)), S_MSG_TOO_LONG);
  EXPECT_EQ(StatusOf(Read(Value::LongArray({7}), empty, 2)), S_BAD_PARAMETER);
}

TEST_F(MessageArrays, ArraysOfOtherThingsAreATypeMismatch) {
  const Value numbers = Value::LongArray({8});
  const Value texts = NewArray(VT_BSTR, 0, 1);
  const Value mislabelled = ArrayOf(VT_I4, SafeArrayCreateVector(VT_R8, 0, 1));
  SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
  const Value plane = ArrayOf(VT_I4, SafeArrayCreate(VT_I4, 2, bounds));
  const Value wrong_element = Value::VariantArray({Value::Text(L"eight"), Value::Long(1)});
  for (const Value& wrong : {texts, mislabelled, plane, wrong_element, Value::Long(8)}) {
    Outcome outcome = Read(wrong, numbers);
    EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.wrong_argument, 1u);
    outcome = Read(numbers, wrong);
    EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.wrong_argument, 0u);
  }
}

TEST_F(MessageArrays, TheDualInterfaceLooksAtThemItself) {
  SAFEARRAY* numbers = SafeArrayCreateVector(VT_I4, 0, 2);
  SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
  SAFEARRAY* plane = SafeArrayCreate(VT_I4, 2, bounds);
  SAFEARRAY* doubles = SafeArrayCreateVector(VT_R8, 0, 2);
  ZentrelStatus status = S_OKAY;
  for (const Command command : kDualCommands) {
    const auto run = [&](SAFEARRAY** ids, SAFEARRAY** data) {
      return (zentrel.Get()->*command)(0, ids, data, &status);
    };
    EXPECT_EQ(run(&numbers, &numbers), S_OK);
    EXPECT_EQ(status, S_BAD_PORT);
    EXPECT_EQ(run(nullptr, &numbers), E_POINTER);
    EXPECT_EQ(run(&numbers, nullptr), E_POINTER);
    EXPECT_EQ(run(&plane, &numbers), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(run(&numbers, &doubles), DISP_E_TYPEMISMATCH);
    EXPECT_FALSE(TakenErrorDescription().empty());
    EXPECT_EQ(numbers->cLocks, 0u);
  }
  for (SAFEARRAY* array : {numbers, plane, doubles}) SafeArrayDestroy(array);
}

TEST_F(MessageArrays, AnElementThatDoesNotFitIsAnOverflow) {
  EXPECT_EQ(Read(Value::VariantArray({Value::Double(1e12)}), Value::LongArray({8})).result,
            DISP_E_OVERFLOW);
}

// --- What becomes of the client's entries; the simulator replies ---

class FilledArrays : public MessageArrays {
 protected:
  FilledArrays() {
    catalog.Simulator(true);
    EXPECT_EQ(
        StatusOf(Run(L"TELIC2Write", Value::LongArray({8, 9}), Value::LongArray({80, 90}), 2)),
        S_OKAY);
  }

  static VARIANT& Element(Value& array, std::size_t place) {
    return static_cast<VARIANT*>(V_ARRAY(&array.Raw())->pvData)[place];
  }
  static void ExpectText(Value& array, std::size_t place, const wchar_t* text) {
    ASSERT_EQ(V_VT(&Element(array, place)), VT_BSTR);
    EXPECT_STREQ(V_BSTR(&Element(array, place)), text);
  }
  static void ExpectLong(Value& array, std::size_t place, LONG number) {
    ASSERT_EQ(V_VT(&Element(array, place)), VT_I4);
    EXPECT_EQ(V_I4(&Element(array, place)), number);
  }

  const Value eight_nine = Value::LongArray({8, 9});
};

TEST_F(FilledArrays, BecomeNumbersWhereAReplyFilledThemAndNowhereElse) {
  Value ids = Value::VariantArray({Value::Text(L"8"), Value::Short(9)});
  Value data = Value::VariantArray({Value::Text(L"80"), {}, Value::Text(L"kept")});
  EXPECT_EQ(StatusOf(Read(Value::TypedReferenceTo(ids), Value::TypedReferenceTo(data))), S_OKAY);
  ExpectLong(data, 0, 80);
  EXPECT_EQ(V_VT(&Element(data, 1)), VT_EMPTY);
  ExpectText(data, 2, L"kept");
  ExpectText(ids, 0, L"8");
  EXPECT_EQ(V_VT(&Element(ids, 1)), VT_I2);
}

TEST_F(FilledArrays, KeepTheirValuesAndTypesInACommandThatFillsNone) {
  Value ids = Value::VariantArray({Value::Text(L"8")});
  Value data = Value::VariantArray({Value::Text(L"81")});
  for (const wchar_t* command : {L"TELIC2Write", L"TELIC2Test"}) {
    const Value test_or_message = command[6] == L'T' ? Value::LongArray({1}) : ids;
    EXPECT_EQ(StatusOf(Run(command, test_or_message, Value::TypedReferenceTo(data))), S_OKAY);
    ExpectText(data, 0, L"81");
    ExpectText(ids, 0, L"8");
  }
  EXPECT_EQ(StatusOf(Read(ids, Value::TypedReferenceTo(data))), S_OKAY);
  ExpectLong(data, 0, 81);
}

TEST_F(FilledArrays, KeepTheirValuesAndTypesWhenTheCallEndsBeforeItSends) {
  Value data = Value::VariantArray({Value::Text(L"1"), Value::Text(L"2")});
  const Value form = Value::TypedReferenceTo(data);
  EXPECT_EQ(StatusOf(Read(eight_nine, form, -1)), S_BAD_PARAMETER);
  EXPECT_EQ(StatusOf(Read(Value::LongArray({8, 7}), form, 2)), S_BAD_PARAMETER);
  EXPECT_EQ(StatusOf(Read(eight_nine, form, 17)), S_MSG_TOO_LONG);
  EXPECT_EQ(StatusOf(Read(eight_nine, form, LONG_MAX)), S_MSG_TOO_LONG);
  EXPECT_EQ(Read(Value::LongArray({8, 9, 8}), form, 3).scode, kReportedFault);
  EXPECT_EQ(Read(Value::LongArray({8}), Value::VariantArray({Value::Null()})).result,
            DISP_E_TYPEMISMATCH);
  catalog.Simulator(false);
  for (const wchar_t* command : kCommands) {
    EXPECT_EQ(StatusOf(Run(command, Value::LongArray({1, 1}), form, 0)), S_BAD_PORT);
  }
  EXPECT_EQ(StatusOf(Read(eight_nine, form, 2)), S_BAD_PORT);
  ExpectText(data, 0, L"1");
  ExpectText(data, 1, L"2");
}

TEST_F(FilledArrays, EntriesThatAreNotUsedMayHoldAnything) {
  Value ids = Value::VariantArray({Value::Short(8), Value::Text(L"eight"), Value::Null()});
  Value data = Value::VariantArray({{}, Value::Object(object), Value::Double(1e12)});
  for (const wchar_t* command : {L"TELIC2Read", L"TELIC2Write"}) {
    EXPECT_EQ(StatusOf(Run(command, ids, Value::TypedReferenceTo(data))), S_OKAY);
  }
  ExpectLong(data, 0, 80);
  EXPECT_EQ(V_VT(&Element(data, 1)), VT_DISPATCH);
  EXPECT_EQ(V_DISPATCH(&Element(data, 1)), object);
  EXPECT_EQ(V_VT(&Element(data, 2)), VT_R8);
}

TEST_F(FilledArrays, OneOfBothParametersIsFilledAsData) {
  Value both = Value::VariantArray({Value::Text(L"8"), Value::Text(L"9"), Value::Text(L"kept")});
  const Value form = Value::TypedReferenceTo(both);
  EXPECT_EQ(StatusOf(Read(form, form, 2)), S_OKAY);
  ExpectLong(both, 0, 80);
  ExpectLong(both, 1, 90);
  ExpectText(both, 2, L"kept");
}

// --- Locks ---

TEST_F(FilledArrays, AreReadAndWrittenUnderTheClientsLockWhichStays) {
  Value numbers = Value::LongArray({8});
  Value variants = Value::VariantArray({Value::Text(L"8")});
  Value number_data = Value::LongArray({81});
  Value variant_data = Value::VariantArray({Value::Text(L"81")});
  Value* const all[] = {&numbers, &variants, &number_data, &variant_data};
  for (Value* array : all) SafeArrayLock(V_ARRAY(&array->Raw()));
  for (Value* ids : {&numbers, &variants}) {
    for (Value* data : {&number_data, &variant_data}) {
      const Value given = Value::TypedReferenceTo(*ids);
      const Value taken = Value::TypedReferenceTo(*data);
      EXPECT_EQ(StatusOf(Run(L"TELIC2Write", given, taken)), S_OKAY);
      EXPECT_EQ(StatusOf(Run(L"TELIC2Write", given, Value::LongArray({82}))), S_OKAY);
      EXPECT_EQ(StatusOf(Read(given, taken)), S_OKAY);
    }
  }
  EXPECT_EQ(*static_cast<LONG*>(V_ARRAY(&number_data.Raw())->pvData), 82);
  ExpectLong(variant_data, 0, 82);
  ExpectText(variants, 0, L"8");
  for (Value* array : all) {
    EXPECT_EQ(V_ARRAY(&array->Raw())->cLocks, 1u);
    SafeArrayUnlock(V_ARRAY(&array->Raw()));
  }
}

TEST_F(FilledArrays, AreReadAndWrittenUnderTheClientsLockByTheDualInterface) {
  Value numbers = Value::LongArray({8});
  SAFEARRAY* array = V_ARRAY(&numbers.Raw());
  SafeArrayLock(array);
  for (const Command command : kDualCommands) {
    ZentrelStatus status = S_BAD_SUM;
    EXPECT_EQ((zentrel.Get()->*command)(1, &array, &array, &status), S_OK);
    EXPECT_NE(status, S_BAD_SUM);
  }
  EXPECT_EQ(array->cLocks, 1u);
  SafeArrayUnlock(array);
}

// Automation counts no further; then the array cannot be kept from the client meanwhile.
class LockedToTheLimit : public FilledArrays {
 protected:
  static constexpr ULONG kMostLocks = 65535;

  LockedToTheLimit() {
    for (Value* array : {&numbers, &variants}) {
      while (SUCCEEDED(SafeArrayLock(V_ARRAY(&array->Raw())))) {
      }
      EXPECT_EQ(V_ARRAY(&array->Raw())->cLocks, kMostLocks);
    }
  }
  ~LockedToTheLimit() override {
    for (Value* array : {&numbers, &variants}) {
      EXPECT_EQ(V_ARRAY(&array->Raw())->cLocks, kMostLocks);
      V_ARRAY(&array->Raw())->cLocks = 0;
    }
  }

  Value numbers = Value::LongArray({8});
  Value variants = Value::VariantArray({Value::Text(L"8")});
};

TEST_F(LockedToTheLimit, AreAnErrorOfALateBoundCallThatSaysSo) {
  for (const wchar_t* command : kCommands) {
    for (Value* array : {&numbers, &variants}) {
      const Value form = Value::TypedReferenceTo(*array);
      for (const auto& [ids, data] : {std::pair{form, eight_nine}, {eight_nine, form}}) {
        const Outcome outcome = Run(command, ids, data, 0);
        EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
        EXPECT_TRUE(FAILED(outcome.scode));
        EXPECT_EQ(outcome.source, L"QmZentrel");
        EXPECT_EQ(outcome.description, L"An array cannot be locked for the time of the call");
      }
    }
  }
  EXPECT_EQ(V_ARRAY(&const_cast<Value&>(eight_nine).Raw())->cLocks, 0u);
}

TEST_F(LockedToTheLimit, AreAnErrorOfAnEarlyBoundCallThatSaysSo) {
  Value free = Value::LongArray({8});
  for (const Command command : kDualCommands) {
    ZentrelStatus status = S_OKAY;
    SAFEARRAY** const locked = &V_ARRAY(&numbers.Raw());
    SAFEARRAY** const other = &V_ARRAY(&free.Raw());
    for (const auto& [ids, data] : {std::pair{locked, other}, {other, locked}}) {
      EXPECT_TRUE(FAILED((zentrel.Get()->*command)(0, ids, data, &status)));
      EXPECT_EQ(TakenErrorDescription(), L"An array cannot be locked for the time of the call");
    }
  }
  EXPECT_EQ(V_ARRAY(&free.Raw())->cLocks, 0u);
}

// --- Objects with members named by their index ---

TEST_F(FilledArrays, AnObjectOfAScriptServesForEitherParameter) {
  ScriptArray ids({Value::Short(8), Value::Text(L"9")});
  ScriptArray data({});
  data.length = Value::Long(3);
  const Value given = Value::Object(&ids);
  Value taken = Value::Object(&data);
  EXPECT_EQ(StatusOf(Read(given, Value::ReferenceTo(taken), 2)), S_OKAY);
  ASSERT_EQ(data.values.size(), 2u) << "the third is not made";
  EXPECT_EQ(data.values[L"0"].AsLong(), 80);
  EXPECT_EQ(data.values[L"1"].AsLong(), 90);
  EXPECT_EQ(data.values[L"1"].Type(), VT_I4);
  EXPECT_EQ(ids.values[L"1"].AsText(), L"9");

  data.values[L"0"] = Value::Text(L"-7");
  EXPECT_EQ(StatusOf(Run(L"TELIC2Write", given, taken)), S_OKAY);
  EXPECT_EQ(data.values[L"0"].AsText(), L"-7");
  EXPECT_EQ(StatusOf(Read(given, taken)), S_OKAY);
  EXPECT_EQ(data.values[L"0"].AsLong(), -7);
}

TEST_F(FilledArrays, AnObjectThatIsTooShortIsAFault) {
  ScriptArray one({Value::Short(8)});
  const Value short_one = Value::Object(&one);
  EXPECT_EQ(Read(short_one, eight_nine, 2).scode, kReportedFault);
  EXPECT_EQ(Read(eight_nine, short_one, 2).scode, kReportedFault);
  EXPECT_EQ(one.values[L"0"].Type(), VT_I2);
}

TEST_F(FilledArrays, AnObjectWithoutALengthOrWithAnotherEntryThanANumberIsATypeMismatch) {
  automation::ScriptedObject no_array;
  ScriptArray text({Value::Text(L"eight")});
  ScriptArray unreadable({});
  unreadable.length = Value::Long(1);
  unreadable.members.emplace_back(
      L"0", [](const ScriptArray::Use& use) { return use.Fail(E_FAIL, L"its own", L"No entry"); });
  for (IDispatch* wrong : std::initializer_list<IDispatch*>{&no_array, &text, &unreadable}) {
    Outcome outcome = Read(Value::Object(wrong), eight_nine);
    EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.wrong_argument, 1u);
    outcome = Read(eight_nine, Value::Object(wrong));
    EXPECT_EQ(outcome.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.wrong_argument, 0u);
  }
}

TEST_F(FilledArrays, WhatAnObjectRefusesToStoreIsAnErrorOfTheCallInItsOwnWords) {
  ScriptArray fixed({});
  fixed.length = Value::Long(1);
  fixed.members.emplace_back(L"0", [](const ScriptArray::Use& use) {
    return use.IsLet() ? use.Fail(static_cast<HRESULT>(0x800A01A5), L"its own", L"It is fixed")
                       : S_OK;
  });
  const Outcome outcome = Read(eight_nine, Value::Object(&fixed));
  EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
  EXPECT_EQ(outcome.scode, static_cast<HRESULT>(0x800A01A5));
  EXPECT_EQ(outcome.description, L"It is fixed");
  EXPECT_EQ(outcome.value.Type(), VT_EMPTY) << "a failure has no result";
  EXPECT_EQ(StatusOf(Run(L"TELIC2Write", eight_nine, Value::Object(&fixed))), S_OKAY);
}

}  // namespace
}  // namespace qmzentrel::clients
