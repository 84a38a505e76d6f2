// Arrays of sub-device messages as every kind of client hands them over. No port is open:
// S_BAD_PORT is the status of a command whose arrays were found good.
#include <gtest/gtest.h>

#include <vector>

#include "tests/shell/com_client.h"
#include "tests/shell/test_catalog.h"

namespace qmzentrel::shell {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFF);
constexpr const wchar_t* kCommands[] = {L"TELIC2Read", L"TELIC2Write", L"TELIC2Test"};

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
  MessageArrays() {
    catalog.Fill();
    zentrel = NewZentrel();
    object = zentrel.Get();
    Let(object, L"TELIC2Device", Value::Text(L"1"));
  }

  Outcome Run(const wchar_t* command, const Value& ids, const Value& data, LONG count = 1) {
    return Call(object, command, {Value::Long(count), ids, data});
  }
  Outcome Read(const Value& ids, const Value& data, LONG count = 1) {
    return Run(L"TELIC2Read", ids, data, count);
  }
  static LONG StatusOf(const Outcome& outcome) {
    return outcome.result == S_OK ? outcome.value.AsLong() : -1;
  }

  TestCatalog catalog;
  ComPointer<_Zentrel> zentrel;
  IDispatch* object;
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

TEST_F(MessageArrays, LockedOnesAreAFaultAndStayAsTheyAre) {
  for (const wchar_t* command : {L"TELIC2Read", L"TELIC2Write"}) {
    Value numbers = Value::LongArray({8});
    Value variants = Value::VariantArray({Value::Text(L"8")});
    const Value good = Value::LongArray({8});
    for (Value* array : {&numbers, &variants}) {
      const Value form = Value::TypedReferenceTo(*array);
      SafeArrayLock(V_ARRAY(&array->Raw()));
      EXPECT_EQ(Run(command, form, good).scode, kReportedFault);
      EXPECT_EQ(Run(command, good, form).scode, kReportedFault);
      EXPECT_EQ(V_ARRAY(&array->Raw())->cLocks, 1u);
      SafeArrayUnlock(V_ARRAY(&array->Raw()));
      EXPECT_EQ(StatusOf(Run(command, form, good)), S_BAD_PORT);
    }
  }
  Value variants = Value::VariantArray({Value::Text(L"8")});
  SafeArrayLock(V_ARRAY(&variants.Raw()));
  EXPECT_EQ(Read(Value::TypedReferenceTo(variants), Value::LongArray({0})).scode, kReportedFault);
  EXPECT_EQ(V_VT(static_cast<VARIANT*>(V_ARRAY(&variants.Raw())->pvData)), VT_BSTR);
  SafeArrayUnlock(V_ARRAY(&variants.Raw()));
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
  const Value wrong_element = Value::VariantArray({Value::Long(1), Value::Text(L"eight")});
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
  using Command =
      HRESULT (STDMETHODCALLTYPE _Zentrel::*)(LONG, SAFEARRAY**, SAFEARRAY**, ZentrelStatus*);
  SAFEARRAY* numbers = SafeArrayCreateVector(VT_I4, 0, 2);
  SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
  SAFEARRAY* plane = SafeArrayCreate(VT_I4, 2, bounds);
  SAFEARRAY* doubles = SafeArrayCreateVector(VT_R8, 0, 2);
  ZentrelStatus status = S_OKAY;
  for (const Command command :
       {&_Zentrel::TELIC2Read, &_Zentrel::TELIC2Write, &_Zentrel::TELIC2Test}) {
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

}  // namespace
}  // namespace qmzentrel::shell
