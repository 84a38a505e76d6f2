// Arrays of late-bound clients on their way to a command and back.
#include "com/array_argument.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/script_array.h"

namespace qmzentrel::clients {
namespace {

using com::ArrayArgument;
using qmzentrel::LongArray;
using Numbers = std::vector<std::int32_t>;

Numbers NumbersIn(const LongArray& array, std::int32_t first, std::int32_t count) {
  Numbers numbers;
  for (std::int32_t i = first; i < first + count; ++i) numbers.push_back(array[i]);
  return numbers;
}

Value ElementOf(Value& array, LONG index) {
  Value element;
  SafeArrayGetElement(V_ARRAY(&array.Raw()), &index, &element.Raw());
  return element;
}

Value NewVariants(LONG lower_bound, ULONG count) {
  Value array;
  V_VT(&array.Raw()) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&array.Raw()) = SafeArrayCreateVector(VT_VARIANT, lower_bound, count);
  return array;
}

TEST(ArrayArgument, AnArrayOfNumbersIsTheClientsOwn) {
  Value array = Value::LongArray({8, 9});
  const auto* const numbers = static_cast<LONG*>(V_ARRAY(&array.Raw())->pvData);
  {
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), 2, kEnglish), S_OK);
    argument.View().Store(1, 7);
    EXPECT_EQ(numbers[1], 7);
    argument.WriteBack();
  }
  EXPECT_EQ(numbers[0], 8);
  EXPECT_EQ(numbers[1], 7);
}

TEST(ArrayArgument, StaysInPlaceAsLongAsItIsBound) {
  for (Value array : {Value::LongArray({8, 9}), Value::VariantArray({Value::Long(8)})}) {
    {
      ArrayArgument argument;
      ASSERT_EQ(argument.Bind(array.Raw(), 1, kEnglish), S_OK);
      EXPECT_EQ(V_ARRAY(&array.Raw())->cLocks, 1u);
    }
    EXPECT_EQ(V_ARRAY(&array.Raw())->cLocks, 0u);
  }
}

TEST(ArrayArgument, AnArrayFromABareDescriptorIsWhatTheCallerSaysItIs) {
  SAFEARRAY* array = nullptr;
  ASSERT_EQ(SafeArrayAllocDescriptor(1, &array), S_OK);
  array->cbElements = sizeof(LONG);
  array->rgsabound[0] = {2, 0};
  ASSERT_EQ(SafeArrayAllocData(array), S_OK);
  VARIANT given;
  V_VT(&given) = VT_ARRAY | VT_I4;
  V_ARRAY(&given) = array;
  {
    ArrayArgument argument;
    EXPECT_EQ(argument.Bind(given, 2, kEnglish), S_OK);
    EXPECT_TRUE(argument.View().Holds(1));
  }
  SafeArrayDestroy(array);
}

TEST(ArrayArgument, AnArrayWhoseDataAreMissingHasNoEntriesAndIsNotLeftLocked) {
  SAFEARRAY* array = nullptr;
  ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_VARIANT, 1, &array), S_OK);
  array->rgsabound[0] = {1, 0};
  VARIANT given;
  V_VT(&given) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&given) = array;
  {
    ArrayArgument argument;
    EXPECT_EQ(argument.Bind(given, 1, kEnglish), S_OK);
    EXPECT_FALSE(argument.View().Holds(0));
  }
  EXPECT_EQ(array->cLocks, 0u);
  SafeArrayDestroyDescriptor(array);
}

TEST(ArrayArgument, AnArrayOfVariantsIsConvertedElementByElement) {
  Value array = Value::VariantArray({Value::Short(8), Value::Text(L"&H10"), Value::Double(10), {}});
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), 4, kEnglish), S_OK);
  EXPECT_EQ(NumbersIn(argument.View(), 0, 4), (Numbers{8, 16, 10, 0}));
}

TEST(ArrayArgument, TextsInAnArrayAreReadInTheClientsLocale) {
  ScriptArray object({Value::Text(L"1.234")});
  for (Value array : {Value::VariantArray({Value::Text(L"1.234")}), Value::Object(&object)}) {
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), 1, kGerman), S_OK);
    EXPECT_EQ(argument.View()[0], 1234);
  }
}

TEST(ArrayArgument, EntriesThatAreNotUsedAreNotConverted) {
  Value variants = Value::VariantArray({Value::Short(8), Value::Text(L"eight")});
  ScriptArray object({Value::Short(8), Value::Text(L"eight")});
  for (Value array : {variants, Value::Object(&object)}) {
    EXPECT_EQ(ArrayArgument().Bind(array.Raw(), 2, kEnglish), DISP_E_TYPEMISMATCH);
    for (const LONG used : {1, 0, -1}) {
      ArrayArgument argument;
      ASSERT_EQ(argument.Bind(array.Raw(), used, kEnglish), S_OK);
      EXPECT_TRUE(argument.View().Holds(1));
      EXPECT_FALSE(argument.View().Holds(2));
    }
  }
}

TEST(ArrayArgument, NoMoreEntriesAreConvertedThanACommandLooksAt) {
  std::vector<Value> values(30, Value::Short(8));
  values[29] = Value::Text(L"eight");
  Value array = Value::VariantArray(values);
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), 30, kEnglish), S_OK);
  EXPECT_EQ(argument.View()[28], 8);
}

TEST(ArrayArgument, WhatACommandStoredComesBackAsNumbersAndNothingElseDoes) {
  Value array = Value::VariantArray({Value::Short(1), Value::Text(L"2"), Value::Text(L"kept")});
  Value reference = Value::TypedReferenceTo(array);
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(reference.Raw(), 2, kEnglish), S_OK);
  argument.View().Store(1, 2);
  EXPECT_EQ(ElementOf(array, 1).AsText(), L"2");
  argument.WriteBack();
  EXPECT_EQ(ElementOf(array, 0).Type(), VT_I2);
  EXPECT_EQ(ElementOf(array, 1).Type(), VT_I4);
  EXPECT_EQ(ElementOf(array, 1).AsLong(), 2);
  EXPECT_EQ(ElementOf(array, 2).AsText(), L"kept");
}

TEST(ArrayArgument, IndicesAreTheClientsOwn) {
  Value array = NewVariants(-2, 4);  // -2 to 1
  for (LONG i = -2; i < 2; ++i) {
    Value element = Value::Long(10 * i);
    SafeArrayPutElement(V_ARRAY(&array.Raw()), &i, &element.Raw());
  }
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), 2, kEnglish), S_OK);
  EXPECT_EQ(NumbersIn(argument.View(), 0, 2), (Numbers{0, 10}));
  EXPECT_FALSE(argument.View().Holds(2));
  argument.View().Store(1, 11);
  argument.WriteBack();
  EXPECT_EQ(ElementOf(array, 1).AsLong(), 11);

  Value later = NewVariants(5, 2);
  ArrayArgument without_first;
  ASSERT_EQ(without_first.Bind(later.Raw(), 7, kEnglish), S_OK);
  EXPECT_FALSE(without_first.View().Holds(4));
  EXPECT_TRUE(without_first.View().Holds(5));
  EXPECT_FALSE(without_first.View().Holds(7));
}

TEST(ArrayArgument, AtEitherEndOfAllIndicesHasNoEntryForACommand) {
  for (const LONG lower : {LONG_MIN, LONG_MAX, 29L, -2L}) {
    Value array = NewVariants(lower, 1);
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), LONG_MAX, kEnglish), S_OK);
    EXPECT_FALSE(argument.View().Holds(0));
    EXPECT_FALSE(argument.View().Holds(lower));
  }
}

TEST(ArrayArgument, TheClientsLocksStayAndDoNotMatter) {
  Value array = Value::VariantArray({Value::Long(1)});
  ASSERT_EQ(SafeArrayLock(V_ARRAY(&array.Raw())), S_OK);
  {
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), 1, kEnglish), S_OK);
    argument.View().Store(0, 2);
    argument.WriteBack();
  }
  EXPECT_EQ(V_ARRAY(&array.Raw())->cLocks, 1u);
  SafeArrayUnlock(V_ARRAY(&array.Raw()));
  EXPECT_EQ(ElementOf(array, 0).AsLong(), 2);
}

TEST(ArrayArgument, AnArrayWithoutDimensionsIsPassedOnAsNone) {
  for (const VARTYPE type : {VT_I4, VT_VARIANT}) {
    Value array;
    V_VT(&array.Raw()) = static_cast<VARTYPE>(VT_ARRAY | type);
    V_ARRAY(&array.Raw()) = nullptr;
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), 1, kEnglish), S_OK);
    EXPECT_FALSE(argument.View().Holds(0));
    argument.WriteBack();
  }
}

// --- Objects with members named by their index ---

TEST(ArrayArgument, OfAnObjectTheMembersThatAreUsedAreReadAndNoOther) {
  for (const auto face : {ScriptArray::Face::kDispatch, ScriptArray::Face::kDispatchEx}) {
    ScriptArray object({Value::Double(8), Value::Text(L"9"), Value::Short(10)}, face);
    Value given = Value::Object(&object);
    Value reference = Value::TypedReferenceTo(given);
    for (Value* form : {&given, &reference}) {
      ArrayArgument argument;
      ASSERT_EQ(argument.Bind(form->Raw(), 2, kEnglish), S_OK);
      EXPECT_EQ(NumbersIn(argument.View(), 0, 2), (Numbers{8, 9}));
      EXPECT_TRUE(argument.View().Holds(2)) << "as long as it says";
      EXPECT_FALSE(argument.View().Holds(3));
      EXPECT_FALSE(argument.View().Holds(-1));
    }
    EXPECT_EQ(object.asked, L"0 1 0 1 ");
  }
}

TEST(ArrayArgument, AMemberThatAnObjectLacksIs0AndIsMadeWhenItIsStored) {
  ScriptArray object({});
  object.length = Value::Long(2);
  Value given = Value::Object(&object);
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(given.Raw(), 2, kEnglish), S_OK);
  EXPECT_EQ(NumbersIn(argument.View(), 0, 2), (Numbers{0, 0}));
  EXPECT_TRUE(object.values.empty());
  argument.View().Store(1, 7);
  EXPECT_TRUE(object.values.empty());
  argument.WriteBack();
  ASSERT_EQ(object.values.size(), 1u);
  EXPECT_EQ(object.values[L"1"].Type(), VT_I4);
  EXPECT_EQ(object.values[L"1"].AsLong(), 7);
}

TEST(ArrayArgument, AnObjectIsHeldUntilTheEnd) {
  ScriptArray object({Value::Short(8)});
  {
    Value given = Value::Object(&object);
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(given.Raw(), 1, kEnglish), S_OK);
    given = Value();
    EXPECT_EQ(object.references, 2u);
  }
  EXPECT_EQ(object.references, 1u);
}

TEST(ArrayArgument, TheLengthOfAnObjectIsWhatItSays) {
  ScriptArray object({Value::Short(8), Value::Short(9)});
  for (const auto& [length, count] : {std::pair{Value::Double(1), 1},
                                      {Value::Text(L"2"), 2},
                                      {Value(), 0},
                                      {Value::Long(-1), 0},
                                      {Value::Long(30), 29},
                                      {Value::Long(LONG_MAX), 29}}) {
    object.length = length;
    Value given = Value::Object(&object);
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(given.Raw(), 1, kEnglish), S_OK);
    EXPECT_EQ(argument.View().Holds(0), count > 0);
    EXPECT_TRUE(count == 0 || argument.View().Holds(count - 1)) << count;
    EXPECT_FALSE(argument.View().Holds(count)) << count;
  }
}

TEST(ArrayArgument, AnObjectWithoutALengthIsATypeMismatch) {
  automation::ScriptedObject object;
  Value given = Value::Object(&object);
  EXPECT_EQ(ArrayArgument().Bind(given.Raw(), 0, kEnglish), DISP_E_TYPEMISMATCH);
  ScriptArray endless({});
  endless.length = Value::Text(L"long");
  given = Value::Object(&endless);
  EXPECT_EQ(ArrayArgument().Bind(given.Raw(), 0, kEnglish), DISP_E_TYPEMISMATCH);
  given = Value::Object(nullptr);
  EXPECT_EQ(ArrayArgument().Bind(given.Raw(), 0, kEnglish), DISP_E_TYPEMISMATCH);
}

}  // namespace
}  // namespace qmzentrel::clients
