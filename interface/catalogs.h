// The numbered entries of the installer's catalogs in the registry: ranges, names, and the lists of
// meter interfaces and transmit intervals. Read afresh with each call; a missing key or value is
// never an error.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "interface/catalog_layout.h"
#include "support/modCOM_Registry.h"

namespace qmzentrel::catalogs {

/// Transmit-interval indices are 0 to 15: the transponder has four bits for them.
inline constexpr std::int32_t kLastInterval = 15;

/// Receives the entries of a list in ascending order of their numbers.
using AddEntry = std::function<void(std::int32_t number, const std::string& name)>;

/// Numbers from `first` to `last`, both included; none when `last` is below `first`.
struct Range {
  std::int32_t first = 0;
  std::int32_t last = -1;
};

/// A list goes through no more numbers than this from the first of its range on, and no more names
/// are loaded: what lies beyond is left out. Far more than a transponder or a frame can hold, but a
/// range is whatever somebody has written, and each number is looked up.
inline constexpr std::int32_t kMostNumbers = 4096;

/// The last number of the range that is looked up.
std::int32_t LastLookedUp(const Range& range);

/// "Min" to "Max" of a key. Empty when either is missing or no number.
Range ReadRange(const modCOM_Registry::OpenKey& key);

/// The unnamed value of the key that has the number `number` below `parent`, or `absent`.
std::string ReadName(const modCOM_Registry::OpenKey& parent, std::int32_t number,
                     const std::string& absent);

/// The same below a path under HKEY_LOCAL_MACHINE, with or without a backslash at its end.
std::string ReadName(const std::string& path, std::int32_t number, const std::string& absent);

/// Whether bit `number` of `mask` is set. There is no bit below 0; from 31 on 2 to the power of
/// `number` is no 32-bit number, which is error 6.
bool HasBit(std::int32_t mask, std::int32_t number);

/// The meter interfaces from "Min" to "Max" whose bit in "Mask" is set. One without a name is
/// "Unknown". Error 6 at interface 31, after the entries before it have been added.
void OfferInterfaces(const AddEntry& add);

/// The transmit intervals from "Min" to "Max", at most kMostNumbers. One without a name is
/// "Unknown".
void OfferIntervals(const AddEntry& add);

}  // namespace qmzentrel::catalogs
