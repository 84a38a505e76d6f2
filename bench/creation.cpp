// What it costs to make an object of the component and to let it go again.
#include <functional>

#include "bench/bare_object.h"
#include "bench/measure.h"
#include "tests/shell/com_client.h"

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

}  // namespace

int main() {
  const ClassObject zentrel = [](REFIID riid, void** object) {
    return qmzentrel::shell::LoadedLibrary().GetClassObject(CLSID_Zentrel, riid, object);
  };
  const ClassObject bare = GetBareClassObject;
  // Kept for the whole run: otherwise the first and last object of the process would be measured
  // again and again, which set up and take down what all objects share.
  const auto kept = qmzentrel::shell::NewZentrel();

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
}
