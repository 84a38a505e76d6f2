#include "com/dispatch_table.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "QmZentrel_h.h"
#include "com/zentrel_object.h"

namespace qmzentrel::com {
namespace {

// --- What the type of a procedure says ---

template <class Pointer>
struct SignatureOf;

template <class... Types>
struct SignatureOf<HRESULT (STDMETHODCALLTYPE _Zentrel::*)(Types...)> {
  using TypeList = std::tuple<Types...>;
  static constexpr std::size_t kCount = sizeof...(Types);
};

template <auto kProcedure, std::size_t kIndex>
using TypeAt = std::tuple_element_t<kIndex, typename SignatureOf<decltype(kProcedure)>::TypeList>;

template <auto kProcedure>
constexpr std::size_t kTypeCount = SignatureOf<decltype(kProcedure)>::kCount;

// True when a parameter or result published as `type` is handed over as a `Type`.
template <class Type>
constexpr bool Carries(VARTYPE type) {
  switch (type) {
    case VT_I2:
    case VT_BOOL:
      return std::is_same_v<Type, std::int16_t>;
    case VT_I4:
      return std::is_same_v<Type, LONG> || std::is_same_v<Type, ::ZentrelStatus>;
    case VT_R4:
      return std::is_same_v<Type, float>;
    case VT_BSTR:
      return std::is_same_v<Type, BSTR>;
    case kLongArrayByReference:
      return std::is_same_v<Type, SAFEARRAY**>;
    case kObjectByReference:
      return std::is_same_v<Type, IDispatch**>;
    default:
      return false;
  }
}

// --- From bound arguments to a call ---

template <class Type>
Type Take(const BoundArgument& argument) {
  if constexpr (std::is_same_v<Type, std::int16_t>) {
    return argument.ShortNumber();
  } else if constexpr (std::is_same_v<Type, LONG>) {
    return argument.Number();
  } else if constexpr (std::is_same_v<Type, ::ZentrelStatus>) {
    return static_cast<::ZentrelStatus>(argument.Number());
  } else if constexpr (std::is_same_v<Type, BSTR>) {
    return argument.Text();
  } else {
    static_assert(std::is_same_v<Type, IDispatch**>);
    return argument.Object();
  }
}

// Where a procedure puts its result. The values of a variant share one place.
template <class Type>
Type* ResultPlace(VARIANT& result) {
  return reinterpret_cast<Type*>(&V_I4(&result));
}

template <auto kProcedure>
HRESULT CallWithResult(ZentrelObject& object, const BoundArgument* arguments, VARIANT& result) {
  constexpr std::size_t kParameters = kTypeCount<kProcedure> - 1;
  using Result = std::remove_pointer_t<TypeAt<kProcedure, kParameters>>;
  return [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    return (object.*kProcedure)(Take<TypeAt<kProcedure, kIndex>>(arguments[kIndex])...,
                                ResultPlace<Result>(result));
  }
  (std::make_index_sequence<kParameters>());
}

template <auto kProcedure>
HRESULT CallLet(ZentrelObject& object, const BoundArgument* arguments, VARIANT& /*result*/) {
  return (object.*kProcedure)(Take<TypeAt<kProcedure, 0>>(arguments[0]));
}

// Late-bound clients have arrays of more forms than the procedures of the dual interface take.
template <ZentrelObject::MessageCommand kCommand>
HRESULT CallMessages(ZentrelObject& object, const BoundArgument* arguments, VARIANT& result) {
  return object.RunMessages(kCommand, arguments[0].Number(), arguments[1].Array(),
                            arguments[2].Array(), ResultPlace<::ZentrelStatus>(result));
}

// --- Rows of the table, checked against the type of the procedure ---

constexpr void Require(bool condition) {
  if (!condition) throw "The table does not fit the interface.";  // stops the compiler
}

template <auto kProcedure, class... ParameterList>
consteval void CheckSignature(VARTYPE result, ParameterList... parameters) {
  Require(kTypeCount<kProcedure> == sizeof...(parameters) + 1);
  Require(Carries<std::remove_pointer_t<TypeAt<kProcedure, sizeof...(parameters)>>>(result));
  const std::array<Parameter, sizeof...(parameters)> list{parameters...};
  [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    (Require(Carries<TypeAt<kProcedure, kIndex>>(list[kIndex].type)), ...);
  }
  (std::make_index_sequence<sizeof...(parameters)>());
}

template <auto kProcedure, class... ParameterList>
consteval Member Method(DISPID id, const wchar_t* name, VARTYPE result,
                        ParameterList... parameters) {
  CheckSignature<kProcedure>(result, parameters...);
  return {name,
          id,
          {CallWithResult<kProcedure>, result},
          {},
          {},
          {parameters...},
          sizeof...(parameters),
          {}};
}

template <auto kGet, class... ParameterList>
consteval Member ReadOnly(DISPID id, const wchar_t* name, VARTYPE type,
                          ParameterList... parameters) {
  CheckSignature<kGet>(type, parameters...);
  return {name, id, {}, {CallWithResult<kGet>, type}, {}, {parameters...}, sizeof...(parameters),
          {}};
}

template <auto kLet>
consteval Member WriteOnly(DISPID id, const wchar_t* name, VARTYPE type) {
  Require(kTypeCount<kLet> == 1 && Carries<TypeAt<kLet, 0>>(type));
  return {name, id, {}, {}, {CallLet<kLet>, VT_EMPTY}, {}, 0, {nullptr, type}};
}

template <auto kGet, auto kLet>
consteval Member Property(DISPID id, const wchar_t* name, VARTYPE type) {
  Member member = WriteOnly<kLet>(id, name, type);
  member.get = ReadOnly<kGet>(id, name, type).get;
  return member;
}

constexpr Parameter Required(const wchar_t* name, VARTYPE type) {
  return {name, type};
}

constexpr Parameter Optional(const wchar_t* name, VARTYPE type, std::int32_t default_value) {
  return {name, type, true, default_value};
}

constexpr Parameter kNumMessages = Required(L"NumMessages", VT_I4);
constexpr Parameter kMessageIDs = Required(L"MessageIDs", kLongArrayByReference);
constexpr Parameter kMessageData = Required(L"MessageData", kLongArrayByReference);
constexpr Parameter kComboBox = Required(L"cbo", kObjectByReference);
constexpr Parameter kDefaultMessage = Optional(L"Default", VT_I4, -1);
constexpr Parameter kIndex = Required(L"Index", VT_I4);

template <auto kProcedure, ZentrelObject::MessageCommand kCommand>
consteval Member MessageMethod(DISPID id, const wchar_t* name) {
  CheckSignature<kProcedure>(VT_I4, kNumMessages, kMessageIDs, kMessageData);
  return {name, id, {CallMessages<kCommand>, VT_I4},
          {},   {}, {kNumMessages, kMessageIDs, kMessageData},
          3,    {}};
}

// In the order of the interface.
using Z = _Zentrel;
constexpr std::array kMembers{
    Method<&Z::BoxStatus>(0x6003001E, L"BoxStatus", VT_I4),
    Method<&Z::ReadXpdr>(0x6003001F, L"ReadXpdr", VT_I4),
    Method<&Z::ResetXpdr>(0x60030020, L"ResetXpdr", VT_I4),
    Method<&Z::WriteXpdr>(0x60030021, L"WriteXpdr", VT_I4),
    Property<&Z::get_IDToggle, &Z::put_IDToggle>(0x6803001A, L"IDToggle", VT_BOOL),
    Property<&Z::get_MIFSelect, &Z::put_MIFSelect>(0x68030019, L"MIFSelect", VT_BOOL),
    Property<&Z::get_DeviceMIF, &Z::put_DeviceMIF>(0x68030018, L"DeviceMIF", VT_I4),
    ReadOnly<&Z::get_MIFName>(0x68030017, L"MIFName", VT_BSTR),
    Property<&Z::get_Util, &Z::put_Util>(0x68030016, L"Util", VT_I4),
    Property<&Z::get_Xpdr, &Z::put_Xpdr>(0x68030015, L"Xpdr", VT_I4),
    Property<&Z::get_Tamper, &Z::put_Tamper>(0x68030014, L"Tamper", VT_I4),
    Property<&Z::get_Reading, &Z::put_Reading>(0x68030013, L"Reading", VT_I4),
    Property<&Z::get_PLLWarmup, &Z::put_PLLWarmup>(0x68030012, L"PLLWarmup", VT_I4),
    ReadOnly<&Z::get_PLLWarmUpName>(0x68030011, L"PLLWarmUpName", VT_BSTR),
    Property<&Z::get_TXI, &Z::put_TXI>(0x68030010, L"TXI", VT_I4),
    ReadOnly<&Z::get_TXIName>(0x6803000F, L"TXIName", VT_BSTR),
    Property<&Z::get_MSI, &Z::put_MSI>(0x6803000E, L"MSI", VT_I4),
    ReadOnly<&Z::get_TravonelVersion>(0x6803000D, L"TravonelVersion", VT_BSTR),
    ReadOnly<&Z::get_ZentrelVersion>(0x6803000C, L"ZentrelVersion", VT_BSTR),
    ReadOnly<&Z::get_ZentrelSignature>(0x6803000B, L"ZentrelSignature", VT_I4,
                                       Required(L"Index", VT_I2)),
    ReadOnly<&Z::get_BatteryVoltage>(0x6803000A, L"BatteryVoltage", VT_R4),
    Property<&Z::get_PowerTimeout, &Z::put_PowerTimeout>(0x68030009, L"PowerTimeout", VT_I4),
    Property<&Z::get_VDelay, &Z::put_VDelay>(0x68030008, L"VDelay", VT_I4),
    Method<&Z::Status>(0x60030027, L"Status", VT_BSTR, Required(L"Code", VT_I4)),
    WriteOnly<&Z::put_PowerManagement>(0x68030007, L"PowerManagement", VT_BOOL),
    Method<&Z::DeviceOpen>(0x60030028, L"DeviceOpen", VT_I4, Required(L"Port", VT_I4),
                           Optional(L"MaintainSupply", VT_BOOL, VARIANT_TRUE)),
    Method<&Z::DeviceInit>(0x60030029, L"DeviceInit", VT_I4),
    Method<&Z::DeviceClose>(0x6003002A, L"DeviceClose", VT_I4),
    WriteOnly<&Z::put_Power>(0x68030006, L"Power", VT_BOOL),
    ReadOnly<&Z::get_Name>(0x68030005, L"Name", VT_BSTR, Required(L"RegRootKey", VT_BSTR), kIndex),
    MessageMethod<&Z::TELIC2Read, &Zentrel::TELIC2Read>(0x6003002F, L"TELIC2Read"),
    MessageMethod<&Z::TELIC2Write, &Zentrel::TELIC2Write>(0x60030030, L"TELIC2Write"),
    MessageMethod<&Z::TELIC2Test, &Zentrel::TELIC2Test>(0x60030031, L"TELIC2Test"),
    Property<&Z::get_TELIC2Device, &Z::put_TELIC2Device>(0x68030004, L"TELIC2Device", VT_BSTR),
    Method<&Z::TELIC2EnumDevices>(0x60030032, L"TELIC2EnumDevices", VT_BOOL, kComboBox),
    Method<&Z::TELIC2EnumMessages>(0x60030033, L"TELIC2EnumMessages", VT_BOOL, kComboBox,
                                   kDefaultMessage),
    ReadOnly<&Z::get_TELIC2_Length>(0x68030003, L"TELIC2_Length", VT_I4, kIndex),
    Method<&Z::TELIC2EnumTestMessages>(0x60030034, L"TELIC2EnumTestMessages", VT_BOOL, kComboBox,
                                       kDefaultMessage),
    ReadOnly<&Z::get_TELIC2Test_RdLength>(0x68030001, L"TELIC2Test_RdLength", VT_I4, kIndex),
    ReadOnly<&Z::get_TELIC2Test_WrLength>(0x68030000, L"TELIC2Test_WrLength", VT_I4, kIndex),
    Property<&Z::get_Freq_A2, &Z::put_Freq_A2>(0x68030039, L"Freq_A2", VT_I4),
    Property<&Z::get_Freq_A1, &Z::put_Freq_A1>(0x68030038, L"Freq_A1", VT_I4),
    Property<&Z::get_Freq_A0, &Z::put_Freq_A0>(0x68030037, L"Freq_A0", VT_I4),
    Property<&Z::get_Clock_A, &Z::put_Clock_A>(0x68030036, L"Clock_A", VT_I4),
    Property<&Z::get_PA_Power, &Z::put_PA_Power>(0x68030035, L"PA_Power", VT_I4),
    Property<&Z::get_HasLeak, &Z::put_HasLeak>(0x6803003B, L"HasLeak", VT_BOOL),
    Property<&Z::get_LeakThreshold, &Z::put_LeakThreshold>(0x6803003A, L"LeakThreshold", VT_I4),
    Property<&Z::get_Freq_MSB, &Z::put_Freq_MSB>(0x68030042, L"Freq_MSB", VT_I4),
    Property<&Z::get_Freq_MID, &Z::put_Freq_MID>(0x68030041, L"Freq_MID", VT_I4),
    Property<&Z::get_Freq_LSB, &Z::put_Freq_LSB>(0x68030040, L"Freq_LSB", VT_I4),
    Property<&Z::get_BR_MSB, &Z::put_BR_MSB>(0x6803003F, L"BR_MSB", VT_I4),
    Property<&Z::get_BR_LSB, &Z::put_BR_LSB>(0x6803003E, L"BR_LSB", VT_I4),
    Property<&Z::get_EOL_CTRL, &Z::put_EOL_CTRL>(0x6803003D, L"EOL_CTRL", VT_I4),
    Property<&Z::get_PA_CTRL, &Z::put_PA_CTRL>(0x6803003C, L"PA_CTRL", VT_I4),
};

// --- Finding a row ---

// Letters of names are compared without case and without any locale: no name has others than those
// of ASCII, and a client's Turkish "i" must not make a name unknown.
constexpr wchar_t Folded(wchar_t letter) {
  return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter - L'A' + L'a') : letter;
}

// An order that is quick to search: by length, and only then by letters.
constexpr int CompareNames(std::wstring_view left, std::wstring_view right) {
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const int difference = Folded(left[i]) - Folded(right[i]);
    if (difference != 0) return difference;
  }
  return 0;
}

using MemberIndex = std::uint8_t;
constexpr MemberIndex kNoMember = 0xFF;
static_assert(kMembers.size() < kNoMember);

struct NamedMember {
  std::wstring_view name;
  MemberIndex index;
};

consteval auto MembersByName() {
  std::array<NamedMember, kMembers.size()> sorted{};
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    sorted[i] = {kMembers[i].name, static_cast<MemberIndex>(i)};
  }
  std::ranges::sort(sorted, [](const NamedMember& left, const NamedMember& right) {
    return CompareNames(left.name, right.name) < 0;
  });
  return sorted;
}

constexpr auto kByName = MembersByName();

// The identifiers are two short runs of numbers, of the methods and of the properties.
constexpr DISPID kFirstMethod = 0x6003001E;
constexpr DISPID kLastMethod = 0x60030034;
constexpr DISPID kFirstProperty = 0x68030000;
constexpr DISPID kLastProperty = 0x68030042;

template <DISPID kFirst, DISPID kLast>
class MembersById {
 public:
  consteval MembersById() {
    indices_.fill(kNoMember);
    for (std::size_t i = 0; i < kMembers.size(); ++i) {
      if (Covers(kMembers[i].id)) indices_[Place(kMembers[i].id)] = static_cast<MemberIndex>(i);
    }
  }

  static constexpr bool Covers(DISPID id) { return id >= kFirst && id <= kLast; }

  constexpr const Member* Find(DISPID id) const {
    const MemberIndex index = indices_[Place(id)];
    return index == kNoMember ? nullptr : &kMembers[index];
  }

 private:
  static constexpr std::size_t Place(DISPID id) { return static_cast<std::size_t>(id - kFirst); }

  std::array<MemberIndex, static_cast<std::size_t>(kLast - kFirst + 1)> indices_{};
};

constexpr MembersById<kFirstMethod, kLastMethod> kMethods;
constexpr MembersById<kFirstProperty, kLastProperty> kProperties;

static_assert(std::ranges::all_of(kMembers, [](const Member& member) {
  return kMethods.Covers(member.id) || kProperties.Covers(member.id);
}));

}  // namespace

const Member* FindMember(DISPID id) {
  if (kProperties.Covers(id)) return kProperties.Find(id);
  if (kMethods.Covers(id)) return kMethods.Find(id);
  return nullptr;
}

const Member* FindMember(std::wstring_view name) {
  std::size_t begin = 0;
  std::size_t end = kByName.size();
  while (begin < end) {
    const std::size_t middle = (begin + end) / 2;
    const int difference = CompareNames(name, kByName[middle].name);
    if (difference == 0) return &kMembers[kByName[middle].index];
    if (difference < 0) {
      end = middle;
    } else {
      begin = middle + 1;
    }
  }
  return nullptr;
}

DISPID FindParameter(const Member& member, std::wstring_view name) {
  const auto parameters = member.Parameters();
  const auto found = std::ranges::find_if(parameters, [name](const Parameter& parameter) {
    return CompareNames(parameter.name, name) == 0;
  });
  return found == parameters.end() ? DISPID_UNKNOWN
                                   : static_cast<DISPID>(found - parameters.begin());
}

}  // namespace qmzentrel::com
