// The members of the class as published, written down by hand once more: what clients were built
// against.
#pragma once

#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <vector>

namespace qmzentrel::shell {

enum class Kind { kMethod, kGet, kGetLet, kLet };

struct PublishedParameter {
  const wchar_t* name;
  VARTYPE type;
  bool optional = false;
};

inline constexpr VARTYPE kLongs = VT_BYREF | VT_ARRAY | VT_I4;
inline constexpr VARTYPE kObject = VT_BYREF | VT_DISPATCH;

struct PublishedMember {
  const wchar_t* name;
  Kind kind;
  DISPID id;
  VARTYPE type;  // of the result, or of the value that is let
  std::vector<PublishedParameter> parameters;
};

// In slot order; the get procedure of a property stands before its let procedure.
inline const std::vector<PublishedMember> kPublishedMembers{
    {L"BoxStatus", Kind::kMethod, 0x6003001E, VT_I4, {}},
    {L"ReadXpdr", Kind::kMethod, 0x6003001F, VT_I4, {}},
    {L"ResetXpdr", Kind::kMethod, 0x60030020, VT_I4, {}},
    {L"WriteXpdr", Kind::kMethod, 0x60030021, VT_I4, {}},
    {L"IDToggle", Kind::kGetLet, 0x6803001A, VT_BOOL, {}},
    {L"MIFSelect", Kind::kGetLet, 0x68030019, VT_BOOL, {}},
    {L"DeviceMIF", Kind::kGetLet, 0x68030018, VT_I4, {}},
    {L"MIFName", Kind::kGet, 0x68030017, VT_BSTR, {}},
    {L"Util", Kind::kGetLet, 0x68030016, VT_I4, {}},
    {L"Xpdr", Kind::kGetLet, 0x68030015, VT_I4, {}},
    {L"Tamper", Kind::kGetLet, 0x68030014, VT_I4, {}},
    {L"Reading", Kind::kGetLet, 0x68030013, VT_I4, {}},
    {L"PLLWarmup", Kind::kGetLet, 0x68030012, VT_I4, {}},
    {L"PLLWarmUpName", Kind::kGet, 0x68030011, VT_BSTR, {}},
    {L"TXI", Kind::kGetLet, 0x68030010, VT_I4, {}},
    {L"TXIName", Kind::kGet, 0x6803000F, VT_BSTR, {}},
    {L"MSI", Kind::kGetLet, 0x6803000E, VT_I4, {}},
    {L"TravonelVersion", Kind::kGet, 0x6803000D, VT_BSTR, {}},
    {L"ZentrelVersion", Kind::kGet, 0x6803000C, VT_BSTR, {}},
    {L"ZentrelSignature", Kind::kGet, 0x6803000B, VT_I4, {{L"Index", VT_I2}}},
    {L"BatteryVoltage", Kind::kGet, 0x6803000A, VT_R4, {}},
    {L"PowerTimeout", Kind::kGetLet, 0x68030009, VT_I4, {}},
    {L"VDelay", Kind::kGetLet, 0x68030008, VT_I4, {}},
    {L"Status", Kind::kMethod, 0x60030027, VT_BSTR, {{L"Code", VT_I4}}},
    {L"PowerManagement", Kind::kLet, 0x68030007, VT_BOOL, {}},
    {L"DeviceOpen",
     Kind::kMethod,
     0x60030028,
     VT_I4,
     {{L"Port", VT_I4}, {L"MaintainSupply", VT_BOOL, true}}},
    {L"DeviceInit", Kind::kMethod, 0x60030029, VT_I4, {}},
    {L"DeviceClose", Kind::kMethod, 0x6003002A, VT_I4, {}},
    {L"Power", Kind::kLet, 0x68030006, VT_BOOL, {}},
    {L"Name", Kind::kGet, 0x68030005, VT_BSTR, {{L"RegRootKey", VT_BSTR}, {L"Index", VT_I4}}},
    {L"TELIC2Read",
     Kind::kMethod,
     0x6003002F,
     VT_I4,
     {{L"NumMessages", VT_I4}, {L"MessageIDs", kLongs}, {L"MessageData", kLongs}}},
    {L"TELIC2Write",
     Kind::kMethod,
     0x60030030,
     VT_I4,
     {{L"NumMessages", VT_I4}, {L"MessageIDs", kLongs}, {L"MessageData", kLongs}}},
    {L"TELIC2Test",
     Kind::kMethod,
     0x60030031,
     VT_I4,
     {{L"NumMessages", VT_I4}, {L"MessageIDs", kLongs}, {L"MessageData", kLongs}}},
    {L"TELIC2Device", Kind::kGetLet, 0x68030004, VT_BSTR, {}},
    {L"TELIC2EnumDevices", Kind::kMethod, 0x60030032, VT_BOOL, {{L"cbo", kObject}}},
    {L"TELIC2EnumMessages",
     Kind::kMethod,
     0x60030033,
     VT_BOOL,
     {{L"cbo", kObject}, {L"Default", VT_I4, true}}},
    {L"TELIC2_Length", Kind::kGet, 0x68030003, VT_I4, {{L"Index", VT_I4}}},
    {L"TELIC2EnumTestMessages",
     Kind::kMethod,
     0x60030034,
     VT_BOOL,
     {{L"cbo", kObject}, {L"Default", VT_I4, true}}},
    {L"TELIC2Test_RdLength", Kind::kGet, 0x68030001, VT_I4, {{L"Index", VT_I4}}},
    {L"TELIC2Test_WrLength", Kind::kGet, 0x68030000, VT_I4, {{L"Index", VT_I4}}},
    {L"Freq_A2", Kind::kGetLet, 0x68030039, VT_I4, {}},
    {L"Freq_A1", Kind::kGetLet, 0x68030038, VT_I4, {}},
    {L"Freq_A0", Kind::kGetLet, 0x68030037, VT_I4, {}},
    {L"Clock_A", Kind::kGetLet, 0x68030036, VT_I4, {}},
    {L"PA_Power", Kind::kGetLet, 0x68030035, VT_I4, {}},
    {L"HasLeak", Kind::kGetLet, 0x6803003B, VT_BOOL, {}},
    {L"LeakThreshold", Kind::kGetLet, 0x6803003A, VT_I4, {}},
    {L"Freq_MSB", Kind::kGetLet, 0x68030042, VT_I4, {}},
    {L"Freq_MID", Kind::kGetLet, 0x68030041, VT_I4, {}},
    {L"Freq_LSB", Kind::kGetLet, 0x68030040, VT_I4, {}},
    {L"BR_MSB", Kind::kGetLet, 0x6803003F, VT_I4, {}},
    {L"BR_LSB", Kind::kGetLet, 0x6803003E, VT_I4, {}},
    {L"EOL_CTRL", Kind::kGetLet, 0x6803003D, VT_I4, {}},
    {L"PA_CTRL", Kind::kGetLet, 0x6803003C, VT_I4, {}},
};

}  // namespace qmzentrel::shell
