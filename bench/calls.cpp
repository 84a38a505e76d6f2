// What a call into the component costs: early bound, late bound, and what the same would cost if it
// left late binding to the system's type information.
#include <string>
#include <string_view>
#include <vector>

#include "bench/bare_object.h"
#include "bench/measure.h"
#include "tests/clients/com_client.h"
#include "tests/clients/published_members.h"

namespace {

using namespace qmzentrel::bench;
using qmzentrel::platform::ComPointer;

constexpr int kRounds = 101;
// Calls per sample.
constexpr unsigned kFast = 20000;  // some nanoseconds each
constexpr unsigned kSlow = 200;    // up to some microseconds each

// The side of the dual interface with slots: through it the system calls the object itself, where
// the dispatch side would only call the object's own Invoke.
ComPointer<ITypeInfo> SlotsOf(IDispatch* object) {
  ComPointer<ITypeInfo> dispatch_side;
  HREFTYPE slots_reference = 0;
  ComPointer<ITypeInfo> slots;
  Require(
      object->GetTypeInfo(0, LOCALE_SYSTEM_DEFAULT, dispatch_side.Receive()) == S_OK &&
          dispatch_side->GetRefTypeOfImplType(static_cast<UINT>(-1), &slots_reference) == S_OK &&
          dispatch_side->GetRefTypeInfo(slots_reference, slots.Receive()) == S_OK,
      "no type information");
  return slots;
}

constexpr LONG kUtility = 42;

void RequireUtility(HRESULT result, const VARIANT& value) {
  Require(result == S_OK && V_VT(&value) == VT_I4 && V_I4(&value) == kUtility, "a get of Util");
}

void MeasureGet(_Zentrel* zentrel, ITypeInfo* slots, BareObject* bare) {
  const DISPID util = qmzentrel::clients::IdOf(zentrel, L"Util");
  const auto through_type_info = [=] {
    DISPPARAMS none{};
    VARIANT value;
    VariantInit(&value);
    const HRESULT result =
        slots->Invoke(zentrel, util, DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
    RequireUtility(result, value);
  };
  const auto late_bound = [=] {
    DISPPARAMS none{};
    VARIANT value;
    VariantInit(&value);
    const HRESULT result = zentrel->Invoke(util, IID_NULL, LOCALE_SYSTEM_DEFAULT,
                                           DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
    RequireUtility(result, value);
  };
  const auto early_bound = [=] {
    LONG value = 0;
    Require(zentrel->get_Util(&value) == S_OK && value == kUtility, "get_Util");
  };
  const auto bare_get = [=] {
    LONG value = 0;
    Require(bare->get_Number(&value) == S_OK && value == kUtility, "get_Number");
  };
  Measure({.title = "A get of Util",
           .unit = kNanoseconds,
           .rounds = kRounds,
           .ways = {Repeated("ITypeInfo::Invoke on the object", kSlow, through_type_info),
                    Repeated("late bound: Invoke of the component", kFast, late_bound),
                    Repeated("early bound: get_Util of the component", kFast, early_bound),
                    Repeated("early bound: a bare object", kFast, bare_get)}});
}

void MeasureName(_Zentrel* zentrel, ITypeInfo* slots, std::wstring name, const char* title) {
  const DISPID expected = qmzentrel::clients::IdOf(zentrel, name);
  Require(expected != DISPID_UNKNOWN, "an unknown name");
  const auto in_type_info = [=]() mutable {
    LPOLESTR names[] = {name.data()};
    DISPID id = DISPID_UNKNOWN;
    slots->GetIDsOfNames(names, 1, &id);
    Require(id == expected, "ITypeInfo::GetIDsOfNames");
  };
  const auto in_component = [=]() mutable {
    LPOLESTR names[] = {name.data()};
    DISPID id = DISPID_UNKNOWN;
    zentrel->GetIDsOfNames(IID_NULL, names, 1, LOCALE_SYSTEM_DEFAULT, &id);
    Require(id == expected, "GetIDsOfNames");
  };
  Measure({.title = title,
           .unit = kNanoseconds,
           .rounds = kRounds,
           .ways = {Repeated("ITypeInfo::GetIDsOfNames", kSlow, in_type_info),
                    Repeated("GetIDsOfNames of the component", kFast, in_component)}});
}

// Once each, as a script does that uses them all.
void MeasureAllNames(_Zentrel* zentrel, ITypeInfo* slots) {
  std::vector<std::wstring> all;
  all.reserve(std::size(qmzentrel::clients::kPublishedMembers));
  for (const auto& member : qmzentrel::clients::kPublishedMembers) all.emplace_back(member.name);
  const auto members = static_cast<unsigned>(all.size());
  // The next one, in turn.
  const auto next = [](std::vector<std::wstring>& names, std::size_t& place) {
    return names[place = (place + 1) % names.size()].data();
  };
  const auto in_type_info = [=, place = std::size_t{0}]() mutable {
    LPOLESTR names[] = {next(all, place)};
    DISPID id = DISPID_UNKNOWN;
    slots->GetIDsOfNames(names, 1, &id);
    Require(id != DISPID_UNKNOWN, "ITypeInfo::GetIDsOfNames");
  };
  const auto in_component = [=, place = std::size_t{0}]() mutable {
    LPOLESTR names[] = {next(all, place)};
    DISPID id = DISPID_UNKNOWN;
    zentrel->GetIDsOfNames(IID_NULL, names, 1, LOCALE_SYSTEM_DEFAULT, &id);
    Require(id != DISPID_UNKNOWN, "GetIDsOfNames");
  };
  Measure({.title = "The identifiers of all members in turn, for each",
           .unit = kNanoseconds,
           .rounds = kRounds,
           .ways = {Repeated("ITypeInfo::GetIDsOfNames", members, in_type_info),
                    Repeated("GetIDsOfNames of the component", 200 * members, in_component)}});
}

void MeasureErrorFrame(_Zentrel* zentrel) {
  const auto without = [=] {
    LONG value = 0;
    Require(zentrel->get_PowerTimeout(&value) == S_OK, "PowerTimeout");
  };
  const auto framed = [=] {
    LONG value = 0;
    Require(zentrel->get_ZentrelSignature(0, &value) == S_OK, "ZentrelSignature");
  };
  const auto framed_with_conversion = [=] {
    LONG value = 0;
    Require(zentrel->get_VDelay(&value) == S_OK, "VDelay");
  };
  Measure(
      {.title = "The error frame: early-bound gets with and without",
       .unit = kNanoseconds,
       .rounds = kRounds,
       .ways = {Repeated("without: PowerTimeout", kFast, without),
                Repeated("framed: ZentrelSignature(0)", kFast, framed),
                Repeated("framed: VDelay, a conversion in it", kFast, framed_with_conversion)}});
}

}  // namespace

int main() {
  const auto zentrel = qmzentrel::clients::NewZentrel();
  Require(zentrel->put_Util(kUtility) == S_OK, "put_Util");
  const auto slots = SlotsOf(zentrel.Get());

  ComPointer<IClassFactory> factory;
  ComPointer<BareObject> bare;
  Require(GetBareClassObject(IID_IClassFactory, factory.ReceiveVoid()) == S_OK &&
              factory->CreateInstance(nullptr, kBareInterface, bare.ReceiveVoid()) == S_OK,
          "no bare object");

  MeasureGet(zentrel.Get(), slots.Get(), bare.Get());
  MeasureName(zentrel.Get(), slots.Get(), L"BoxStatus", "The identifier of BoxStatus, the first");
  MeasureName(zentrel.Get(), slots.Get(), L"Util", "The identifier of Util");
  MeasureName(zentrel.Get(), slots.Get(), L"PA_CTRL", "The identifier of PA_CTRL, the last");
  MeasureAllNames(zentrel.Get(), slots.Get());
  MeasureErrorFrame(zentrel.Get());
}
