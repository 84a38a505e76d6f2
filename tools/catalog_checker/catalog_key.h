// A key of the catalog under examination. Values are read by the component's own code, so that they
// count as there, as a number or as a text exactly when the component takes them so.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "interface/catalog_layout.h"
#include "support/modCOM_Registry.h"
#include "support/variant.h"
#include "tools/catalog_checker/finding.h"

namespace qmzentrel::catalog_checker {

namespace value_name = catalogs::value_name;

/// What a missing value means.
struct Absence {
  std::optional<Grade> grade;  ///< nothing: it may be missing without a word
  std::string effect;          ///< of a value that is missing or counts as missing
  /// Of a number stored in a type that is not read, where that differs from a missing one.
  std::string effect_unread;
};

Absence Required(std::string effect);
Absence Defaulted(std::string effect);
Absence Optional(std::string effect);

class CatalogKey {
 public:
  /// `path` below HKEY_LOCAL_MACHINE, as the component writes it.
  CatalogKey(const std::string& path, Findings& findings);

  bool IsThere() const { return key_.IsOpen(); }
  CatalogKey SubKey(const std::string& name) const;

  /// Names in the registry's own order; the unnamed value is not among them.
  std::vector<std::string> SubKeyNames() const;
  std::vector<std::string> ValueNames() const;

  bool HasValue(const std::string& name) const;
  /// The value as it is stored; Empty when it is missing or of a type that is not read.
  Variant Value(const std::string& name) const;

  /// Judges a value that has to be a number, and returns it; nothing stands for the component's
  /// default.
  std::optional<std::int32_t> Number(const std::string& name, const Absence& absence) const;

  /// Judges a value that has to be a text, and returns what the component takes; nothing stands
  /// for its default.
  std::optional<std::string> Text(const std::string& name, const Absence& absence) const;

  /// Judges a value that has to be a text of at least one character.
  void Name(const std::string& name, const Absence& absence) const;

  /// `value` is empty for the key as a whole.
  void Fault(const std::string& value, const std::string& problem, const std::string& effect) const;
  void Remark(const std::string& value, const std::string& problem,
              const std::string& effect) const;

  /// What `absence` says of a value or key that has the problem of being missing.
  void Missing(const std::string& value, const std::string& problem, const Absence& absence) const;

  /// The fault of a value that is there, but not the `wanted` kind of data. `effect` says what
  /// comes of data that counts as missing, `effect_unread` of a type that the component skips.
  void FaultOfData(const std::string& name, const std::string& wanted, const std::string& effect,
                   const std::string& effect_unread) const;

 private:
  std::optional<std::uint32_t> StoredType(const std::string& name) const;
  void Find(Grade grade, const std::string& value, const std::string& problem,
            const std::string& effect) const;

  std::string path_;
  modCOM_Registry::OpenKey key_;
  Findings& findings_;
};

}  // namespace qmzentrel::catalog_checker
