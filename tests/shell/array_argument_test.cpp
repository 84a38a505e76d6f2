// Arrays of script languages on their way to a procedure and back.
#include "com/array_argument.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/shell/com_client.h"

namespace qmzentrel::shell {
namespace {

using com::ArrayArgument;

std::vector<LONG> NumbersIn(SAFEARRAY* array) {
  std::vector<LONG> numbers(array->rgsabound[0].cElements);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    LONG index = array->rgsabound[0].lLbound + static_cast<LONG>(i);
    SafeArrayGetElement(array, &index, &numbers[i]);
  }
  return numbers;
}

Value ElementOf(Value& array, LONG index) {
  Value element;
  SafeArrayGetElement(V_ARRAY(&array.Raw()), &index, &element.Raw());
  return element;
}

TEST(ArrayArgument, AnArrayOfNumbersIsTheClientsOwn) {
  Value array = Value::LongArray({8, 9});
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), kEnglish), S_OK);
  EXPECT_EQ(*argument.Get(), V_ARRAY(&array.Raw()));
  EXPECT_EQ(argument.Get(), &V_ARRAY(&array.Raw())) << "it may be replaced by a longer one";
  EXPECT_EQ(argument.WriteBack(), S_OK);
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
    EXPECT_EQ(argument.Bind(given, kEnglish), S_OK);
    EXPECT_EQ(*argument.Get(), array);
  }
  SafeArrayDestroy(array);
}

TEST(ArrayArgument, AnArrayWithoutElementsIsNotLeftLocked) {
  SAFEARRAY* array = nullptr;
  ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_VARIANT, 1, &array), S_OK);
  array->rgsabound[0] = {1, 0};
  VARIANT given;
  V_VT(&given) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&given) = array;
  {
    ArrayArgument argument;
    EXPECT_NE(argument.Bind(given, kEnglish), S_OK);
  }
  EXPECT_EQ(array->cLocks, 0u);
  SafeArrayDestroyDescriptor(array);
}

TEST(ArrayArgument, AnArrayOfVariantsIsConvertedElementByElement) {
  Value array = Value::VariantArray({Value::Short(8), Value::Text(L"&H10"), Value::Double(10), {}});
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), kEnglish), S_OK);
  EXPECT_EQ(NumbersIn(*argument.Get()), (std::vector<LONG>{8, 16, 10, 0}));
}

TEST(ArrayArgument, TextsInAnArrayAreReadInTheClientsLocale) {
  Value array = Value::VariantArray({Value::Text(L"1.234")});
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), kGerman), S_OK);
  EXPECT_EQ(NumbersIn(*argument.Get()), std::vector<LONG>{1234});
}

TEST(ArrayArgument, WhatTheProcedureStoredComesBackAsNumbers) {
  Value array = Value::VariantArray({Value::Short(1), Value::Text(L"2")});
  Value reference = Value::TypedReferenceTo(array);
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(reference.Raw(), kEnglish), S_OK);
  LONG index = 1;
  LONG number = 70000;
  ASSERT_EQ(SafeArrayPutElement(*argument.Get(), &index, &number), S_OK);
  EXPECT_EQ(ElementOf(array, 1).AsText(), L"2");
  ASSERT_EQ(argument.WriteBack(), S_OK);
  EXPECT_EQ(ElementOf(array, 0).Type(), VT_I4);
  EXPECT_EQ(ElementOf(array, 0).AsLong(), 1);
  EXPECT_EQ(ElementOf(array, 1).AsLong(), 70000);
}

TEST(ArrayArgument, TheLowerBoundIsKept) {
  Value array;
  SAFEARRAYBOUND bound{2, 5};
  V_VT(&array.Raw()) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(&array.Raw()) = SafeArrayCreate(VT_VARIANT, 1, &bound);
  ArrayArgument argument;
  ASSERT_EQ(argument.Bind(array.Raw(), kEnglish), S_OK);
  LONG lower = 0;
  EXPECT_EQ(SafeArrayGetLBound(*argument.Get(), 1, &lower), S_OK);
  EXPECT_EQ(lower, 5);
}

TEST(ArrayArgument, AnArrayThatTheClientHasLockedStaysLockedForTheProcedure) {
  Value array = Value::VariantArray({Value::Long(1)});
  ASSERT_EQ(SafeArrayLock(V_ARRAY(&array.Raw())), S_OK);
  {
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), kEnglish), S_OK);
    EXPECT_NE((*argument.Get())->cLocks, 0u);
    EXPECT_EQ(argument.WriteBack(), S_OK);
  }
  EXPECT_EQ(V_ARRAY(&array.Raw())->cLocks, 1u);
  SafeArrayUnlock(V_ARRAY(&array.Raw()));
}

TEST(ArrayArgument, AnArrayWithoutDimensionsIsPassedOnAsNone) {
  for (const VARTYPE type : {VT_I4, VT_VARIANT}) {
    Value array;
    V_VT(&array.Raw()) = static_cast<VARTYPE>(VT_ARRAY | type);
    V_ARRAY(&array.Raw()) = nullptr;
    ArrayArgument argument;
    ASSERT_EQ(argument.Bind(array.Raw(), kEnglish), S_OK);
    EXPECT_EQ(*argument.Get(), nullptr);
    EXPECT_EQ(argument.WriteBack(), S_OK);
  }
}

}  // namespace
}  // namespace qmzentrel::shell
