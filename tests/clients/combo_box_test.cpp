// Lists in a client's combo box, whatever kind of object it is.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/automation/scripted_object.h"
#include "tests/clients/com_client.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

using automation::ScriptedObject;
using Face = ScriptedObject::Face;

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFF);

/// Wraps a combo box of Windows as a form library does: members by name, items in the control.
class WrappedBox : public ScriptedObject {
 public:
  explicit WrappedBox(Face face, DWORD style = CBS_DROPDOWNLIST)
      : ScriptedObject(face),
        window_(CreateWindowExW(0, L"COMBOBOX", L"", WS_POPUP | style, 0, 0, 100, 200, nullptr,
                                nullptr, nullptr, nullptr)) {
    EXPECT_NE(window_, nullptr);
    members = {
        {L"Clear", [this](const Use&) { return Tell(CB_RESETCONTENT); }},
        {L"AddItem",
         [this](const Use& use) {
           Add(use.Text(0));
           return S_OK;
         }},
        {L"NewIndex", [this](const Use& use) { return use.GiveShort(newest_); }},
        {L"ItemData",
         [this](const Use& use) {
           const LONG place = use.Number(0);
           if (use.IsLet()) return Tell(CB_SETITEMDATA, place, use.Number(1));
           return use.GiveShort(Ask(CB_GETITEMDATA, place));
         }},
        {L"ListCount", [this](const Use& use) { return use.GiveShort(Ask(CB_GETCOUNT)); }},
        {L"ListIndex", [this](const Use& use) { return Tell(CB_SETCURSEL, use.Number(0)); }}};
  }
  ~WrappedBox() override { DestroyWindow(window_); }

  std::vector<std::wstring> Items() const {
    std::vector<std::wstring> items;
    for (LONG i = 0; i < Ask(CB_GETCOUNT); ++i) {
      std::wstring text(static_cast<std::size_t>(Ask(CB_GETLBTEXTLEN, i)), L'\0');
      Ask(CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text.data()));
      items.push_back(text + L" = " + std::to_wstring(Ask(CB_GETITEMDATA, i)));
    }
    return items;
  }
  LRESULT Selected() const { return Ask(CB_GETCURSEL); }
  void Add(const wchar_t* text) { newest_ = Ask(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text)); }

 private:
  LRESULT Ask(UINT message, LONG index = 0, LPARAM parameter = 0) const {
    return SendMessageW(window_, message, static_cast<WPARAM>(index), parameter);
  }
  HRESULT Tell(UINT message, LONG index = 0, LPARAM parameter = 0) const {
    Ask(message, index, parameter);
    return S_OK;
  }

  HWND window_;
  LRESULT newest_ = -1;
};

class ComboBoxes : public testing::TestWithParam<Face> {
 protected:
  void SetUp() override { catalog.Fill(); }

  Outcome Fill(const wchar_t* member, const std::vector<Value>& more = {}) {
    Outcome outcome;
    {
      std::vector<Value> arguments{Value::Object(&box)};
      arguments.insert(arguments.end(), more.begin(), more.end());
      outcome = Call(zentrel.Get(), member, std::move(arguments));
    }
    EXPECT_EQ(box.references, 1u) << "nothing of the box is kept";
    return outcome;
  }

  using Items = std::vector<std::wstring>;

  TestCatalog catalog;
  ComPointer<_Zentrel> zentrel = NewZentrel();
  WrappedBox box{GetParam()};
};

TEST_P(ComboBoxes, TypesOfSubDevicesComeSortedAndReplaceWhatWasThere) {
  box.Add(L"old");
  EXPECT_EQ(Fill(L"TELIC2EnumDevices").value.AsBool(), VARIANT_TRUE);
  EXPECT_EQ(box.Items(), (Items{L"1 = 0", L"9 = 0", L"10 = 0"}));
}

TEST_P(ComboBoxes, AllMessagesAreOfferedUntilADeviceIsSelected) {
  EXPECT_EQ(Fill(L"TELIC2EnumMessages").value.AsBool(), VARIANT_TRUE);
  const Items items = box.Items();
  ASSERT_EQ(items.size(), 12u);
  EXPECT_EQ(items[0], L"NOP = -1");
  EXPECT_EQ(items[1], L"08 Message 8 = 8");
  EXPECT_EQ(items[11], L"12 Message 18 = 18");
  EXPECT_EQ(box.Selected(), 0) << "NOP has the default's number";
  ASSERT_EQ(Let(zentrel.Get(), L"TELIC2Device", Value::Text(L"1")).result, S_OK);
  EXPECT_EQ(Fill(L"TELIC2EnumMessages", {Value::Long(8)}).value.AsBool(), VARIANT_TRUE);
  EXPECT_EQ(box.Items(), (Items{L"NOP = -1", L"08 Message 8 = 8"}));
  EXPECT_EQ(box.Selected(), 1);
}

TEST_P(ComboBoxes, TestMessagesEndWithTheInvalidOne) {
  ASSERT_EQ(Let(zentrel.Get(), L"TELIC2Device", Value::Text(L"1")).result, S_OK);
  EXPECT_EQ(Fill(L"TELIC2EnumTestMessages", {Value::Long(99)}).value.AsBool(), VARIANT_TRUE);
  EXPECT_EQ(box.Items(), (Items{L"NOP = -1", L"00 Test 0 = 0", L"01 Test 1 = 1", L"02 Test 2 = 2",
                                L"03 Test 3 = 3", L"Invalid = 99"}));
  EXPECT_EQ(box.Selected(), 5);
}

TEST_P(ComboBoxes, NoEntryIsSelectedWhenNoneHasTheDefaultsNumber) {
  EXPECT_EQ(Fill(L"TELIC2EnumMessages", {Value::Long(77)}).value.AsBool(), VARIANT_TRUE);
  EXPECT_EQ(box.Selected(), -1);
}

TEST_P(ComboBoxes, ABoxThatSortsItselfKeepsEachNumberWithItsText) {
  WrappedBox sorted(GetParam(), CBS_DROPDOWNLIST | CBS_SORT);
  EXPECT_EQ(Call(zentrel.Get(), L"TELIC2EnumMessages", {Value::Object(&sorted)}).value.AsBool(),
            VARIANT_TRUE);
  const Items items = sorted.Items();
  EXPECT_EQ(items.front(), L"08 Message 8 = 8");
  EXPECT_EQ(items.back(), L"NOP = -1");
}

TEST_P(ComboBoxes, AListBoxIsLeftAlone) {
  box.members.emplace_back(L"Selected", [](const auto&) { return E_NOTIMPL; });
  box.Add(L"old");
  for (const wchar_t* member :
       {L"TELIC2EnumDevices", L"TELIC2EnumMessages", L"TELIC2EnumTestMessages"}) {
    EXPECT_EQ(Fill(member).value.AsBool(), VARIANT_FALSE);
  }
  EXPECT_EQ(box.Items(), Items{L"old = 0"});
}

TEST_P(ComboBoxes, AnObjectThatLacksAMemberIsNone) {
  box.members.erase(box.members.begin());
  EXPECT_EQ(Fill(L"TELIC2EnumMessages").value.AsBool(), VARIANT_FALSE);
}

TEST_P(ComboBoxes, WhatTheBoxRefusesIsAFaultAndItsTextsAreFreed) {
  box.members[1].second = [](const ScriptedObject::Use& use) {
    return use.Fail(CTL_E_OUTOFMEMORY, L"Box", L"no more items");
  };
  const Outcome outcome = Fill(L"TELIC2EnumDevices");
  EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
  EXPECT_EQ(outcome.scode, kReportedFault);
}

TEST_P(ComboBoxes, TheDualInterfaceFillsTheSameBox) {
  IDispatch* dispatch = &box;
  VARIANT_BOOL filled = VARIANT_FALSE;
  EXPECT_EQ(zentrel->TELIC2EnumDevices(&dispatch, &filled), S_OK);
  EXPECT_EQ(filled, VARIANT_TRUE);
  EXPECT_EQ(dispatch, static_cast<IDispatch*>(&box)) << "the variable still holds the box";
  EXPECT_EQ(box.references, 1u);
  IDispatch* nothing = nullptr;
  EXPECT_EQ(zentrel->TELIC2EnumMessages(&nothing, -1, &filled), S_OK);
  EXPECT_EQ(filled, VARIANT_FALSE);
  EXPECT_EQ(zentrel->TELIC2EnumTestMessages(nullptr, -1, &filled), E_POINTER);
  EXPECT_FALSE(TakenErrorDescription().empty());
}

INSTANTIATE_TEST_SUITE_P(, ComboBoxes, testing::Values(Face::kDispatch, Face::kDispatchEx),
                         [](const auto& tested) {
                           return tested.param == Face::kDispatch
                                      ? std::string("ThroughIDispatch")
                                      : std::string("ThroughIDispatchEx");
                         });

TEST(NoComboBox, NothingAndOtherObjectsAnswerFalse) {
  TestCatalog catalog;
  catalog.Fill();
  const auto zentrel = NewZentrel();
  Value other = Value::Object(zentrel.Get());
  Value typed = Value::TypedReferenceTo(other);
  for (const wchar_t* member :
       {L"TELIC2EnumDevices", L"TELIC2EnumMessages", L"TELIC2EnumTestMessages"}) {
    for (const Value& form : {other, typed, Value::ReferenceTo(other), Value::ReferenceTo(typed),
                              Value::Object(nullptr)}) {
      EXPECT_EQ(Call(zentrel.Get(), member, {form}).value.AsBool(), VARIANT_FALSE);
    }
    EXPECT_EQ(Call(zentrel.Get(), member, {Value::Long(1)}).result, DISP_E_TYPEMISMATCH);
  }
}

}  // namespace
}  // namespace qmzentrel::clients
