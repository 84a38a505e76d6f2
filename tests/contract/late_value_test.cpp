// From the variants of automation, of every kind, to what a report shows.
#include "platform/win32/late_value.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "platform/win32/bstr.h"
#include "platform/win32/owned_variant.h"
#include "tests/automation/scripted_object.h"

namespace qmzentrel {
namespace {

using platform::ArrayValue;
using platform::LateValue;
using platform::OwnedVariant;
using platform::PlainValue;
using platform::ToLateValue;

std::string PlainText(const LateValue& value) {
  const auto* const plain = std::get_if<PlainValue>(&value);
  return plain == nullptr ? "not plain" : plain->text;
}

/// Only its name is asked for.
class RecordType : public IRecordInfo {
 public:
  virtual ~RecordType() = default;
  STDMETHODIMP QueryInterface(REFIID, void** object) override {
    *object = this;
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }
  STDMETHODIMP RecordInit(PVOID) override { return S_OK; }
  STDMETHODIMP RecordClear(PVOID) override { return S_OK; }
  STDMETHODIMP RecordCopy(PVOID, PVOID) override { return E_NOTIMPL; }
  STDMETHODIMP GetGuid(GUID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetName(BSTR* name) override {
    *name = SysAllocString(L"MeterRecord");
    return S_OK;
  }
  STDMETHODIMP GetSize(ULONG* size) override {
    *size = 4;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetField(PVOID, LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetFieldNoCopy(PVOID, LPCOLESTR, VARIANT*, PVOID*) override { return E_NOTIMPL; }
  STDMETHODIMP PutField(ULONG, PVOID, LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }
  STDMETHODIMP PutFieldNoCopy(ULONG, PVOID, LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetFieldNames(ULONG*, BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP_(WINBOOL) IsMatchingType(IRecordInfo*) override { return FALSE; }
  STDMETHODIMP_(PVOID) RecordCreate() override { return nullptr; }
  STDMETHODIMP RecordCreateCopy(PVOID, PVOID*) override { return E_NOTIMPL; }
  STDMETHODIMP RecordDestroy(PVOID) override { return E_NOTIMPL; }

  ULONG references = 1;
};

TEST(LateValueOfVariant, EmptyAndNull) {
  OwnedVariant variant;
  EXPECT_TRUE(std::holds_alternative<std::monostate>(ToLateValue(*variant.Get())));
  V_VT(variant.Get()) = VT_NULL;
  EXPECT_TRUE(std::holds_alternative<platform::NullValue>(ToLateValue(*variant.Get())));
}

TEST(LateValueOfVariant, NumbersDatesAndBooleansHaveTheTextOfTheComponentsLocale) {
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_I2;
  V_I2(variant.Get()) = -7;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "-7");
  V_VT(variant.Get()) = VT_UI1;
  V_UI1(variant.Get()) = 200;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "200");
  V_VT(variant.Get()) = VT_R8;
  V_R8(variant.Get()) = 1.5;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "1.5");
  V_VT(variant.Get()) = VT_BOOL;
  V_BOOL(variant.Get()) = VARIANT_TRUE;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "True");
  V_BOOL(variant.Get()) = VARIANT_FALSE;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "False");
  V_VT(variant.Get()) = VT_DATE;
  V_DATE(variant.Get()) = 46347.0;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "11/21/2026");
  V_VT(variant.Get()) = VT_CY;
  V_CY(variant.Get()).int64 = 12500;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "1.25");
}

TEST(LateValueOfVariant, ATextKeepsItsZeroCharacters) {
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_BSTR;
  V_BSTR(variant.Get()) = SysAllocStringLen(L"A\0\u00E4", 3);
  const LateValue value = ToLateValue(*variant.Get());
  ASSERT_TRUE(std::holds_alternative<std::string>(value));
  EXPECT_EQ(std::get<std::string>(value), std::string("A\0\xC3\xA4", 4));
}

TEST(LateValueOfVariant, WhatAutomationCannotConvertHasItsErrorNumber) {
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_ERROR;
  V_ERROR(variant.Get()) = DISP_E_PARAMNOTFOUND;
  const LateValue value = ToLateValue(*variant.Get());
  ASSERT_TRUE(std::holds_alternative<platform::UnreadableValue>(value));
  EXPECT_EQ(std::get<platform::UnreadableValue>(value).error, 13);
}

TEST(LateValueOfVariant, AnObjectIsHeldAndLetGo) {
  automation::ScriptedObject object;
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_DISPATCH;
  V_DISPATCH(variant.Get()) = &object;
  object.AddRef();
  {
    const LateValue value = ToLateValue(*variant.Get());
    ASSERT_TRUE(std::holds_alternative<platform::ObjectValue>(value));
    EXPECT_EQ(std::get<platform::ObjectValue>(value).object.get(),
              static_cast<IDispatch*>(&object));
    EXPECT_EQ(object.references, 3U);
  }
  EXPECT_EQ(object.references, 2U);
}

TEST(LateValueOfVariant, NoObjectIsNothing) {
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_UNKNOWN;
  V_UNKNOWN(variant.Get()) = nullptr;
  const LateValue value = ToLateValue(*variant.Get());
  ASSERT_TRUE(std::holds_alternative<platform::ObjectValue>(value));
  EXPECT_FALSE(std::get<platform::ObjectValue>(value).object);
}

TEST(LateValueOfVariant, AStructureHasTheNameOfItsType) {
  RecordType type;
  VARIANT variant{};
  V_VT(&variant) = VT_RECORD;
  V_RECORDINFO(&variant) = &type;
  const LateValue value = ToLateValue(variant);
  ASSERT_TRUE(std::holds_alternative<platform::StructureValue>(value));
  EXPECT_EQ(std::get<platform::StructureValue>(value).type_name, "MeterRecord");
  EXPECT_EQ(type.references, 1U);
}

TEST(LateValueOfVariant, AReferenceIsFollowed) {
  LONG number = 42;
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_I4 | VT_BYREF;
  V_I4REF(variant.Get()) = &number;
  EXPECT_EQ(PlainText(ToLateValue(*variant.Get())), "42");
  OwnedVariant outer;
  V_VT(outer.Get()) = VT_VARIANT | VT_BYREF;
  OwnedVariant inner;
  V_VT(inner.Get()) = VT_I4;
  V_I4(inner.Get()) = 7;
  V_VARIANTREF(outer.Get()) = inner.Get();
  EXPECT_EQ(PlainText(ToLateValue(*outer.Get())), "7");
}

/// An array of numbers in a variant, each element its place in the order of `indices` above.
ArrayValue ArrayOfNumbers(std::vector<SAFEARRAYBOUND> bounds,
                          const std::vector<std::array<LONG, 3>>& indices) {
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_ARRAY | VT_I4;
  V_ARRAY(variant.Get()) = SafeArrayCreate(VT_I4, static_cast<UINT>(bounds.size()), bounds.data());
  LONG number = 0;
  for (auto index : indices) {
    EXPECT_EQ(SafeArrayPutElement(V_ARRAY(variant.Get()), index.data(), &number), S_OK);
    ++number;
  }
  return std::get<ArrayValue>(ToLateValue(*variant.Get()));
}

std::vector<std::string> Texts(const ArrayValue& array) {
  std::vector<std::string> texts;
  for (const LateValue& element : array.elements) texts.push_back(PlainText(element));
  return texts;
}

TEST(LateValueOfVariant, AnArrayHasItsBoundsAndItsElements) {
  const ArrayValue array = ArrayOfNumbers({{3, -1}}, {{-1}, {0}, {1}});
  ASSERT_EQ(array.dimensions.size(), 1U);
  EXPECT_EQ(array.dimensions[0]->lower_bound, -1);
  EXPECT_EQ(array.dimensions[0]->count, 3U);
  EXPECT_EQ(Texts(array), (std::vector<std::string>{"0", "1", "2"}));
}

TEST(LateValueOfVariant, TheLastIndexOfAnArrayChangesFastest) {
  const ArrayValue two = ArrayOfNumbers({{2, 0}, {2, 5}}, {{0, 5}, {0, 6}, {1, 5}, {1, 6}});
  EXPECT_EQ(Texts(two), (std::vector<std::string>{"0", "1", "2", "3"}));
  EXPECT_EQ(two.dimensions[1]->lower_bound, 5);
  const ArrayValue three =
      ArrayOfNumbers({{2, 0}, {1, 0}, {2, 0}}, {{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {1, 0, 1}});
  EXPECT_EQ(three.dimensions.size(), 3U);
  EXPECT_EQ(Texts(three), (std::vector<std::string>{"0", "1", "2", "3"}));
}

TEST(LateValueOfVariant, AnArrayOfFourDimensionsHasNoElementsHere) {
  const ArrayValue array = ArrayOfNumbers({{1, 0}, {1, 0}, {1, 0}, {1, 0}}, {});
  EXPECT_EQ(array.dimensions.size(), 4U);
  EXPECT_TRUE(array.elements.empty());
}

TEST(LateValueOfVariant, ADimensionWithoutElementsCannotBeRead) {
  const ArrayValue array = ArrayOfNumbers({{2, 0}, {0, 0}}, {});
  ASSERT_EQ(array.dimensions.size(), 2U);
  EXPECT_TRUE(array.dimensions[0]);
  EXPECT_FALSE(array.dimensions[1]);
}

TEST(LateValueOfVariant, AnArrayThatIsNotThereHasNoDimensions) {
  VARIANT variant{};
  V_VT(&variant) = VT_ARRAY | VT_I4;
  EXPECT_TRUE(std::get<ArrayValue>(ToLateValue(variant)).dimensions.empty());
}

TEST(LateValueOfVariant, TheElementsOfAScriptsArrayAreOfAnyKind) {
  SAFEARRAYBOUND bounds{3, 0};
  OwnedVariant variant;
  V_VT(variant.Get()) = VT_ARRAY | VT_VARIANT;
  V_ARRAY(variant.Get()) = SafeArrayCreate(VT_VARIANT, 1, &bounds);
  OwnedVariant text;
  V_VT(text.Get()) = VT_BSTR;
  V_BSTR(text.Get()) = SysAllocString(L"MIF");
  LONG index = 1;
  SafeArrayPutElement(V_ARRAY(variant.Get()), &index, text.Get());
  OwnedVariant decimal;
  V_VT(decimal.Get()) = VT_I4;
  V_I4(decimal.Get()) = 25;
  VariantChangeType(decimal.Get(), decimal.Get(), 0, VT_DECIMAL);
  index = 2;
  SafeArrayPutElement(V_ARRAY(variant.Get()), &index, decimal.Get());
  const auto array = std::get<ArrayValue>(ToLateValue(*variant.Get()));
  ASSERT_EQ(array.elements.size(), 3U);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(array.elements[0]));
  EXPECT_EQ(std::get<std::string>(array.elements[1]), "MIF");
  EXPECT_EQ(PlainText(array.elements[2]), "25");
}

TEST(LateValueOfVariant, AnArrayOfTextsAndOneOfDecimalsAreRead) {
  SAFEARRAYBOUND bounds{1, 0};
  LONG index = 0;
  OwnedVariant texts;
  V_VT(texts.Get()) = VT_ARRAY | VT_BSTR;
  V_ARRAY(texts.Get()) = SafeArrayCreate(VT_BSTR, 1, &bounds);
  const platform::OwnedBstr text(L"TXI");
  SafeArrayPutElement(V_ARRAY(texts.Get()), &index, text.Get());
  EXPECT_EQ(std::get<std::string>(std::get<ArrayValue>(ToLateValue(*texts.Get())).elements.at(0)),
            "TXI");

  OwnedVariant decimal;
  V_VT(decimal.Get()) = VT_I4;
  V_I4(decimal.Get()) = 7;
  VariantChangeType(decimal.Get(), decimal.Get(), 0, VT_DECIMAL);
  OwnedVariant decimals;
  V_VT(decimals.Get()) = VT_ARRAY | VT_DECIMAL;
  V_ARRAY(decimals.Get()) = SafeArrayCreate(VT_DECIMAL, 1, &bounds);
  SafeArrayPutElement(V_ARRAY(decimals.Get()), &index, &V_DECIMAL(decimal.Get()));
  EXPECT_EQ(Texts(std::get<ArrayValue>(ToLateValue(*decimals.Get()))),
            (std::vector<std::string>{"7"}));
}

}  // namespace
}  // namespace qmzentrel
