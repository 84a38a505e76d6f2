// The library as a COM server: entries, identity, life, registration, file.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tests/shell/com_client.h"
#include "tests/shell/registry_snapshot.h"

namespace qmzentrel::shell {
namespace {

class ComServer : public testing::Test {
 protected:
  const Library& library = LoadedLibrary();

  void TearDown() override { EXPECT_EQ(library.CanUnloadNow(), S_OK) << "something is left"; }
};

std::wstring GuidText(REFGUID guid) {
  std::array<wchar_t, 39> text{};
  StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

// --- The class object ---

TEST_F(ComServer, TheClassObjectIsAFactory) {
  const auto factory = NewFactory();
  EXPECT_TRUE(As<IClassFactory>(factory.Get(), IID_IClassFactory));
  EXPECT_TRUE(As<IUnknown>(factory.Get(), IID_IUnknown));
  EXPECT_FALSE(As<IDispatch>(factory.Get(), IID_IDispatch));
  EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ComServer, OnlyTheOneClassIsOffered) {
  void* object = this;
  EXPECT_EQ(library.GetClassObject(IID__Zentrel, IID_IClassFactory, &object),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  object = this;
  EXPECT_EQ(library.GetClassObject(CLSID_Zentrel, IID_IDispatch, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(library.GetClassObject(CLSID_Zentrel, IID_IClassFactory, nullptr), E_POINTER);
}

TEST_F(ComServer, AggregationIsRefused) {
  const auto factory = NewFactory();
  const auto outer = NewZentrel();
  void* object = this;
  EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(object, nullptr);
}

TEST_F(ComServer, AnUnknownInterfaceLeavesNoObjectBehind) {
  void* object = this;
  EXPECT_EQ(NewFactory()->CreateInstance(nullptr, IID_IStream, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
  EXPECT_EQ(NewFactory()->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ComServer, EachObjectIsIndependent) {
  const auto first = NewZentrel();
  const auto second = NewZentrel();
  ASSERT_EQ(first->put_Util(1), S_OK);
  ASSERT_EQ(second->put_Util(2), S_OK);
  LONG util = 0;
  EXPECT_EQ(first->get_Util(&util), S_OK);
  EXPECT_EQ(util, 1);
}

// --- What keeps the library loaded ---

TEST_F(ComServer, AFactoryKeepsTheLibraryLoaded) {
  auto factory = NewFactory();
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  factory.Reset();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST_F(ComServer, AnObjectKeepsTheLibraryLoaded) {
  auto object = NewZentrel();
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  object.Reset();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST_F(ComServer, EveryLockKeepsTheLibraryLoaded) {
  auto factory = NewFactory();
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  factory.Reset();
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  factory = NewFactory();
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(factory->LockServer(FALSE), E_UNEXPECTED);
  factory.Reset();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST_F(ComServer, AnEnumeratorKeepsTheLibraryLoadedWithoutItsObject) {
  ComPointer<IEnumConnections> enumerator;
  {
    const auto object = NewZentrel();
    const auto container =
        As<IConnectionPointContainer>(object.Get(), IID_IConnectionPointContainer);
    ComPointer<IConnectionPoint> point;
    ASSERT_EQ(container->FindConnectionPoint(DIID___Zentrel, point.Receive()), S_OK);
    ASSERT_EQ(point->EnumConnections(enumerator.Receive()), S_OK);
  }
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  enumerator.Reset();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST_F(ComServer, TypeInformationDoesNotKeepTheLibraryLoaded) {
  ComPointer<ITypeInfo> info;
  {
    const auto object = NewZentrel();
    ASSERT_EQ(object->GetTypeInfo(0, kEnglish, info.Receive()), S_OK);
  }
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
  // And it is there again afterwards.
  const auto object = NewZentrel();
  ComPointer<ITypeInfo> again;
  EXPECT_EQ(object->GetTypeInfo(0, kEnglish, again.Receive()), S_OK);
}

TEST_F(ComServer, ThousandObjectsLeaveNothing) {
  for (int i = 0; i < 1000; ++i) {
    const auto object = NewZentrel();
    ASSERT_EQ(object->put_PowerManagement(VARIANT_TRUE), S_OK);  // with a running timer
  }
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

// --- Identity ---

TEST_F(ComServer, EveryInterfaceLeadsToEveryOther) {
  const auto object = NewZentrel();
  const std::vector<IID> interfaces{IID_IUnknown,           IID_IDispatch,
                                    IID__Zentrel,           IID_Zentrel___v0,
                                    IID_Zentrel___v1,       IID_Zentrel___v2,
                                    IID_ISupportErrorInfo,  IID_IProvideClassInfo,
                                    IID_IProvideClassInfo2, IID_IConnectionPointContainer};
  const auto identity = As<IUnknown>(object.Get(), IID_IUnknown);
  for (const IID& from : interfaces) {
    const auto first = As<IUnknown>(object.Get(), from);
    ASSERT_TRUE(first);
    for (const IID& to : interfaces) EXPECT_TRUE(As<IUnknown>(first.Get(), to));
    EXPECT_EQ(As<IUnknown>(first.Get(), IID_IUnknown).Get(), identity.Get());
  }
}

TEST_F(ComServer, TheEarlierNamesStandForTheInterface) {
  const auto object = NewZentrel();
  for (const IID& name : {IID_Zentrel___v0, IID_Zentrel___v1, IID_Zentrel___v2}) {
    EXPECT_EQ(As<_Zentrel>(object.Get(), name).Get(), object.Get());
  }
}

TEST_F(ComServer, WhatTheObjectIsNotItDoesNotClaim) {
  const auto object = NewZentrel();
  constexpr IID kObjectSafety = {
      0xCB5BDC81, 0x93C1, 0x11CF, {0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64}};
  for (const IID& identifier :
       {IID_IStream, IID_IConnectionPoint, DIID___Zentrel, IID_IMarshal, kObjectSafety}) {
    void* answer = this;
    EXPECT_EQ(object->QueryInterface(identifier, &answer), E_NOINTERFACE);
    EXPECT_EQ(answer, nullptr);
  }
  EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ComServer, TheClassDescribesItself) {
  const auto object = NewZentrel();
  const auto provider = As<IProvideClassInfo2>(object.Get(), IID_IProvideClassInfo2);
  ComPointer<ITypeInfo> info;
  ASSERT_EQ(provider->GetClassInfo(info.Receive()), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
  EXPECT_TRUE(IsEqualGUID(attributes->guid, CLSID_Zentrel));
  info->ReleaseTypeAttr(attributes);
  EXPECT_EQ(provider->GetClassInfo(nullptr), E_POINTER);

  GUID identifier{};
  EXPECT_EQ(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &identifier), S_OK);
  EXPECT_TRUE(IsEqualGUID(identifier, DIID___Zentrel));
  EXPECT_EQ(provider->GetGUID(0, &identifier), E_INVALIDARG);
  EXPECT_TRUE(IsEqualGUID(identifier, GUID_NULL));
  EXPECT_EQ(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, nullptr), E_POINTER);
}

// --- Registration ---

// Starts and ends without a registration, whatever the prefix had before.
class Registration : public ComServer {
 protected:
  void SetUp() override { ASSERT_EQ(library.UnregisterServer(), S_OK); }
  void TearDown() override {
    EXPECT_EQ(library.UnregisterServer(), S_OK);
    ComServer::TearDown();
  }

  const std::wstring class_key = L"CLSID\\" + GuidText(CLSID_Zentrel);
};

TEST_F(Registration, RegisteringAndUnregisteringLeavesTheRegistryAsFound) {
  const RegistrySnapshot before = TakeRegistrySnapshot();
  ASSERT_GT(before.size(), 100u);
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_NE(TakeRegistrySnapshot(), before);
  ASSERT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, TakeRegistrySnapshot()), "");
}

TEST_F(Registration, RegisteringTwiceIsRegisteringOnce) {
  ASSERT_EQ(library.RegisterServer(), S_OK);
  const RegistrySnapshot once = TakeRegistrySnapshot();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  EXPECT_EQ(Differences(once, TakeRegistrySnapshot()), "");
}

// The last key that registering writes, for those who ask for the library in no locale.
TEST_F(Registration, ARegistrationThatFailsAtItsLastKeyLeavesNothing) {
  const RegistrySnapshot before = TakeRegistrySnapshot();
  const std::wstring version = L"TypeLib\\" + GuidText(LIBID_QmZentrel) + L"\\1.3";
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, version.c_str(), 0, nullptr, 0, KEY_READ, nullptr,
                            &key, nullptr),
            ERROR_SUCCESS);
  RegCloseKey(key);
  ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, (version + L"\\0").c_str(), 0, nullptr,
                            REG_OPTION_VOLATILE, KEY_READ, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
  EXPECT_EQ(Differences(before, TakeRegistrySnapshot()), "");
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
  const RegistrySnapshot before = TakeRegistrySnapshot();
  const std::wstring copy = RegisteredCopy(library.module);
  ASSERT_TRUE(DeleteFileW(copy.c_str()));
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, TakeRegistrySnapshot()), "");
}

TEST_F(Registration, ARegistrationThatLostItsLibraryKeyIsUnregisteredAllTheSame) {
  const RegistrySnapshot before = TakeRegistrySnapshot();
  ASSERT_EQ(library.RegisterServer(), S_OK);
  ASSERT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"TypeLib\\" + GuidText(LIBID_QmZentrel)).c_str()),
            ERROR_SUCCESS);
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  EXPECT_EQ(Differences(before, TakeRegistrySnapshot()), "");
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

// A key that lasts only until the system ends takes no lasting keys under it: a registry that
// refuses half way.
TEST_F(Registration, ARegistrationThatFailsHalfWayLeavesNothing) {
  HKEY obstacle = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, L"QmZentrel.Zentrel", 0, nullptr,
                            REG_OPTION_VOLATILE, KEY_READ, nullptr, &obstacle, nullptr),
            ERROR_SUCCESS);
  RegCloseKey(obstacle);
  EXPECT_EQ(library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
  EXPECT_FALSE(TakenErrorDescription().empty());
  RegDeleteKeyW(HKEY_CLASSES_ROOT, L"QmZentrel.Zentrel");
  const RegistrySnapshot after = TakeRegistrySnapshot();
  EXPECT_TRUE(ClassesText(class_key).empty());
  EXPECT_TRUE(std::ranges::none_of(after, [](const auto& entry) {
    return entry.first.find(GuidText(CLSID_Zentrel)) != std::wstring::npos ||
           entry.first.find(GuidText(LIBID_QmZentrel)) != std::wstring::npos ||
           entry.first.find(GuidText(IID_Zentrel___v0)) != std::wstring::npos;
  }));
}

// --- The file ---

// The names in the import table of a loaded module.
std::set<std::string> ImportedLibraries(HMODULE module) {
  const auto* const base = reinterpret_cast<const unsigned char*>(module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD offset =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  std::set<std::string> names;
  for (const auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + offset);
       entry->Name != 0; ++entry) {
    std::string name(reinterpret_cast<const char*>(base + entry->Name));
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    names.insert(name);
  }
  return names;
}

TEST_F(ComServer, TheLibraryImportsOnlyFromTheSystem) {
  const std::set<std::string> system{"advapi32.dll", "comctl32.dll", "gdi32.dll",    "kernel32.dll",
                                     "msvcrt.dll",   "ole32.dll",    "oleaut32.dll", "user32.dll"};
  const std::set<std::string> imported = ImportedLibraries(library.module);
  EXPECT_FALSE(imported.empty());
  for (const std::string& name : imported) EXPECT_TRUE(system.contains(name)) << name;
}

TEST_F(ComServer, TheLibraryExportsItsFourEntriesOnly) {
  const auto* const base = reinterpret_cast<const unsigned char*>(library.module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD offset =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + offset);
  EXPECT_EQ(exports->NumberOfFunctions, 4u);
  EXPECT_EQ(exports->NumberOfNames, 4u);
  EXPECT_STREQ(reinterpret_cast<const char*>(base + exports->Name), "QmZentrel.dll");
}

TEST_F(ComServer, TheFileTellsItsVersion) {
  std::array<wchar_t, MAX_PATH> path{};
  GetModuleFileNameW(library.module, path.data(), MAX_PATH);
  DWORD ignored = 0;
  std::vector<unsigned char> data(GetFileVersionInfoSizeW(path.data(), &ignored));
  ASSERT_FALSE(data.empty());
  ASSERT_TRUE(GetFileVersionInfoW(path.data(), 0, static_cast<DWORD>(data.size()), data.data()));
  void* found = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueW(data.data(), L"\\", &found, &length));
  const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
  EXPECT_EQ(fixed->dwFileVersionMS, 0x00060002u);
  EXPECT_EQ(fixed->dwFileVersionLS, 0u);
  ASSERT_TRUE(
      VerQueryValueW(data.data(), L"\\StringFileInfo\\040904B0\\FileVersion", &found, &length));
  EXPECT_STREQ(static_cast<const wchar_t*>(found), L"6.2.0");
}

}  // namespace
}  // namespace qmzentrel::shell
