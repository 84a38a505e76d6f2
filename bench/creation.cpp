// What it costs to make an object of the component and to let it go again.
#include <array>
#include <functional>
#include <string>

#include "bench/bare_object.h"
#include "bench/measure.h"
#include "tests/clients/com_client.h"
#include "tests/clients/test_catalog.h"

namespace {

using namespace qmzentrel::bench;
using qmzentrel::platform::ComPointer;

constexpr int kRounds = 201;
// Objects per sample.
constexpr unsigned kBare = 1000;
constexpr unsigned kZentrels = 20;

using ClassObject = std::function<HRESULT(REFIID, void**)>;

void MakeOne(IClassFactory* factory, REFIID riid) {
  ComPointer<IUnknown> object;
  Require(factory->CreateInstance(nullptr, riid, object.ReceiveVoid()) == S_OK, "no object");
}

ComPointer<IClassFactory> FactoryOf(const ClassObject& class_object) {
  ComPointer<IClassFactory> factory;
  Require(class_object(IID_IClassFactory, factory.ReceiveVoid()) == S_OK, "no class factory");
  return factory;
}

// Interfaces -1 to 31: more than any transponder can name.
constexpr int kLastInterface = 31;

void FillCatalog(qmzentrel::clients::TestCatalog& catalog) {
  catalog.Fill();
  catalog.Number(L"Kernel\\MIF", L"Max", kLastInterface);
  for (int i = -1; i <= kLastInterface; ++i) {
    const std::wstring number = std::to_wstring(i);
    catalog.Text(L"Kernel\\MIF\\" + number, L"", L"Meter interface number " + number);
  }
}

// A key that is opened, asked for one value and closed.
void AskKey(HKEY root, const char* path, const char* name) {
  HKEY key = nullptr;
  Require(RegOpenKeyExA(root, path, 0, KEY_READ, &key) == ERROR_SUCCESS, "no key");
  std::array<BYTE, 256> data{};
  DWORD size = data.size();
  Require(RegQueryValueExA(key, name, nullptr, nullptr, data.data(), &size) == ERROR_SUCCESS,
          "no value");
  RegCloseKey(key);
}

// The calls without which nobody learns the names: each key opened once, each value asked once.
void ReadCatalogRaw() {
  HKEY interfaces = nullptr;
  HKEY intervals = nullptr;
  std::array<BYTE, 256> data{};
  Require(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\QuenmoorComms\\Kernel\\MIF", 0, KEY_READ,
                        &interfaces) == ERROR_SUCCESS,
          "no interfaces");
  DWORD size = data.size();
  RegQueryValueExA(interfaces, "Max", nullptr, nullptr, data.data(), &size);
  for (int i = -1; i <= kLastInterface; ++i) AskKey(interfaces, std::to_string(i).c_str(), "");
  RegCloseKey(interfaces);
  Require(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\QuenmoorComms\\Kernel\\TXI", 0, KEY_READ,
                        &intervals) == ERROR_SUCCESS,
          "no intervals");
  for (int i = 0; i <= 15; ++i) {
    size = data.size();
    RegQueryValueExA(intervals, std::to_string(i).c_str(), nullptr, nullptr, data.data(), &size);
  }
  RegCloseKey(intervals);
}

}  // namespace

int main() {
  const ClassObject zentrel = [](REFIID riid, void** object) {
    return qmzentrel::clients::LoadedLibrary().GetClassObject(CLSID_Zentrel, riid, object);
  };
  const ClassObject bare = GetBareClassObject;
  // Kept for the whole run: otherwise the first and last object of the process would be measured
  // again and again, which set up and take down what all objects share.
  const auto kept = qmzentrel::clients::NewZentrel();

  const auto anew = [](const ClassObject& class_object, REFIID riid) {
    return [=, &riid] { MakeOne(FactoryOf(class_object).Get(), riid); };
  };
  Measure({.title = "Class factory, object, release, as CoCreateInstance does",
           .unit = kMicroseconds,
           .rounds = kRounds,
           .ways = {Repeated("a bare object", kBare, anew(bare, kBareInterface)),
                    Repeated("Zentrel", kZentrels, anew(zentrel, IID__Zentrel))}});

  const auto again = [](const ClassObject& class_object, REFIID riid) {
    return [factory = FactoryOf(class_object), &riid] { MakeOne(factory.Get(), riid); };
  };
  Measure({.title = "Object and release, with the factory kept",
           .unit = kMicroseconds,
           .rounds = kRounds,
           .ways = {Repeated("a bare object", kBare, again(bare, kBareInterface)),
                    Repeated("Zentrel", kZentrels, again(zentrel, IID__Zentrel))}});

  qmzentrel::clients::TestCatalog catalog;
  FillCatalog(catalog);
  constexpr int kFewRounds = 51;
  Measure({.title = "Object and release, with a catalog of 33 interfaces",
           .unit = kMicroseconds,
           .rounds = kFewRounds,
           .ways = {Repeated("the same registry calls alone", 2, ReadCatalogRaw),
                    Repeated("Zentrel", 2, again(zentrel, IID__Zentrel))}});
}
