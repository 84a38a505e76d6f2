// The library as a COM server: entries, identity, life, file.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tests/clients/com_client.h"
#include "tests/clients/component_version.h"

namespace qmzentrel::clients {
namespace {

class ComServer : public testing::Test {
 protected:
  const Library& library = LoadedLibrary();

  void TearDown() override { EXPECT_EQ(library.CanUnloadNow(), S_OK) << "something is left"; }
};

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

TEST_F(ComServer, TheLibraryExportsItsFiveEntriesOnly) {
  const auto* const base = reinterpret_cast<const unsigned char*>(library.module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const DWORD offset =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + offset);
  EXPECT_EQ(exports->NumberOfFunctions, 5u);
  EXPECT_EQ(exports->NumberOfNames, 5u);
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
  std::wstring numbers;
  for (const WORD number : {HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS),
                            HIWORD(fixed->dwFileVersionLS), LOWORD(fixed->dwFileVersionLS)}) {
    numbers += std::to_wstring(number) + L".";
  }
  EXPECT_EQ(numbers, ComponentVersion() + L".0.");
  ASSERT_TRUE(
      VerQueryValueW(data.data(), L"\\StringFileInfo\\040904B0\\FileVersion", &found, &length));
  EXPECT_EQ(static_cast<const wchar_t*>(found), ComponentVersion());
}

}  // namespace
}  // namespace qmzentrel::clients
