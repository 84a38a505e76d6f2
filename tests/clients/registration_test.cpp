// What registering writes, and that it writes all of it or nothing, and for the machine.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "platform/win32/guid_text.h"
#include "tests/clients/com_client.h"
#include "tests/clients/refused_change.h"
#include "tests/clients/registry_snapshot.h"

namespace qmzentrel::clients {
namespace {

using platform::GuidText;

// Of the machine's classes, all that registering touches.
std::vector<std::wstring> KeysOfTheComponent() {
  std::vector<std::wstring> keys{L"QmZentrel.Zentrel", L"CLSID\\" + GuidText(CLSID_Zentrel),
                                 L"TypeLib\\" + GuidText(LIBID_QmZentrel)};
  for (const IID& identifier :
       {IID__Zentrel, DIID___Zentrel, IID_Zentrel___v0, IID_Zentrel___v1, IID_Zentrel___v2}) {
    keys.push_back(L"Interface\\" + GuidText(identifier));
  }
  return keys;
}

RegistrySnapshot EntriesOfTheComponent() {
  return TakeRegistrySnapshot(KeysOfTheComponent());
}

/// Whether the path has the name of the component or one of its identifiers, in whichever view.
bool IsOfTheComponent(const std::wstring& path) {
  return std::ranges::any_of(KeysOfTheComponent(), [&](const std::wstring& key) {
    return path.find(key.substr(key.rfind(L'\\') + 1)) != std::wstring::npos;
  });
}

// Starts and ends without a registration, whatever the prefix had before. Each test looks at what
// registering touches, and all of them together leave the whole as it was.
class Registration : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(LoadedLibrary().UnregisterServer(), S_OK);
    // Every Windows has it; one of the tests makes it where Wine has none.
    HKEY classes = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Classes", &classes), ERROR_SUCCESS);
    RegCloseKey(classes);
    all_before = TakeRegistrySnapshot();
    ASSERT_GT(all_before.size(), 100u);
  }
  static void TearDownTestSuite() {
    EXPECT_EQ(Differences(all_before, TakeRegistrySnapshot()), "");
    all_before.clear();
  }

  const Library& library = LoadedLibrary();

  void SetUp() override { ASSERT_EQ(library.UnregisterServer(), S_OK); }
  void TearDown() override {
    EXPECT_EQ(library.UnregisterServer(), S_OK);
    EXPECT_EQ(library.CanUnloadNow(), S_OK) << "something is left";
  }

  static inline RegistrySnapshot all_before;
  const std::wstring class_key = L"CLSID\\" + GuidText(CLSID_Zentrel);
};

TEST_F(Registration, RegisteringAndUnregisteringLeavesTheRegistryAsFound) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  // Nothing else than what the other tests look at.
  const RegistrySnapshot registered = TakeRegistrySnapshot();
  EXPECT_GT(registered.size(), all_before.size());
  for (const auto& [path, data] : registered) {
    if (all_before.contains(path)) continue;
    EXPECT_PRED1(IsOfTheComponent, path);
  }
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(all_before, TakeRegistrySnapshot()), "");
}

TEST_F(Registration, RegisteringTwiceIsRegisteringOnce) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const RegistrySnapshot once = EntriesOfTheComponent();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(Differences(once, EntriesOfTheComponent()), "");
}

/// A key among the user's classes, and those on the way to it that were not there.
class KeyOfTheUser {
 public:
  explicit KeyOfTheUser(const std::vector<std::wstring>& names) {
    std::wstring path = L"Software\\Classes";
    for (const std::wstring& name : names) {
      path += L'\\' + name;
      HKEY key = nullptr;
      DWORD disposition = 0;
      EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                KEY_READ, nullptr, &key, &disposition),
                ERROR_SUCCESS);
      RegCloseKey(key);
      if (disposition == REG_CREATED_NEW_KEY) made_.push_back(path);
    }
  }
  ~KeyOfTheUser() {
    for (; !made_.empty(); made_.pop_back()) {
      RegDeleteKeyW(HKEY_CURRENT_USER, made_.back().c_str());
    }
  }
  KeyOfTheUser(const KeyOfTheUser&) = delete;
  KeyOfTheUser& operator=(const KeyOfTheUser&) = delete;

 private:
  std::vector<std::wstring> made_;
};

TEST_F(Registration, IsNotHeldAgainstWhatTheSystemNotesMeanwhile) {
  const RegistrySnapshot before = TakeRegistrySnapshotOfUser();
  {
    const KeyOfTheUser noted({L"Local Settings", L"QmZentrel test"});
    EXPECT_EQ(Differences(before, TakeRegistrySnapshotOfUser()), "");
  }
  const KeyOfTheUser other({L"QmZentrel test", L"Local Settings"});
  EXPECT_EQ(TakeRegistrySnapshotOfUser().size(), before.size() + 2);
}

// A copy of the library that is registered from where it lies.
std::wstring RegisteredCopy(HMODULE module) {
  std::array<wchar_t, MAX_PATH> path{};
  std::array<wchar_t, MAX_PATH> folder{};
  GetModuleFileNameW(module, path.data(), MAX_PATH);
  GetTempPathW(MAX_PATH, folder.data());
  std::wstring copy = std::wstring(folder.data()) + L"QmZentrel_moved.dll";
  EXPECT_TRUE(CopyFileW(path.data(), copy.c_str(), FALSE));
  const HMODULE loaded = LoadLibraryW(copy.c_str());
  EXPECT_NE(loaded, nullptr);
  using Register = HRESULT(STDAPICALLTYPE*)();
  const auto entry = reinterpret_cast<Register>(
      reinterpret_cast<void*>(GetProcAddress(loaded, "DllRegisterServer")));
  EXPECT_EQ(entry(), S_OK);
  FreeLibrary(loaded);
  return copy;
}

TEST_F(Registration, ALibraryThatWasMovedAfterRegisteringIsUnregisteredAllTheSame) {
  const RegistrySnapshot before = EntriesOfTheComponent();
  const std::wstring copy = RegisteredCopy(library.module);
  ASSERT_TRUE(DeleteFileW(copy.c_str()));
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "");
}

TEST_F(Registration, ARegistrationThatLostItsLibraryKeyIsUnregisteredAllTheSame) {
  const RegistrySnapshot before = EntriesOfTheComponent();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  ASSERT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"TypeLib\\" + GuidText(LIBID_QmZentrel)).c_str()),
            ERROR_SUCCESS);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "");
}

TEST_F(Registration, UnregisteringTwiceIsNoError) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
}

TEST_F(Registration, TheClassIsFoundByEverythingThatLooksForIt) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(library.module, path.data(), MAX_PATH);
  EXPECT_EQ(ClassesText(class_key + L"\\InprocServer32"), path.data());
  EXPECT_EQ(ClassesText(class_key + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
  EXPECT_EQ(ClassesText(class_key + L"\\ProgID"), L"QmZentrel.Zentrel");
  EXPECT_EQ(ClassesText(class_key + L"\\TypeLib"), GuidText(LIBID_QmZentrel));
  EXPECT_EQ(ClassesText(class_key + L"\\Version"), L"1.3");
  EXPECT_EQ(ClassesText(L"QmZentrel.Zentrel\\CLSID"), GuidText(CLSID_Zentrel));
  for (const IID& identifier : {IID__Zentrel, DIID___Zentrel}) {
    const std::wstring key = L"Interface\\" + GuidText(identifier);
    EXPECT_FALSE(ClassesText(key).empty());
    EXPECT_FALSE(ClassesText(key + L"\\ProxyStubClsid32").empty());
    EXPECT_EQ(ClassesText(key + L"\\TypeLib"), GuidText(LIBID_QmZentrel));
    EXPECT_EQ(ClassesText(key + L"\\TypeLib", L"Version"), L"1.3");
  }
  for (const IID& identifier : {IID_Zentrel___v0, IID_Zentrel___v1, IID_Zentrel___v2}) {
    const std::wstring key = L"Interface\\" + GuidText(identifier);
    EXPECT_FALSE(ClassesText(key).empty());
    EXPECT_FALSE(ClassesText(key + L"\\ProxyStubClsid32").empty());
    EXPECT_EQ(ClassesText(key + L"\\Forward"), GuidText(IID__Zentrel));
  }
  CLSID found{};
  EXPECT_EQ(CLSIDFromProgID(L"QmZentrel.Zentrel", &found), S_OK);
  EXPECT_TRUE(IsEqualCLSID(found, CLSID_Zentrel));
  ComPointer<ITypeLib> types;
  EXPECT_EQ(LoadRegTypeLib(LIBID_QmZentrel, 1, 3, kEnglish, types.Receive()), S_OK);
  EXPECT_EQ(LoadRegTypeLib(LIBID_QmZentrel, 1, 3, LOCALE_NEUTRAL, types.Receive()), S_OK);
  ComPointer<IDispatch> object;
  EXPECT_EQ(CoCreateInstance(CLSID_Zentrel, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                             object.ReceiveVoid()),
            S_OK);
}

// --- All or nothing ---

// A key that lasts only until the system ends takes no lasting keys under it: a registry that
// refuses half way.
class Obstacle {
 public:
  explicit Obstacle(std::wstring key) : key_(std::move(key)) {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, key_.c_str());
    HKEY made = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, key_.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_READ, nullptr, &made, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(made);
  }
  ~Obstacle() { RegDeleteKeyW(HKEY_LOCAL_MACHINE, key_.c_str()); }
  Obstacle(const Obstacle&) = delete;
  Obstacle& operator=(const Obstacle&) = delete;

 private:
  std::wstring key_;
};

TEST_F(Registration, ThatFailsHalfWayLeavesTheRegistryAsFound) {
  const Obstacle obstacle(L"Software\\Classes\\QmZentrel.Zentrel");
  const RegistrySnapshot before = EntriesOfTheComponent();
  EXPECT_EQ(library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
  EXPECT_FALSE(TakenErrorDescription().empty());
  EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "");
}

TEST_F(Registration, ThatFailsHalfWayLeavesAnEarlierOneAsFound) {
  const std::wstring copy = RegisteredCopy(library.module);
  const std::wstring forward = L"Software\\Classes\\Interface\\" + GuidText(IID_Zentrel___v2);
  const Obstacle obstacle(forward);
  const RegistrySnapshot before = EntriesOfTheComponent();
  EXPECT_EQ(library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
  EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "");
  EXPECT_EQ(ClassesText(class_key + L"\\InprocServer32"), copy);
  EXPECT_TRUE(DeleteFileW(copy.c_str()));
}

// How many changes the library wanted to make, each of which has been refused once.
int EachChangeRefusedOnce(const Library& library) {
  const RegistrySnapshot before = EntriesOfTheComponent();
  for (int number = 1;; ++number) {
    HRESULT result = S_OK;
    bool refused = false;
    {
      const RefusedChange change(library.module, number);
      result = library.RegisterServer();
      refused = change.Happened();
    }
    if (!refused) {
      EXPECT_EQ(result, S_OK);
      return number - 1;
    }
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_NO_SYSTEM_RESOURCES)) << number;
    EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "") << number;
  }
}

constexpr int kLeastChanges = 30;

TEST_F(Registration, WhereverItFailsLeavesTheRegistryAsFound) {
  const RegistrySnapshot before = EntriesOfTheComponent();
  EXPECT_GT(EachChangeRefusedOnce(library), kLeastChanges);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "");
}

TEST_F(Registration, WhereverItFailsLeavesAnEarlierOneAsFound) {
  const std::wstring copy = RegisteredCopy(library.module);
  EXPECT_GT(EachChangeRefusedOnce(library), kLeastChanges);
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(library.module, path.data(), MAX_PATH);
  EXPECT_EQ(ClassesText(class_key + L"\\InprocServer32"), path.data());
  EXPECT_TRUE(DeleteFileW(copy.c_str()));
}

// --- For the machine ---

/// A user with the class in classes of his own. HKEY_CLASSES_ROOT leads there, as it does on
/// Windows for every key that he has; Wine knows no classes of a user.
class UserWithTheClass {
 public:
  explicit UserWithTheClass(const std::wstring& class_key) {
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              &classes_, nullptr),
              ERROR_SUCCESS);
    constexpr wchar_t kOwn[] = L"his own";
    for (const std::wstring& key :
         {class_key, class_key + L"\\InprocServer32", std::wstring(L"QmZentrel.Zentrel"),
          L"TypeLib\\" + GuidText(LIBID_QmZentrel) + L"\\1.3",
          L"Interface\\" + GuidText(IID__Zentrel)}) {
      made_.push_back(FirstMissing(key));
      EXPECT_EQ(RegSetKeyValueW(classes_, key.c_str(), nullptr, REG_SZ, kOwn, sizeof kOwn),
                ERROR_SUCCESS);
    }
    EXPECT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, classes_), ERROR_SUCCESS);
  }
  ~UserWithTheClass() {
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    // Nothing else of the user's.
    for (const std::wstring& key : made_) RegDeleteTreeW(classes_, key.c_str());
    RegCloseKey(classes_);
  }
  UserWithTheClass(const UserWithTheClass&) = delete;
  UserWithTheClass& operator=(const UserWithTheClass&) = delete;

 private:
  /// The outermost key on the way to `key` that is not there yet; `key` where all are.
  std::wstring FirstMissing(const std::wstring& key) const {
    for (std::size_t end = key.find(L'\\'); end != std::wstring::npos;
         end = key.find(L'\\', end + 1)) {
      HKEY opened = nullptr;
      const std::wstring outer = key.substr(0, end);
      if (RegOpenKeyExW(classes_, outer.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) {
        return outer;
      }
      RegCloseKey(opened);
    }
    return key;
  }

  static constexpr wchar_t kPath[] = L"Software\\Classes";
  std::vector<std::wstring> made_;
  HKEY classes_ = nullptr;
};

TEST_F(Registration, OfAnotherClassUnderTheNameIsLeftAlone) {
  constexpr wchar_t kKey[] = L"Software\\Classes\\QmZentrel.Zentrel\\CLSID";
  constexpr wchar_t kOther[] = L"{00000000-0000-0000-C000-000000000046}";
  ASSERT_EQ(library.RegisterServer(), S_OK);
  ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, nullptr, REG_SZ, kOther, sizeof kOther),
            ERROR_SUCCESS);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  wchar_t left[64] = {};
  DWORD size = sizeof left;
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kKey, nullptr, RRF_RT_REG_SZ, nullptr, left, &size),
            ERROR_SUCCESS);
  EXPECT_STREQ(left, kOther);
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\QmZentrel.Zentrel");
}

TEST_F(Registration, IsTheMachinesWhereTheUserHasTheClassHimself) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const RegistrySnapshot wanted = EntriesOfTheComponent();
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  const RegistrySnapshot without = EntriesOfTheComponent();

  const UserWithTheClass user(class_key);
  const RegistrySnapshot his = TakeRegistrySnapshotOfUser();
  ASSERT_FALSE(his.empty());
  EXPECT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(Differences(wanted, EntriesOfTheComponent()), "");
  EXPECT_EQ(Differences(his, TakeRegistrySnapshotOfUser()), "");
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(without, EntriesOfTheComponent()), "");
  EXPECT_EQ(Differences(his, TakeRegistrySnapshotOfUser()), "");
}

TEST_F(Registration, DescribesTheTypeLibraryAsTheSystemDoes) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  RegistrySnapshot ours = EntriesOfTheComponent();
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(library.module, path.data(), MAX_PATH);
  ComPointer<ITypeLib> types;
  ASSERT_EQ(LoadTypeLibEx(path.data(), REGKIND_NONE, types.Receive()), S_OK);
  ASSERT_EQ(RegisterTypeLib(types.Get(), path.data(), nullptr), S_OK);
  RegistrySnapshot systems = EntriesOfTheComponent();
  // The system under test adds that the library lies on a disk, which Windows keeps to itself.
  const std::wstring flags = L"machine\\TypeLib\\" + GuidText(LIBID_QmZentrel) + L"\\1.3\\FLAGS : ";
  EXPECT_EQ(ours.erase(flags), 1U);
  EXPECT_EQ(systems.erase(flags), 1U);
  EXPECT_EQ(Differences(ours, systems), "");
}

TEST_F(Registration, LeavesAnotherVersionOfTheTypeLibraryWhenItGoes) {
  const std::wstring versions = L"Software\\Classes\\TypeLib\\" + GuidText(LIBID_QmZentrel);
  constexpr wchar_t kText[] = L"an earlier one";
  ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, (versions + L"\\1.2").c_str(), nullptr, REG_SZ,
                            kText, sizeof kText),
            ERROR_SUCCESS);
  const RegistrySnapshot before = EntriesOfTheComponent();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, EntriesOfTheComponent()), "");
  EXPECT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, versions.c_str()), ERROR_SUCCESS);
}

}  // namespace
}  // namespace qmzentrel::clients
