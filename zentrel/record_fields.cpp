#include "zentrel/record_fields.h"

#include <algorithm>
#include <charconv>

#include "platform/text.h"
#include "zentrel/failure.h"

namespace qmzentrel::program {
namespace {

constexpr LONG kByte = 0xFF;
constexpr LONG kThreeBytes = 0xFFFFFF;
constexpr LONG kHalfByte = 0xF;
constexpr LONG kMifBits = 0x3F;

bool IsSame(std::string_view left, std::string_view right) {
  return platform::CompareTextNoCase(left, right) == 0;
}

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::ranges::any_of(words, [text](std::string_view word) { return IsSame(text, word); });
}

const RecordField* Find(std::string_view name) {
  for (const RecordField& field : RecordFields()) {
    if (IsSame(name, field.name)) return &field;
    if (field.older_name != nullptr && IsSame(name, field.older_name)) return &field;
  }
  return nullptr;
}

std::string AllNames() {
  std::string names;
  for (const RecordField& field : RecordFields()) {
    names += (names.empty() ? "" : ", ") + std::string(field.name);
  }
  return names;
}

bool ParseFlag(std::string_view text, LONG& value) {
  const bool is_true = IsOneOf(text, {"1", "true", "yes", "on"});
  if (!is_true && !IsOneOf(text, {"0", "false", "no", "off"})) return false;
  value = is_true ? 1 : 0;
  return true;
}

}  // namespace

const std::vector<RecordField>& RecordFields() {
  // A row for each; as the component's own description has them.
  static const auto number = [](Component::LongGetter get, Component::LongSetter let,
                                LONG greatest) {
    return NumberAccess{get, let, greatest};
  };
  static const std::vector<RecordField> fields{
      // clang-format off
      {"Xpdr", nullptr, Part::kRecord, number(&_Zentrel::get_Xpdr, &_Zentrel::put_Xpdr, kThreeBytes)},
      {"Util", nullptr, Part::kRecord, number(&_Zentrel::get_Util, &_Zentrel::put_Util, kByte)},
      {"Reading", nullptr, Part::kRecord, number(&_Zentrel::get_Reading, &_Zentrel::put_Reading, kThreeBytes)},
      {"Tamper", nullptr, Part::kRecord, number(&_Zentrel::get_Tamper, &_Zentrel::put_Tamper, kByte)},
      {"HasLeak", nullptr, Part::kRecord, FlagAccess{&_Zentrel::get_HasLeak, &_Zentrel::put_HasLeak}},
      {"DeviceMIF", nullptr, Part::kRecord, number(&_Zentrel::get_DeviceMIF, &_Zentrel::put_DeviceMIF, kMifBits)},
      {"IDToggle", nullptr, Part::kRecord, FlagAccess{&_Zentrel::get_IDToggle, &_Zentrel::put_IDToggle}},
      {"MIFSelect", nullptr, Part::kRecord, FlagAccess{&_Zentrel::get_MIFSelect, &_Zentrel::put_MIFSelect}},
      {"PLLWarmup", nullptr, Part::kRecord, number(&_Zentrel::get_PLLWarmup, &_Zentrel::put_PLLWarmup, kHalfByte)},
      {"TXI", nullptr, Part::kRecord, number(&_Zentrel::get_TXI, &_Zentrel::put_TXI, kHalfByte)},
      {"MSI", nullptr, Part::kRecord, number(&_Zentrel::get_MSI, &_Zentrel::put_MSI, kHalfByte)},
      {"Freq_MSB", "Freq_A2", Part::kRadio, number(&_Zentrel::get_Freq_MSB, &_Zentrel::put_Freq_MSB, kByte)},
      {"Freq_MID", "Freq_A1", Part::kRadio, number(&_Zentrel::get_Freq_MID, &_Zentrel::put_Freq_MID, kByte)},
      {"Freq_LSB", "Freq_A0", Part::kRadio, number(&_Zentrel::get_Freq_LSB, &_Zentrel::put_Freq_LSB, kByte)},
      {"BR_MSB", "Clock_A", Part::kRadio, number(&_Zentrel::get_BR_MSB, &_Zentrel::put_BR_MSB, kByte)},
      {"BR_LSB", "PA_Power", Part::kRadio, number(&_Zentrel::get_BR_LSB, &_Zentrel::put_BR_LSB, kByte)},
      {"PA_CTRL", nullptr, Part::kRadio, number(&_Zentrel::get_PA_CTRL, &_Zentrel::put_PA_CTRL, kByte)},
      {"EOL_CTRL", nullptr, Part::kRadio, number(&_Zentrel::get_EOL_CTRL, &_Zentrel::put_EOL_CTRL, kByte)},
      {"LeakThreshold", nullptr, Part::kRadio, number(&_Zentrel::get_LeakThreshold, &_Zentrel::put_LeakThreshold, kByte)},
      // clang-format on
  };
  return fields;
}

std::string RecordField::RangeText() const {
  const auto* const number = std::get_if<NumberAccess>(&access);
  return number != nullptr ? "0 to " + std::to_string(number->greatest) : "true or false";
}

LONG Get(const Component& component, const RecordField& field) {
  if (const auto* const number = std::get_if<NumberAccess>(&field.access)) {
    return component.Get(number->get);
  }
  return component.Get(std::get<FlagAccess>(field.access).get) ? 1 : 0;
}

void Let(Component& component, const RecordField& field, LONG value) {
  if (const auto* const number = std::get_if<NumberAccess>(&field.access)) {
    component.Let(number->let, value);
  } else {
    component.Let(std::get<FlagAccess>(field.access).let, value != 0);
  }
}

std::string ValueText(const RecordField& field, LONG value) {
  if (field.IsFlag()) return value != 0 ? "true" : "false";
  return std::to_string(value);
}

bool ParseNumber(std::string_view text, LONG& number) {
  int base = 10;
  if (text.size() > 2 && IsOneOf(text.substr(0, 2), {"0x", "&h"})) {
    text.remove_prefix(2);
    base = 16;
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return error == std::errc() && end == text.data() + text.size();
}

Assignment ParseAssignment(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw Failure(ExitCode::kCommandLine, "\"" + std::string(text) + "\" sets nothing",
                  "write it as NAME=VALUE, Util=42 say");
  }
  const std::string name(text.substr(0, equals));
  const RecordField* const field = Find(name);
  if (field == nullptr) {
    throw Failure(ExitCode::kRefused, "a transponder has no \"" + name + "\" that can be set",
                  "use one of " + AllNames());
  }
  const std::string_view wanted = text.substr(equals + 1);
  Assignment assignment{field, 0};
  const auto* const number = std::get_if<NumberAccess>(&field->access);
  const bool fits = number == nullptr
                        ? ParseFlag(wanted, assignment.value)
                        : ParseNumber(wanted, assignment.value) && assignment.value >= 0 &&
                              assignment.value <= number->greatest;
  if (!fits) {
    throw Failure(ExitCode::kRefused,
                  "\"" + std::string(wanted) + "\" is no value for " + field->name,
                  "give it " + field->RangeText());
  }
  return assignment;
}

}  // namespace qmzentrel::program
