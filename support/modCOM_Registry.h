// The one layer through which the component reads and writes the Windows registry. A registry
// failure never raises: lists come back shorter, a read falls back to its default, a write says
// that it failed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry.h"
#include "support/variant.h"

namespace qmzentrel::modCOM_Registry {

/// Root of almost every key that the component knows.
inline constexpr const char* kQuenmoorKey = "SOFTWARE\\QuenmoorComms\\";

/// One entry of a value list. `data` is empty, a text, or a 32-bit number.
struct Reg_KeyValues {
  std::string name;
  Variant data;
};

/// For the error report, which does not show the elements of an array of structures.
std::string DumpVariable(std::string_view name, const std::vector<Reg_KeyValues>& value);

/// `path` as the operating system gets it: every doubled backslash made single in one pass, then
/// one trailing backslash taken off. Callers join parts of which both may bring the backslash.
std::string NormaliseKeyPath(const std::string& path);

/// A key open for reading, as long as the object lives. Reading several values through one saves
/// opening the key for each.
class OpenKey {
 public:
  /// `root` is a root or an open key.
  OpenKey(platform::RegistryKey root, const std::string& path);
  ~OpenKey();
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;

  bool IsOpen() const { return result_ == platform::kRegistrySuccess; }
  /// As a root for keys below this one. Only if it is open.
  platform::RegistryKey Handle() const { return key_; }

 private:
  platform::RegistryKey key_ = 0;
  std::int32_t result_;
};

/// Puts the names of the sub-keys into `keys`, in the registry's own order or sorted by
/// RegKeys_QSort, and returns how many there are.
std::int32_t RegEnumKeys(platform::RegistryKey root, const std::string& path,
                         std::vector<std::string>& keys, bool sort);

/// Puts names and data of the values into `values`, in the registry's own order or sorted by
/// RegValues_QSort, and returns how many there are. The unnamed value is never listed. A list of
/// texts comes as one text, with the zero characters between them; data of other types than text,
/// 32-bit number and list of texts is empty.
std::int32_t RegEnumValues(platform::RegistryKey root, const std::string& path,
                           std::vector<Reg_KeyValues>& values, bool sort);

/// Reads one value into `slot`, whose present type chooses the conversion:
/// - a stored text goes into an empty slot or a text as it is, into a whole number or Boolean as a
///   32-bit number if it reads as one;
/// - a stored 32-bit number goes into an empty slot, a whole number or a Boolean;
/// - a stored list of texts goes into an empty slot or a text, as an array (an empty list as "");
/// - any other stored type leaves the slot as it is and counts as read.
/// True when the value was read and converted. Otherwise false, and the slot holds `default_value`
/// if there is one.
bool RegGetValue(platform::RegistryKey root, const std::string& path, const std::string& name,
                 Variant& slot, const std::optional<Variant>& default_value = std::nullopt);

/// The same from a key opened before; one that could not be opened has no values.
bool RegGetValue(const OpenKey& key, const std::string& name, Variant& slot,
                 const std::optional<Variant>& default_value = std::nullopt);

/// Writes one value, making its key if it is missing. The type of `data` chooses the stored form:
/// Booleans and whole numbers a 32-bit number, an array a list of texts, anything else its text;
/// Empty deletes the value. True when that was done and the key closed.
bool RegSetValue(platform::RegistryKey root, const std::string& path, const std::string& name,
                 const Variant& data);

/// Whether values of a key can be written. Nothing is written to find out: the key is opened for
/// writing, and a missing one counts as one that can be made.
bool RegCanSetValue(platform::RegistryKey root, const std::string& path);

/// Sorts `Keys` from `lngFirst` to `lngLast`, -1 standing for the first and the last of all. A pass
/// whose pivot reads as a number compares numbers, any other pass texts without case; a name that
/// is no number, met in a pass that compares numbers, is error 13 through the frame.
void RegKeys_QSort(std::vector<std::string>& Keys, std::int32_t lngFirst, std::int32_t lngLast);

/// The same by the names of the entries.
void RegValues_QSort(std::vector<Reg_KeyValues>& KeyValues, std::int32_t lngFirst,
                     std::int32_t lngLast);

}  // namespace qmzentrel::modCOM_Registry
