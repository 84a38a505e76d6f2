// Names from the catalogs, with the real registry behind them.
#include <gtest/gtest.h>

#include <string>

#include "tests/clients/com_client.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

constexpr HRESULT kReportedFault = static_cast<HRESULT>(0x800AFFFF);

class Catalog : public testing::Test {
 protected:
  static std::wstring NameOf(IDispatch* object, const wchar_t* property) {
    const Outcome outcome = Get(object, property);
    return outcome.result == S_OK ? outcome.value.AsText() : L"(" + outcome.description + L")";
  }
  static std::wstring GenericName(IDispatch* object, const wchar_t* root, LONG index) {
    Outcome outcome = Get(object, L"Name", {Value::Text(root), Value::Long(index)});
    return outcome.result == S_OK ? outcome.value.AsText() : L"(" + outcome.description + L")";
  }

  TestCatalog catalog;
};

TEST_F(Catalog, WithoutOneBothNamesFailAndTheGenericNameIsInvalid) {
  const auto zentrel = NewZentrel();
  for (const wchar_t* name : {L"MIFName", L"TXIName"}) {
    const Outcome outcome = Get(zentrel.Get(), name);
    EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.scode, kReportedFault);
  }
  EXPECT_EQ(GenericName(zentrel.Get(), L"SOFTWARE\\QuenmoorComms\\TELIC2\\Messages", 8),
            L"Invalid");
}

TEST_F(Catalog, ARecordsNumbersHaveTheirNames) {
  catalog.Fill();
  const auto zentrel = NewZentrel();
  EXPECT_EQ(NameOf(zentrel.Get(), L"MIFName"), L"Interface 0");
  EXPECT_EQ(NameOf(zentrel.Get(), L"TXIName"), L"Interval 0");
  ASSERT_EQ(zentrel->put_DeviceMIF(5), S_OK);
  ASSERT_EQ(zentrel->put_TXI(15), S_OK);
  EXPECT_EQ(NameOf(zentrel.Get(), L"MIFName"), L"Interface 5");
  EXPECT_EQ(NameOf(zentrel.Get(), L"TXIName"), L"Interval 15");
  BSTR text = nullptr;
  ASSERT_EQ(zentrel->get_MIFName(&text), S_OK);
  EXPECT_EQ(Taken(text), L"Interface 5");
}

TEST_F(Catalog, AnObjectKeepsTheNamesOfItsCreation) {
  catalog.Fill();
  const auto zentrel = NewZentrel();
  catalog.Text(L"Kernel\\MIF\\0", L"", L"Later");
  EXPECT_EQ(NameOf(zentrel.Get(), L"MIFName"), L"Interface 0");
  EXPECT_EQ(NameOf(NewZentrel().Get(), L"MIFName"), L"Later");
}

TEST_F(Catalog, TheGenericNameTakesARootWithAndWithoutABackslash) {
  catalog.Fill();
  const auto zentrel = NewZentrel();
  for (const wchar_t* root : {L"SOFTWARE\\QuenmoorComms\\TELIC2\\Messages",
                              L"SOFTWARE\\QuenmoorComms\\TELIC2\\Messages\\"}) {
    EXPECT_EQ(GenericName(zentrel.Get(), root, 8), L"Message 8");
  }
}

// Letters that are more than one byte, or a backslash in one of two, where the code page has such.
std::wstring LettersOfTheCodePage() {
  switch (GetACP()) {
    case 932:
      return L"\x8A08\x30BD\x8868";
    case 936:
      return L"\x4E58\x8868\x4E57";
    case 949:
      return L"\xAC00\xB098\xB2E4";
    case 950:
      return L"\x8AAA\x860B\x529F";
    case 1251:
      return L"\x0421\x0447\x0451\x0442\x0447\x0438\x043A";
    case 1256:
      return L"\x0639\x062F\x0627\x062F";
    case CP_UTF8:
      return L"Z\x00E4hler \x0421\x0447 \x8868\x30BD \xD83D\xDE00";
    default:
      return L"Z\x00E4hler f\x00FCr Gr\x00F6\x00DF"
             L"e \x20AC";
  }
}

// The registry keeps every character; the component reads it in the ANSI code page.
TEST_F(Catalog, LettersOfTheCodePageComeThroughWhole) {
  const std::wstring letters = LettersOfTheCodePage();
  catalog.Fill();
  catalog.Text(L"Kernel\\MIF\\0", L"", letters);
  catalog.Text(L"Kernel\\TXI", L"0", letters);
  catalog.Text(letters + L"\\7", L"", letters);
  const auto zentrel = NewZentrel();
  EXPECT_EQ(NameOf(zentrel.Get(), L"MIFName"), letters);
  EXPECT_EQ(NameOf(zentrel.Get(), L"TXIName"), letters);
  EXPECT_EQ(GenericName(zentrel.Get(), (L"SOFTWARE\\QuenmoorComms\\" + letters).c_str(), 7),
            letters);
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (L"SOFTWARE\\QuenmoorComms\\" + letters).c_str());
  ASSERT_EQ(Let(zentrel.Get(), L"TELIC2Device", Value::Text(letters)).result, S_OK);
  EXPECT_EQ(NameOf(zentrel.Get(), L"TELIC2Device"), letters);
}

TEST_F(Catalog, AFaultInLoadingFailsTheCreationAndLeavesNothing) {
  catalog.Text(L"Kernel\\MIF", L"Max", L"-5");
  const auto factory = NewFactory();
  void* created = this;
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &created), kReportedFault);
  EXPECT_EQ(created, nullptr);
  EXPECT_EQ(TakenErrorDescription(), L"Application-defined or object-defined error");
  catalog.Text(L"Kernel\\MIF", L"Max", L"5");
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &created), S_OK);
  static_cast<IDispatch*>(created)->Release();
}

TEST_F(Catalog, LengthsOfMessagesAreReadAfreshEachTime) {
  catalog.Fill();
  const auto zentrel = NewZentrel();
  const auto length = [&](const wchar_t* property, LONG message) {
    return Get(zentrel.Get(), property, {Value::Long(message)}).value.AsLong();
  };
  EXPECT_EQ(length(L"TELIC2_Length", 8), 2);
  EXPECT_EQ(length(L"TELIC2_Length", 17), 4);
  EXPECT_EQ(length(L"TELIC2_Length", 7), 0);
  catalog.Text(L"TELIC2\\Messages\\8", L"Bytes", L"-2");
  EXPECT_EQ(length(L"TELIC2_Length", 8), -2);
  EXPECT_EQ(length(L"TELIC2Test_RdLength", 0), 0) << "no device is selected";
  ASSERT_EQ(Let(zentrel.Get(), L"TELIC2Device", Value::Text(L"1")).result, S_OK);
  EXPECT_EQ(length(L"TELIC2Test_RdLength", 0), 2);
  EXPECT_EQ(length(L"TELIC2Test_RdLength", 3), -1);
  EXPECT_EQ(length(L"TELIC2Test_WrLength", 1), 1);
  EXPECT_EQ(length(L"TELIC2Test_WrLength", 2), 4);
}

}  // namespace
}  // namespace qmzentrel::clients
