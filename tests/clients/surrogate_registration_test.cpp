// The choice of a surrogate process for clients of the other width: what it writes in which view of
// the registry, literally, and that it is made or taken back as a whole.
#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/refused_change.h"
#include "tests/clients/registry_snapshot.h"

namespace qmzentrel::clients {
namespace {

constexpr wchar_t kChoice[] = L"surrogate";

// As the registry has them, and not as the library makes them.
constexpr wchar_t kApplicationKey[] = L"AppID\\{FC8682E2-9814-4065-86F6-49F1E6A8704B}";
constexpr wchar_t kClassKey[] = L"CLSID\\{FC8682E2-9814-4065-86F6-49F1E6A8704B}";
constexpr wchar_t kClassText[] = L"{FC8682E2-9814-4065-86F6-49F1E6A8704B}";
constexpr wchar_t kLibraryText[] = L"{314317B4-1F1E-4FA7-B288-75070A78C531}";
constexpr wchar_t kNumbersMarshaller[] = L"{00020420-0000-0000-C000-000000000046}";
constexpr wchar_t kTableMarshaller[] = L"{00020424-0000-0000-C000-000000000046}";

struct MarshalledInterface {
  const wchar_t* key;
  const wchar_t* name;
  const wchar_t* marshaller;
};
constexpr std::array<MarshalledInterface, 2> kPresentInterfaces{{
    {L"Interface\\{D8137FF8-FBFF-429D-BAB7-798BB06D6779}", L"_Zentrel", kTableMarshaller},
    {L"Interface\\{69D54976-4B55-493E-B5FF-E27DC45E2CA6}", L"__Zentrel", kNumbersMarshaller},
}};

constexpr std::array kInterfaceKeys = {kPresentInterfaces[0].key, kPresentInterfaces[1].key,
                                       L"Interface\\{34776E40-5CE5-464C-A485-A5770C1558D8}",
                                       L"Interface\\{1552820B-733E-46B0-9DA2-0D6E4198EAC6}",
                                       L"Interface\\{E4301989-BFB8-4B9E-B236-A9C26FDA881C}"};

constexpr std::array kBothViews = {RegistryView::k32, RegistryView::k64};

RegistrySnapshot Entries(const std::vector<std::wstring>& keys, RegistryView view) {
  // A 32-bit system has one registry, and takes no wish for another.
  return TakeRegistrySnapshot(keys, HasBothWidths() ? view : RegistryView::kOwn);
}

/// Keys with texts, as a snapshot has them.
class WrittenEntries {
 public:
  WrittenEntries& Key(const std::wstring& key) {
    entries_[L"machine\\" + key] = {};
    return *this;
  }
  WrittenEntries& Text(const std::wstring& key, const std::wstring& name,
                       const std::wstring& text) {
    Key(key);
    auto& data = entries_[L"machine\\" + key + L" : " + name];
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.c_str());
    data.assign(bytes, bytes + (text.size() + 1) * sizeof(wchar_t));
    data.push_back(REG_SZ);
    return *this;
  }
  const RegistrySnapshot& Get() const { return entries_; }

 private:
  RegistrySnapshot entries_;
};

/// The same entries, marked as those of the 64-bit view.
RegistrySnapshot InView64(const RegistrySnapshot& entries) {
  RegistrySnapshot marked;
  for (const auto& [path, data] : entries) marked[L"64 " + path] = data;
  return marked;
}

/// All that the component may have in the registry. The whole of it takes seconds.
RegistrySnapshot ComponentEntries() {
  std::vector<std::wstring> keys{kApplicationKey, kClassKey, L"QmZentrel.Zentrel",
                                 L"TypeLib\\" + std::wstring(kLibraryText)};
  for (const wchar_t* const interface_key : kInterfaceKeys) keys.emplace_back(interface_key);
  RegistrySnapshot entries = Entries(keys, RegistryView::k32);
  entries.merge(InView64(Entries(keys, RegistryView::k64)));
  return entries;
}

/// The names of all keys in those parts of the classes that a component can have some in.
std::set<std::wstring> KeysOfClasses() {
  std::set<std::wstring> names;
  for (const RegistryView view : kBothViews) {
    const std::wstring mark = view == RegistryView::k64 ? L"64 " : L"32 ";
    const REGSAM access = view == RegistryView::k64 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
    for (const std::wstring part : {L"AppID", L"CLSID", L"Interface", L"TypeLib"}) {
      HKEY key = nullptr;
      EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + part).c_str(), 0,
                              KEY_READ | (HasBothWidths() ? access : 0), &key),
                ERROR_SUCCESS);
      std::array<wchar_t, MAX_PATH> name{};
      for (DWORD i = 0; RegEnumKeyW(key, i, name.data(), MAX_PATH) == ERROR_SUCCESS; ++i) {
        names.insert(std::wstring(mark).append(part).append(L"\\").append(name.data()));
      }
      RegCloseKey(key);
    }
  }
  return names;
}

class SurrogateRegistration : public testing::Test {
 protected:
  const Library& library = LoadedLibrary();

  void SetUp() override {
    ASSERT_EQ(library.UnregisterServer(), S_OK);
    ASSERT_EQ(library.RegisterServer(), S_OK);
  }
  void TearDown() override {
    EXPECT_EQ(library.UnregisterServer(), S_OK);
    EXPECT_EQ(library.CanUnloadNow(), S_OK) << "something is left";
  }
};

TEST_F(SurrogateRegistration, IsNoPartOfAPlainRegistration) {
  for (const RegistryView view : kBothViews) {
    EXPECT_EQ(Differences({}, Entries({kApplicationKey}, view)), "");
  }
  EXPECT_EQ(ClassesText(kClassKey, L"AppID"), L"");
}

TEST_F(SurrogateRegistration, AddsTheApplicationAndItsNameUnderTheClassAndNothingElse) {
  const std::set<std::wstring> keys = KeysOfClasses();
  RegistrySnapshot expected = ComponentEntries();
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);

  const RegistrySnapshot application = WrittenEntries()
                                           .Text(kApplicationKey, L"", L"QmZentrel.Zentrel")
                                           .Text(kApplicationKey, L"DllSurrogate", L"")
                                           .Get();
  expected.merge(RegistrySnapshot(application));
  expected.merge(InView64(application));
  // Of the class the 32-bit view only.
  expected.merge(RegistrySnapshot(WrittenEntries().Text(kClassKey, L"AppID", kClassText).Get()));
  if (!HasBothWidths()) {
    expected.merge(InView64(WrittenEntries().Text(kClassKey, L"AppID", kClassText).Get()));
  }
  EXPECT_EQ(Differences(expected, ComponentEntries()), "");

  std::set<std::wstring> keys_then = KeysOfClasses();
  for (const wchar_t* const view : {L"32 ", L"64 "}) {
    EXPECT_EQ(keys_then.erase(std::wstring(view) + kApplicationKey), 1U);
  }
  EXPECT_EQ(keys_then, keys);
}

TEST_F(SurrogateRegistration, GivesThePresentInterfacesTheirMarshallersAndTypesInBothViews) {
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  for (const MarshalledInterface& described : kPresentInterfaces) {
    const std::wstring key = described.key;
    const RegistrySnapshot expected =
        WrittenEntries()
            .Text(key, L"", described.name)
            .Text(key + L"\\ProxyStubClsid", L"", described.marshaller)
            .Text(key + L"\\ProxyStubClsid32", L"", described.marshaller)
            .Text(key + L"\\TypeLib", L"", kLibraryText)
            .Text(key + L"\\TypeLib", L"Version", L"1.3")
            .Get();
    for (const RegistryView view : kBothViews) {
      EXPECT_EQ(Differences(expected, Entries({key}, view)), "");
    }
  }
}

// Of a program for another processor.
BOOL WINAPI AnswerAsWindowsOnArm(HANDLE /*process*/, BOOL* narrow) {
  *narrow = FALSE;
  return TRUE;
}

TEST_F(SurrogateRegistration, WritesBothViewsOnWindowsForArm) {
  const RegistrySnapshot plain = ComponentEntries();
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  const automation::ReplacedImport<decltype(&IsWow64Process)> answer(
      library.module, L"kernel32", "IsWow64Process", AnswerAsWindowsOnArm);
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(Differences(plain, ComponentEntries()), "");
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences({}, ComponentEntries()), "");
  ASSERT_EQ(library.RegisterServer(), S_OK);
}

TEST_F(SurrogateRegistration, WritesTheInterfacesItselfWhereTheyAreMissing) {
  const RegistrySnapshot plain = ComponentEntries();
  for (const REGSAM view : std::initializer_list<REGSAM>{KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
    if (view == KEY_WOW64_64KEY && !HasBothWidths()) continue;
    for (const MarshalledInterface& described : kPresentInterfaces) {
      for (const wchar_t* below : {L"\\TypeLib", L"\\ProxyStubClsid32", L"\\ProxyStubClsid", L""}) {
        const std::wstring key = L"Software\\Classes\\" + std::wstring(described.key) + below;
        ASSERT_EQ(RegDeleteKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), HasBothWidths() ? view : 0, 0),
                  ERROR_SUCCESS);
      }
    }
  }
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  ASSERT_EQ(library.Install(FALSE, kChoice), S_OK);
  EXPECT_EQ(Differences(plain, ComponentEntries()), "");
}

TEST_F(SurrogateRegistration, NamesNoServerButTheLibraryForOneWidth) {
  const RegistrySnapshot before = Entries({kClassKey}, RegistryView::k32);
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  RegistrySnapshot after = Entries({kClassKey}, RegistryView::k32);
  EXPECT_EQ(after.erase(L"machine\\" + std::wstring(kClassKey) + L" : AppID"), 1U);
  EXPECT_EQ(Differences(before, after), "");
  if (HasBothWidths()) {
    EXPECT_EQ(Differences({}, Entries({kClassKey}, RegistryView::k64)), "");
  }
}

TEST_F(SurrogateRegistration, TakenBackLeavesAPlainRegistration) {
  const RegistrySnapshot plain = ComponentEntries();
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  ASSERT_NE(ComponentEntries(), plain);
  ASSERT_EQ(library.Install(FALSE, kChoice), S_OK);
  EXPECT_EQ(Differences(plain, ComponentEntries()), "");
  EXPECT_EQ(library.Install(FALSE, kChoice), S_OK) << "nothing is there any more";
}

TEST_F(SurrogateRegistration, GoesWithTheRegistration) {
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences({}, ComponentEntries()), "");
  const std::set<std::wstring> keys = KeysOfClasses();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  ASSERT_NE(KeysOfClasses(), keys);
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences({}, ComponentEntries()), "");
  EXPECT_EQ(KeysOfClasses(), keys);
}

TEST_F(SurrogateRegistration, OutlastsRegisteringAgain) {
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  const RegistrySnapshot chosen = ComponentEntries();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  EXPECT_EQ(Differences(chosen, ComponentEntries()), "");
}

TEST_F(SurrogateRegistration, NeedsARegisteredComponent) {
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  const RegistrySnapshot without = ComponentEntries();
  EXPECT_EQ(library.Install(TRUE, kChoice), REGDB_E_CLASSNOTREG);
  EXPECT_FALSE(TakenErrorDescription().empty());
  EXPECT_EQ(Differences(without, ComponentEntries()), "");
  EXPECT_EQ(library.Install(FALSE, kChoice), S_OK);
  EXPECT_EQ(Differences(without, ComponentEntries()), "");
}

TEST_F(SurrogateRegistration, IsTheOnlyChoice) {
  ASSERT_EQ(library.Install(TRUE, kChoice), S_OK);
  const RegistrySnapshot chosen = ComponentEntries();
  for (const wchar_t* const other : std::initializer_list<const wchar_t*>{
           nullptr, L"", L"user", L"surrogate ", L"surrogates", L"Surrogate"}) {
    EXPECT_EQ(library.Install(TRUE, other), E_INVALIDARG);
    EXPECT_EQ(library.Install(FALSE, other), E_INVALIDARG);
  }
  EXPECT_EQ(Differences(chosen, ComponentEntries()), "");
}

TEST_F(SurrogateRegistration, WhereverItFailsLeavesThePlainRegistration) {
  constexpr int kLeast = 10;
  const RegistrySnapshot plain = ComponentEntries();
  int number = 1;
  for (;; ++number) {
    const RefusedChange change(library.module, number);
    const HRESULT result = library.Install(TRUE, kChoice);
    if (!change.Happened()) {
      EXPECT_EQ(result, S_OK);
      break;
    }
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_NO_SYSTEM_RESOURCES)) << number;
    EXPECT_EQ(Differences(plain, ComponentEntries()), "") << number;
  }
  EXPECT_GT(number, kLeast);
  EXPECT_NE(Differences(plain, ComponentEntries()), "");
}

}  // namespace
}  // namespace qmzentrel::clients
