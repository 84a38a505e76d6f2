// What the type library has to say, written down a second time: the tests hold the built library
// against these tables, never against the description it was made from.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <vector>

namespace qmzentrel::type_library {

struct ExpectedType {
  std::wstring name;
  TYPEKIND kind;
  // Of `_Zentrel` those of its virtual-table side: the system's reader takes the mark "OLE
  // Automation" away from the dispatch side of every dual interface.
  unsigned flags;
  std::string version;
  std::wstring help;
  unsigned long help_context;
  std::wstring guid;
};

inline const std::vector<ExpectedType> kExpectedTypes = {
    {L"_Zentrel", TKIND_DISPATCH,
     TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FOLEAUTOMATION |
         TYPEFLAG_FDISPATCHABLE,
     "1.3", L"QmZentrel.Zentrel", 2001, L"{D8137FF8-FBFF-429D-BAB7-798BB06D6779}"},
    {L"Zentrel", TKIND_COCLASS, TYPEFLAG_FCANCREATE, "1.3", L"QmZentrel.Zentrel", 2001,
     L"{FC8682E2-9814-4065-86F6-49F1E6A8704B}"},
    {L"Zentrel___v0", TKIND_ALIAS, TYPEFLAG_FHIDDEN, "1.0", L"", 0,
     L"{34776E40-5CE5-464C-A485-A5770C1558D8}"},
    {L"Zentrel___v1", TKIND_ALIAS, TYPEFLAG_FHIDDEN, "1.1", L"", 0,
     L"{1552820B-733E-46B0-9DA2-0D6E4198EAC6}"},
    {L"Zentrel___v2", TKIND_ALIAS, TYPEFLAG_FHIDDEN, "1.2", L"", 0,
     L"{E4301989-BFB8-4B9E-B236-A9C26FDA881C}"},
    {L"__Zentrel", TKIND_DISPATCH,
     TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE, "1.3",
     L"QmZentrel.Zentrel", 2001, L"{69D54976-4B55-493E-B5FF-E27DC45E2CA6}"},
    {L"MIF_Masks", TKIND_ENUM, 0, "1.0", L"QmZentrel.Zentrel", 2001,
     L"{A7AAF1E3-D3ED-4878-8AB2-1D9DFC1B2AA4}"},
    {L"TELIC2_ElectricFlags", TKIND_ENUM, 0, "1.0", L"QmZentrel.Zentrel", 2001,
     L"{E2F950F4-8FB0-4879-A6A6-B238CD2C1F70}"},
    {L"TELIC2_Commands", TKIND_ENUM, 0, "1.0", L"QmZentrel.Zentrel", 2001,
     L"{50A65AF9-717F-4CB6-AE97-70410387443E}"},
    {L"ZentrelStatus", TKIND_ENUM, 0, "1.0", L"QmZentrel.Zentrel", 2001,
     L"{F69EBB85-36B0-422B-BE85-1964B901B792}"},
};

struct ExpectedConstant {
  std::wstring name;
  long value;
};

struct ExpectedEnumeration {
  std::wstring name;
  std::vector<ExpectedConstant> members;
};

inline const std::vector<ExpectedEnumeration> kExpectedEnumerations = {
    {L"MIF_Masks", {{L"MIF_MASK_TYPE", 15}, {L"MIF_MASK_IDT", 16}, {L"MIF_MASK_2IF", 32}}},
    {L"TELIC2_ElectricFlags",
     {{L"EF_Reverse", 1},
      {L"EF_Flood", 2},
      {L"EF_SensorError", 4},
      {L"EF_NVRAMFailure", 8},
      {L"EF_Tilt", 16},
      {L"EF_Attack", 32}}},
    {L"TELIC2_Commands",
     {{L"T2_ReverseCountTotal", 8},
      {L"T2_ReverseThreshold", 9},
      {L"T2_JitterCount", 10},
      {L"T2_JitterThreshold", 11},
      {L"T2_PreScaleCount", 12},
      {L"T2_ReverseCountContiguous", 13},
      {L"T2_SensorThresholdLow", 14},
      {L"T2_SensorThresholdHigh", 15},
      {L"T2_SensorThresholdFlood", 16},
      {L"T2_HardwareID", 17},
      {L"T2_CentronHID", 18}}},
    {L"ZentrelStatus",
     {{L"S_OKAY", 0},
      {L"S_TIMEOUT", 1},
      {L"S_BAD_RESPONSE", 2},
      {L"S_BAD_PORT", 3},
      {L"S_BAD_SUM", 4},
      {L"S_BAD_DATA", 5},
      {L"S_MSG_TOO_LONG", 6},
      {L"S_BAD_PARAMETER", 7}}},
};

// Which procedures a member has.
enum Procedures : unsigned { kMethod = 1, kGet = 2, kLet = 4 };

struct ExpectedParameter {
  std::string name;
  std::string type;
  unsigned flags;          // PARAMFLAG_
  std::string by_default;  // its default, "" without one
};

inline ExpectedParameter In(std::string name, std::string type) {
  return {std::move(name), std::move(type), PARAMFLAG_FIN, ""};
}

inline ExpectedParameter InOut(std::string name, std::string type) {
  return {std::move(name), type + " by reference", PARAMFLAG_FIN | PARAMFLAG_FOUT, ""};
}

inline ExpectedParameter Optional(std::string name, std::string type, int by_default) {
  return {std::move(name), type, PARAMFLAG_FIN | PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT,
          type + " " + std::to_string(by_default)};
}

struct ExpectedMember {
  std::wstring name;
  unsigned procedures;
  long id;  // DISPID
  std::vector<ExpectedParameter> parameters;
  std::string type;  // what a method or a get procedure returns and a let procedure takes
  unsigned long help_context;
  std::wstring help;
};

inline const std::vector<ExpectedParameter> kMessages = {
    In("NumMessages", "Long"), InOut("MessageIDs", "Long()"), InOut("MessageData", "Long()")};

// The members of `_Zentrel` in the order of the virtual table.
inline const std::vector<ExpectedMember> kExpectedMembers = {
    {L"BoxStatus",
     kMethod,
     0x6003001E,
     {},
     "ZentrelStatus",
     101,
     L"Invokes a 'Box Status' command."},
    {L"ReadXpdr",
     kMethod,
     0x6003001F,
     {},
     "ZentrelStatus",
     113,
     L"Invokes a 'Read Travonel' command."},
    {L"ResetXpdr",
     kMethod,
     0x60030020,
     {},
     "ZentrelStatus",
     2037,
     L"Invokes a 'Reset Travonel' command."},
    {L"WriteXpdr",
     kMethod,
     0x60030021,
     {},
     "ZentrelStatus",
     121,
     L"Invokes a 'Write Travonel' command."},
    {L"IDToggle",
     kGet | kLet,
     0x6803001A,
     {},
     "Boolean",
     2038,
     L"Returns/Sets the state of the 'ID Source Toggle' bit.  "},
    {L"MIFSelect",
     kGet | kLet,
     0x68030019,
     {},
     "Boolean",
     109,
     L"Returns/Sets the state of the 'Secondary Select' bit.  "},
    {L"DeviceMIF",
     kGet | kLet,
     0x68030018,
     {},
     "Long",
     107,
     L"Returns/Sets the selected Meter Interface (MIF) Type.  "},
    {L"MIFName",
     kGet,
     0x68030017,
     {},
     "String",
     2020,
     L"Returns the descriptive name of the current Meter Interface (MIF)."},
    {L"Util", kGet | kLet, 0x68030016, {}, "Long", 120, L"Returns/Sets the Utility Code.  "},
    {L"Xpdr", kGet | kLet, 0x68030015, {}, "Long", 116, L"Returns/Sets the Travonel ID.  "},
    {L"Tamper", kGet | kLet, 0x68030014, {}, "Long", 115, L"Returns/Sets the Tamper Count.  "},
    {L"Reading", kGet | kLet, 0x68030013, {}, "Long", 112, L"Returns/Sets the Reading.  "},
    {L"PLLWarmup",
     kGet | kLet,
     0x68030012,
     {},
     "Long",
     110,
     L"Returns/Sets the PLL WarmUp index.  "},
    {L"PLLWarmUpName",
     kGet,
     0x68030011,
     {},
     "String",
     2026,
     L"Returns the descriptive name of the PLL WarmUp Interval."},
    {L"TXI",
     kGet | kLet,
     0x68030010,
     {},
     "Long",
     118,
     L"Returns/Sets the Transmit Interval (TXI) index.  "},
    {L"TXIName",
     kGet,
     0x6803000F,
     {},
     "String",
     2028,
     L"Returns the descriptive name of the Transmit Interval."},
    {L"MSI",
     kGet | kLet,
     0x6803000E,
     {},
     "Long",
     106,
     L"Returns/Sets the Meter Specific Information (MSI) data.  "},
    {L"TravonelVersion",
     kGet,
     0x6803000D,
     {},
     "String",
     117,
     L"Returns the Travonel (Kernel) software version number."},
    {L"ZentrelVersion",
     kGet,
     0x6803000C,
     {},
     "String",
     102,
     L"Returns the Zentrel software version number."},
    {L"ZentrelSignature",
     kGet,
     0x6803000B,
     {In("Index", "Integer")},
     "Long",
     2048,
     L"Returns the Zentrel box signature."},
    {L"BatteryVoltage",
     kGet,
     0x6803000A,
     {},
     "Single",
     100,
     L"Returns a representation of the Zentrels battery voltage."},
    {L"PowerTimeout",
     kGet | kLet,
     0x68030009,
     {},
     "Long",
     2011,
     L"Returns/Sets the power saving timeout.  "},
    {L"VDelay", kGet | kLet, 0x68030008, {}, "Long", 2078, L"Returns/Sets the Verify Delay.  "},
    {L"Status",
     kMethod,
     0x60030027,
     {In("Code", "ZentrelStatus")},
     "String",
     114,
     L"Returns the description for the supplied status Code."},
    {L"PowerManagement", kLet, 0x68030007, {}, "Boolean", 2092, L"TODO"},
    {L"DeviceOpen",
     kMethod,
     0x60030028,
     {In("Port", "Long"), Optional("MaintainSupply", "Boolean", -1)},
     "ZentrelStatus",
     105,
     L"Opens the communications port."},
    {L"DeviceInit", kMethod, 0x60030029, {}, "ZentrelStatus", 104, L"Initialises the Zentrel."},
    {L"DeviceClose",
     kMethod,
     0x6003002A,
     {},
     "ZentrelStatus",
     103,
     L"Closes the communications port."},
    {L"Power", kLet, 0x68030006, {}, "Boolean", 2093, L""},
    {L"Name",
     kGet,
     0x68030005,
     {In("RegRootKey", "String"), In("Index", "Long")},
     "String",
     2064,
     L"Returns the descriptive name of the Enumerated Value"},
    {L"TELIC2Read", kMethod, 0x6003002F, kMessages, "ZentrelStatus", 2107,
     L"Invokes a TELIC II 'Read' command."},
    {L"TELIC2Write", kMethod, 0x60030030, kMessages, "ZentrelStatus", 2108,
     L"Invokes a TELIC II 'Write' command."},
    {L"TELIC2Test", kMethod, 0x60030031, kMessages, "ZentrelStatus", 2109,
     L"Invokes a TELIC II 'Test' command."},
    {L"TELIC2Device",
     kGet | kLet,
     0x68030004,
     {},
     "String",
     2110,
     L"Returns/Sets the TELIC II device.  "},
    {L"TELIC2EnumDevices",
     kMethod,
     0x60030032,
     {InOut("cbo", "Object")},
     "Boolean",
     2111,
     L"Enumerates the available TELIC II devices"},
    {L"TELIC2EnumMessages",
     kMethod,
     0x60030033,
     {InOut("cbo", "Object"), Optional("Default", "Long", -1)},
     "Boolean",
     2112,
     L"Enumerates the available messages and optionally selects the default value in the ComboBox"},
    {L"TELIC2_Length",
     kGet,
     0x68030003,
     {In("Index", "Long")},
     "Long",
     2113,
     L"Returns the data length of the specified message. Length is -ve for "},
    {L"TELIC2EnumTestMessages",
     kMethod,
     0x60030034,
     {InOut("cbo", "Object"), Optional("Default", "Long", -1)},
     "Boolean",
     2114,
     L"Enumerates the available test messages and optionally selects the default value in the "
     L"ComboBox"},
    {L"TELIC2Test_RdLength",
     kGet,
     0x68030001,
     {In("Index", "Long")},
     "Long",
     2115,
     L"Returns the read data length of the specified test message. -1 => no reply is generated"},
    {L"TELIC2Test_WrLength",
     kGet,
     0x68030000,
     {In("Index", "Long")},
     "Long",
     2116,
     L"Returns the write data length of the specified test message."},
    {L"Freq_A2", kGet | kLet, 0x68030039, {}, "Long", 0, L""},
    {L"Freq_A1", kGet | kLet, 0x68030038, {}, "Long", 0, L""},
    {L"Freq_A0", kGet | kLet, 0x68030037, {}, "Long", 0, L""},
    {L"Clock_A", kGet | kLet, 0x68030036, {}, "Long", 0, L""},
    {L"PA_Power", kGet | kLet, 0x68030035, {}, "Long", 0, L""},
    {L"HasLeak", kGet | kLet, 0x6803003B, {}, "Boolean", 0, L""},
    {L"LeakThreshold", kGet | kLet, 0x6803003A, {}, "Long", 0, L""},
    {L"Freq_MSB", kGet | kLet, 0x68030042, {}, "Long", 0, L""},
    {L"Freq_MID", kGet | kLet, 0x68030041, {}, "Long", 0, L""},
    {L"Freq_LSB", kGet | kLet, 0x68030040, {}, "Long", 0, L""},
    {L"BR_MSB", kGet | kLet, 0x6803003F, {}, "Long", 0, L""},
    {L"BR_LSB", kGet | kLet, 0x6803003E, {}, "Long", 0, L""},
    {L"EOL_CTRL", kGet | kLet, 0x6803003D, {}, "Long", 0, L""},
    {L"PA_CTRL", kGet | kLet, 0x6803003C, {}, "Long", 0, L""},
};

}  // namespace qmzentrel::type_library
