// How faults reach a client.
#include <gtest/gtest.h>

#include <string>

#include "tests/clients/com_client.h"
#include "tests/clients/other_apartment.h"

namespace qmzentrel::clients {
namespace {

// 65535, the number under which a reported fault leaves the component.
constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFFu);
const std::wstring kReportedFaultText = L"Application-defined or object-defined error";
constexpr short kNoSuchSignature = 5;

class ErrorInfo : public testing::Test {
 protected:
  ComPointer<_Zentrel> zentrel = NewZentrel();

  HRESULT Fail() {
    LONG signature = 1;
    const HRESULT result = zentrel->get_ZentrelSignature(kNoSuchSignature, &signature);
    EXPECT_EQ(signature, 0);
    return result;
  }

  static ComPointer<IErrorInfo> TakenErrorInfo() {
    ComPointer<IErrorInfo> info;
    if (GetErrorInfo(0, info.Receive()) != S_OK) info.Detach();
    return info;
  }
};

TEST_F(ErrorInfo, AFaultArrivesWithItsNumberSourceAndDescription) {
  EXPECT_EQ(Fail(), kReportedFault);
  const ComPointer<IErrorInfo> info = TakenErrorInfo();
  ASSERT_TRUE(info);
  BSTR text = nullptr;
  EXPECT_EQ(info->GetSource(&text), S_OK);
  EXPECT_EQ(Taken(text), L"QmZentrel");
  EXPECT_EQ(info->GetDescription(&text), S_OK);
  EXPECT_EQ(Taken(text), kReportedFaultText);
  GUID interface_identifier{};
  EXPECT_EQ(info->GetGUID(&interface_identifier), S_OK);
  EXPECT_TRUE(IsEqualIID(interface_identifier, IID__Zentrel));
}

TEST_F(ErrorInfo, TheInterfaceAndItsEarlierNamesPromiseErrorInfo) {
  const auto support = As<ISupportErrorInfo>(zentrel.Get(), IID_ISupportErrorInfo);
  ASSERT_TRUE(support);
  for (const IID& identifier :
       {IID__Zentrel, IID_Zentrel___v0, IID_Zentrel___v1, IID_Zentrel___v2}) {
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(identifier), S_OK);
  }
  for (const IID& identifier : {IID_IUnknown, IID_IConnectionPointContainer, DIID___Zentrel}) {
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(identifier), S_FALSE);
  }
}

TEST_F(ErrorInfo, AnErrorInfoDoesNotOutliveTheCallThatFailed) {
  ASSERT_EQ(Fail(), kReportedFault);
  LONG util = 0;
  EXPECT_EQ(zentrel->get_Util(&util), S_OK);
  EXPECT_FALSE(TakenErrorInfo());
}

TEST_F(ErrorInfo, AnErrorInfoDoesNotOutliveACallOfAnotherObject) {
  const auto other = NewZentrel();
  ASSERT_EQ(Fail(), kReportedFault);
  EXPECT_EQ(other->put_Util(1), S_OK);
  EXPECT_FALSE(TakenErrorInfo());
}

TEST_F(ErrorInfo, AnErrorInfoDoesNotOutliveALateBoundCallOrACreation) {
  ASSERT_EQ(Fail(), kReportedFault);
  EXPECT_EQ(Get(zentrel.Get(), L"Nothing").result, DISP_E_MEMBERNOTFOUND);
  EXPECT_FALSE(TakenErrorInfo());
  ASSERT_EQ(Fail(), kReportedFault);
  const auto other = NewZentrel();
  EXPECT_FALSE(TakenErrorInfo());
  ASSERT_EQ(Fail(), kReportedFault);
  wchar_t name[] = L"NoSuchMember";
  LPOLESTR names[] = {name};
  DISPID id = 0;
  EXPECT_EQ(zentrel->GetIDsOfNames(IID_NULL, names, 1, kEnglish, &id), DISP_E_UNKNOWNNAME);
  EXPECT_FALSE(TakenErrorInfo());
  ASSERT_EQ(Fail(), kReportedFault);
  ComPointer<ITypeInfo> types;
  EXPECT_EQ(zentrel->GetTypeInfo(1, kEnglish, types.Receive()), DISP_E_BADINDEX);
  EXPECT_FALSE(TakenErrorInfo());
}

TEST_F(ErrorInfo, AnErrorInfoOfAnotherThreadIsLeftAlone) {
  ASSERT_EQ(Fail(), kReportedFault);
  OtherApartment(COINIT_APARTMENTTHREADED, [] {
    const auto own = NewZentrel();
    LONG signature = 0;
    EXPECT_EQ(own->get_ZentrelSignature(kNoSuchSignature, &signature), kReportedFault);
    EXPECT_EQ(own->put_Util(1), S_OK);
    EXPECT_FALSE(TakenErrorInfo());
    // One is left behind when the thread ends.
    EXPECT_EQ(own->get_ZentrelSignature(kNoSuchSignature, &signature), kReportedFault);
  }).Join();
  EXPECT_EQ(TakenErrorDescription(), kReportedFaultText);
}

TEST_F(ErrorInfo, ALateBoundFaultFillsTheExceptionAndNothingElse) {
  const Outcome outcome = Get(zentrel.Get(), L"ZentrelSignature", {Value::Short(kNoSuchSignature)});
  EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
  EXPECT_EQ(outcome.scode, kReportedFault);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.source, L"QmZentrel");
  EXPECT_EQ(outcome.description, kReportedFaultText);
  EXPECT_EQ(outcome.value.Type(), VT_EMPTY);
  EXPECT_FALSE(TakenErrorInfo());
}

TEST_F(ErrorInfo, ALateBoundFaultNeedsNoPlaceToBeToldIn) {
  Value index = Value::Short(kNoSuchSignature);
  DISPPARAMS parameters{&index.Raw(), nullptr, 1, 0};
  EXPECT_EQ(zentrel->Invoke(0x6803000B, IID_NULL, kEnglish, DISPATCH_PROPERTYGET, &parameters,
                            nullptr, nullptr, nullptr),
            DISP_E_EXCEPTION);
}

TEST_F(ErrorInfo, AResultWithoutAPlaceIsRefusedWithAWord) {
  EXPECT_EQ(zentrel->get_Util(nullptr), E_POINTER);
  EXPECT_FALSE(TakenErrorDescription().empty());
  EXPECT_EQ(zentrel->DeviceOpen(0, VARIANT_TRUE, nullptr), E_POINTER);
  EXPECT_EQ(zentrel->Status(S_OKAY, nullptr), E_POINTER);
}

TEST_F(ErrorInfo, AFaultLeavesTheObjectUsable) {
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(Fail(), kReportedFault);
  LONG signature = 1;
  EXPECT_EQ(zentrel->get_ZentrelSignature(1, &signature), S_OK);
  EXPECT_EQ(signature, 0);
}

}  // namespace
}  // namespace qmzentrel::clients
