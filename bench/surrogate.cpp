// What a call costs when the object is in the system's surrogate process, against the same call on
// an object in the caller's own.
#include <objbase.h>

#include "bench/box_link.h"
#include "bench/measure.h"
#include "bench/opened_device.h"
#include "tests/clients/com_client.h"

namespace {

using namespace qmzentrel::bench;
using qmzentrel::platform::ComPointer;

constexpr int kRounds = 101;
// Calls per sample.
constexpr unsigned kOwn = 20000;
constexpr unsigned kThrough = 20;

constexpr LONG kUtility = 42;

ComPointer<_Zentrel> NewInSurrogate() {
  ComPointer<_Zentrel> object;
  Require(CoCreateInstance(CLSID_Zentrel, nullptr, CLSCTX_LOCAL_SERVER, IID__Zentrel,
                           object.ReceiveVoid()) == S_OK,
          "no object in a surrogate process: it has to be chosen at the registration");
  return object;
}

void MeasureGet(_Zentrel* own, _Zentrel* through) {
  const auto early_bound = [](_Zentrel* zentrel) {
    return [=] {
      LONG value = 0;
      Require(zentrel->get_Util(&value) == S_OK && value == kUtility, "get_Util");
    };
  };
  Measure({.title = "A get of Util, early bound",
           .unit = kNanoseconds,
           .rounds = kRounds,
           .ways = {Repeated("in its own process", kOwn, early_bound(own)),
                    Repeated("through the surrogate", kThrough, early_bound(through))}});
  const DISPID util = qmzentrel::clients::IdOf(own, L"Util");
  const auto late_bound = [util](_Zentrel* zentrel) {
    return [=] {
      DISPPARAMS none{};
      VARIANT value;
      VariantInit(&value);
      const HRESULT result = zentrel->Invoke(util, IID_NULL, LOCALE_SYSTEM_DEFAULT,
                                             DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
      Require(result == S_OK && V_VT(&value) == VT_I4 && V_I4(&value) == kUtility, "a get of Util");
    };
  };
  Measure({.title = "A get of Util, late bound",
           .unit = kNanoseconds,
           .rounds = kRounds,
           .ways = {Repeated("in its own process", kOwn, late_bound(own)),
                    Repeated("through the surrogate", kThrough, late_bound(through))}});
}

// Each block opens the port, which belongs to one process at a time.
Way Exchanges(const char* name, _Zentrel* zentrel) {
  return {name, [=](Samples& samples) {
            constexpr int kExchanges = 5;
            const OpenedDevice device(zentrel, BoxPort());
            const auto exchange = [=] { MustSucceed(zentrel, &_Zentrel::BoxStatus, "Box Status"); };
            exchange();  // the first one after opening is not like the others
            for (int i = 0; i < kExchanges; ++i) Repeated("", 1, exchange).block(samples);
          }};
}

void MeasureExchange(_Zentrel* own, _Zentrel* through) {
  constexpr int kBlocks = 20;
  Measure({.title = "BoxStatus, bytes take their time at 9600 baud (100 each)",
           .unit = kMicroseconds,
           .rounds = kBlocks,
           .ways = {Exchanges("in its own process", own),
                    Exchanges("through the surrogate", through)}});
}

}  // namespace

int main() {
  {
    const auto own = qmzentrel::clients::NewZentrel();
    const auto through = NewInSurrogate();
    for (_Zentrel* const zentrel : {own.Get(), through.Get()}) {
      Require(zentrel->put_Util(kUtility) == S_OK, "put_Util");
    }
    MeasureGet(own.Get(), through.Get());
    BoxLink().Do("set pace 1");
    MeasureExchange(own.Get(), through.Get());
  }
  CoUninitialize();
}
