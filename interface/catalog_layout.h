// How the installer's catalogs are laid out in the registry: keys below HKEY_LOCAL_MACHINE and the
// names of their values. Numbers in names are plain decimals; those of box types and modes are
// hexadecimal.
#pragma once

namespace qmzentrel::catalogs {

/// Has the keys of interfaces, intervals and MSI descriptions below it.
inline constexpr const char* kKernelKey = "SOFTWARE\\QuenmoorComms\\Kernel\\";
/// Names below it, which no MSI description may have.
inline constexpr const char* kInterfacesName = "MIF";
inline constexpr const char* kIntervalsName = "TXI";

/// Has a key for each meter interface, which has one for each transponder version.
inline constexpr const char* kInterfacesKey = "SOFTWARE\\QuenmoorComms\\Kernel\\MIF\\";
/// Has a value for each transmit interval.
inline constexpr const char* kIntervalsKey = "SOFTWARE\\QuenmoorComms\\Kernel\\TXI\\";

/// Has a key for each type of sub-devices.
inline constexpr const char* kDeviceTypesKey = "SOFTWARE\\QuenmoorComms\\TELIC2\\Types";
/// Below the key of a type, with a key for each test message.
inline constexpr const char* kTestMessagesName = "TestMessages";
/// Has a key for each sub-device message.
inline constexpr const char* kMessagesKey = "SOFTWARE\\QuenmoorComms\\TELIC2\\Messages";

/// What concerns the box itself.
inline constexpr const char* kBoxKey = "SOFTWARE\\QuenmoorComms\\Zentrel";
/// Have a value for each box type and each box mode.
inline constexpr const char* kBoxTypesKey = "SOFTWARE\\QuenmoorComms\\Zentrel\\Types";
inline constexpr const char* kBoxModesKey = "SOFTWARE\\QuenmoorComms\\Zentrel\\Modes";

/// Names of values. The unnamed value of a numbered key is the name that people know it by.
namespace value_name {

// Ranges of numbers, in many keys.
inline constexpr const char* kMin = "Min";
inline constexpr const char* kMax = "Max";

// All meter interfaces.
inline constexpr const char* kMask = "Mask";

// A meter interface; the last two also one of its versions.
inline constexpr const char* kEncoder = "Encoder";
inline constexpr const char* kMsi = "MSI";
inline constexpr const char* kIdSources = "IDSources";
inline constexpr const char* kMif = "MIF";

// A version of a meter interface.
inline constexpr const char* kVer = "Ver";

// An MSI description.
inline constexpr const char* kCaption = "Caption";
inline constexpr const char* kDefault = "Default";

// A type of sub-devices.
inline constexpr const char* kCommands = "Commands";

// Messages and test messages of sub-devices: data lengths.
inline constexpr const char* kBytes = "Bytes";
inline constexpr const char* kRBytes = "RBytes";
inline constexpr const char* kPBytes = "PBytes";

// The box.
inline constexpr const char* kSupplyLine = "SupplyLine";

}  // namespace value_name

/// What "SupplyLine" may say, in any case of its letters. Anything else stands for DTR.
namespace supply_line {

inline constexpr const char* kDtr = "DTR";
inline constexpr const char* kRts = "RTS";
inline constexpr const char* kBoth = "BOTH";

}  // namespace supply_line
}  // namespace qmzentrel::catalogs
