// Checks that several parts of the catalog have in common.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "interface/catalogs.h"
#include "tools/catalog_checker/catalog_key.h"

namespace qmzentrel::catalog_checker {

/// The highest number whose bit the component can test.
std::int32_t HighestBit();

/// The number that a key or value name stands for. The component looks names up in plain decimal,
/// so that "01" and "0x1" stand for none.
std::optional<std::int32_t> PlainNumber(const std::string& name);

/// "8, 9, 12".
std::string Listed(const std::vector<std::int32_t>& numbers);

bool IsWithin(const catalogs::Range& range, std::int32_t number);

/// Whether `name` is one of `names`, whose case does not count in the registry.
bool IsOneOf(const std::string& name, const std::vector<std::string>& names);

/// Whether the key of this name beside the MSI descriptions is that of interfaces or intervals.
bool IsTakenBelowKernel(const std::string& name);

/// The range from "Min" to "Max"; nothing, after a fault, when it is empty or one of them is not
/// sound. `effect` is what an empty range leads to.
std::optional<catalogs::Range> CheckRange(const CatalogKey& key, const std::string& effect);

/// The same for values that have been read and judged already.
std::optional<catalogs::Range> CheckRange(const CatalogKey& key,
                                          const std::optional<std::int32_t>& first,
                                          const std::optional<std::int32_t>& last,
                                          const std::string& effect);

/// The component looks up the numbers of a range one by one; within this one nobody notices.
inline constexpr catalogs::Range kPromptRange{-1, 1000};

/// The `effect` of a range that goes to `end`, with what is looked up of it beyond kPromptRange.
std::string EffectOfEnd(std::int32_t end, const std::string& effect);

/// Judges a value that the simulator looks up for the version chosen: unlike elsewhere, a text that
/// is no number does not count as missing.
std::optional<std::int32_t> CheckVersioned(const CatalogKey& key, const std::string& name,
                                           const Absence& absence);

/// Judges a "Min" below 0 in a list whose entries are chosen by bits.
void CheckBitRange(const CatalogKey& key, const catalogs::Range& range);

/// Bits in the value `name` for which there is no number in the range. -1 stands for all.
void CheckBits(const CatalogKey& key, const std::string& name, std::int32_t bits,
               const catalogs::Range& range);

/// Names of values that nothing reads: all but `known` and the plain decimals in `numbered`.
void CheckValueNames(const CatalogKey& key, const std::vector<std::string>& known,
                     const catalogs::Range& numbered = {});

/// Whether the component's sort fails on sub-keys of these names, in this order.
bool SortFails(std::vector<std::string> names);

/// Names of sub-keys that are sorted: words and numbers do not go together.
void CheckSorting(const CatalogKey& key, const std::vector<std::string>& names);

}  // namespace qmzentrel::catalog_checker
