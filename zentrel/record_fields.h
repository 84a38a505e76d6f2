// The values of a transponder that can be set, by the names that the component has for them.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "zentrel/component.h"

namespace qmzentrel::program {

/// Where on the transponder a value lies.
enum class Part { kRecord, kRadio };

struct NumberAccess {
  Component::LongGetter get;
  Component::LongSetter let;
  LONG greatest;  ///< the least is 0
};

struct FlagAccess {
  Component::BoolGetter get;
  Component::BoolSetter let;
};

struct RecordField {
  const char* name;
  const char* older_name;  ///< null: it has none
  Part part;
  std::variant<NumberAccess, FlagAccess> access;

  bool IsFlag() const { return std::holds_alternative<FlagAccess>(access); }
  /// "0 to 255" or "true or false".
  std::string RangeText() const;
};

const std::vector<RecordField>& RecordFields();

/// A value as it is shown and compared: a flag is 0 or 1.
LONG Get(const Component& component, const RecordField& field);
void Let(Component& component, const RecordField& field, LONG value);
std::string ValueText(const RecordField& field, LONG value);

struct Assignment {
  const RecordField* field;
  LONG value;
};

/// "Util=42", names in any case. Numbers are decimal, or hexadecimal behind 0x or &H. Throws
/// Failure for a name that no value has and for what is out of range.
Assignment ParseAssignment(std::string_view text);

/// A number as above; nothing else may stand in `text`.
bool ParseNumber(std::string_view text, LONG& number);

}  // namespace qmzentrel::program
