// Values and names of a registry that anybody may have written, of every type and size.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/text.h"
#include "support/conversion.h"
#include "support/dump_variable.h"
#include "support/modCOM_Registry.h"
#include "support/run_time_error.h"
#include "tests/fakes/fake_world.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::StoredValue;
using fakes::TheWorld;
using modCOM_Registry::Reg_KeyValues;
using platform::kLocalMachine;

using Texts = std::vector<std::string>;

constexpr std::uint32_t kText = 1;
constexpr std::uint32_t kNumber = 4;
constexpr std::uint32_t kTexts = 7;

constexpr const char* kKey = "Key";
constexpr const char* kName = "Name";

// --- Input ---

std::string AnyText(FuzzedDataProvider& input) {
  constexpr const char* kKnown[] = {"",     "0",   "1", "-1",   "9",   "10",        "&HFF",
                                    "&O7",  "1e9", "x", "X",    "4.0", "-0",        "2147483648",
                                    "12,5", "1 2", "é", "word", "01",  "4294967295"};
  return input.ConsumeBool() ? input.PickValueInArray(kKnown) : input.ConsumeRandomLengthString(40);
}

std::string AnyBytes(FuzzedDataProvider& input) {
  std::string bytes;
  switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
      bytes = AnyText(input) + std::string(input.ConsumeIntegralInRange<std::size_t>(0, 3), '\0');
      break;
    case 1:
      bytes = input.ConsumeRandomLengthString(9);
      break;
    case 2:
      bytes = AnyText(input);
      bytes.resize(input.ConsumeIntegralInRange<std::size_t>(0, 1100), 'y');
      break;
    default:
      bytes = AnyText(input) + '\0' + AnyText(input) + '\0' + '\0';
  }
  return bytes;
}

StoredValue AnyValue(FuzzedDataProvider& input) {
  return {input.ConsumeIntegralInRange<std::uint32_t>(0, 12), AnyBytes(input)};
}

/// As the component holds texts: in UTF-8, and not all of it in the code page.
std::string AnyUtf8(FuzzedDataProvider& input) {
  const std::string text = platform::FromAnsi(AnyText(input));
  return input.ConsumeIntegralInRange(0, 9) == 0 ? text + "\u03C9\u20AC" : text;
}

Texts AnyTexts(FuzzedDataProvider& input) {
  Texts texts(input.ConsumeIntegralInRange<std::size_t>(0, 4));
  for (std::string& text : texts) text = AnyUtf8(input);
  return texts;
}

Variant AnyVariant(FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0:
      return input.ConsumeIntegral<std::int16_t>();
    case 1:
      return input.ConsumeIntegral<std::int32_t>();
    case 2:
      return input.ConsumeBool();
    case 3:
      return static_cast<float>(input.ConsumeIntegral<std::int32_t>()) / 8;
    case 4:
      return static_cast<double>(input.ConsumeIntegral<std::int64_t>()) / 1024;
    case 5:
      return AnyUtf8(input);
    case 6:
      return AnyTexts(input);
    default:
      return {};
  }
}

// --- What has to come of it ---

template <class Kind>
bool Is(const Variant& value) {
  return std::holds_alternative<Kind>(value);
}

Texts SplitAtZeros(const std::string& bytes) {
  Texts texts(1);
  for (const char c : bytes) {
    if (c == '\0') {
      texts.emplace_back();
    } else {
      texts.back() += c;
    }
  }
  for (std::string& text : texts) text = platform::FromAnsi(text);
  return texts;
}

std::int32_t NumberIn(const std::string& bytes) {
  std::int32_t number = 0;
  std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

bool TakesNumber(const Variant& slot) {
  return Is<std::int16_t>(slot) || Is<std::int32_t>(slot) || Is<bool>(slot);
}

/// What `slot` holds once `stored` has been read into it; nothing when that fails.
std::optional<Variant> ReadInto(const Variant& slot, const StoredValue& stored) {
  const std::string& bytes = stored.bytes;
  const bool takes_text = Is<std::monostate>(slot) || Is<std::string>(slot);
  if (stored.type == kText) {
    const std::string text =
        bytes.size() < 2 ? "" : platform::FromAnsi(bytes.substr(0, bytes.size() - 1));
    if (takes_text) return text;
    if (!TakesNumber(slot)) return std::nullopt;
    const auto value = NumericValue(text);
    const auto number = value ? RoundToLong(*value) : std::nullopt;
    return number ? std::optional<Variant>(*number) : std::nullopt;
  }
  if (stored.type == kNumber) {
    if (!Is<std::monostate>(slot) && !TakesNumber(slot)) return std::nullopt;
    return bytes.size() < 4 ? std::nullopt : std::optional<Variant>(NumberIn(bytes));
  }
  if (stored.type == kTexts) {
    if (!takes_text) return std::nullopt;
    if (bytes.size() < 3) return std::string();
    return SplitAtZeros(bytes.substr(0, bytes.size() - 2));
  }
  return slot;
}

/// The data of an entry in a list.
Variant Listed(const StoredValue& stored) {
  const std::string& bytes = stored.bytes;
  const bool zero = !bytes.empty() && bytes.back() == '\0';
  if (stored.type == kNumber && bytes.size() >= 4) return NumberIn(bytes);
  const std::size_t terminator = stored.type == kText ? 1 : 2;
  if ((stored.type != kText && stored.type != kTexts) || bytes.size() <= terminator) return {};
  return platform::FromAnsi(bytes.substr(0, bytes.size() - (zero ? terminator : 0)));
}

// --- One value ---

/// Another program replaces the value ahead of each query, as long as it has further ones.
void TryReading(FuzzedDataProvider& input) {
  std::deque<std::optional<StoredValue>> values;
  for (int left = input.ConsumeIntegralInRange(1, 4); left > 0; --left) {
    values.emplace_back();
    if (input.ConsumeIntegralInRange(0, 9) > 0) values.back() = AnyValue(input);
  }
  const Variant slot = AnyVariant(input);
  std::optional<Variant> absent;
  if (input.ConsumeBool()) absent = AnyVariant(input);

  std::size_t room = 256;
  std::size_t query = 0;
  while (values[query] && values[query]->bytes.size() > room) {
    room = values[query]->bytes.size();
    query = std::min(query + 1, values.size() - 1);
  }
  const auto read = values[query] ? ReadInto(slot, *values[query]) : std::nullopt;

  TheWorld().registry[kKey];
  TheWorld().before_query = [&] {
    TheWorld().registry[kKey].clear();
    if (values.front()) TheWorld().registry[kKey][kName] = *values.front();
    if (values.size() > 1) values.pop_front();
  };
  Variant value = slot;
  const bool was_read = modCOM_Registry::RegGetValue(kLocalMachine, kKey, kName, value, absent);
  TheWorld().before_query = nullptr;
  Require(was_read == read.has_value(), "a value is read or is not");
  Require(value == read.value_or(absent.value_or(slot)), "another value was read");
}

/// What is written reads back as what the type of the data makes of it.
void TryWriting(FuzzedDataProvider& input) {
  const Variant data = AnyVariant(input);
  const bool without_numbers = input.ConsumeBool();  // as early systems were
  int requests = 0;
  TheWorld().registry_fault = [&](const std::string& call,
                                  const std::string&) -> std::optional<std::int32_t> {
    constexpr std::int32_t kInvalidParameter = 87;
    const bool refused = without_numbers && TakesNumber(data) && call == "RegSetValueEx";
    return refused && ++requests == 1 ? std::optional(kInvalidParameter) : std::nullopt;
  };
  const bool was_there = TheWorld().registry[kKey].contains(kName);
  const bool written = modCOM_Registry::RegSetValue(kLocalMachine, kKey, kName, data);
  TheWorld().registry_fault = nullptr;
  Variant read;
  const bool was_read = modCOM_Registry::RegGetValue(kLocalMachine, kKey, kName, read);
  if (Is<std::monostate>(data)) {
    Require(written == was_there && !was_read, "nothing is written by taking the value away");
    return;
  }
  Require(written && was_read, "what was written can be read");
  const auto through_code_page = [](const std::string& text) {
    return platform::FromAnsi(platform::ToAnsi(text));
  };
  Variant expected;
  if (const auto* small = std::get_if<std::int16_t>(&data)) {
    expected = std::int32_t{*small};
  } else if (const auto* truth = std::get_if<bool>(&data)) {
    expected = *truth ? -1 : 0;
  } else if (const auto* number = std::get_if<double>(&data)) {
    expected = NumberText(*number);
  } else if (const auto* single = std::get_if<float>(&data)) {
    expected = NumberText(*single);
  } else if (const auto* text = std::get_if<std::string>(&data)) {
    expected = through_code_page(*text);
  } else if (const auto* texts = std::get_if<Texts>(&data)) {
    std::string joined;
    for (const std::string& one : *texts) joined += '\0' + platform::ToAnsi(one);
    if (!joined.empty()) joined.erase(0, 1);
    expected = joined.empty() ? Variant(std::string()) : Variant(SplitAtZeros(joined));
  } else {
    expected = data;
  }
  if (const auto* number = std::get_if<std::int32_t>(&expected); number && without_numbers) {
    expected = std::to_string(*number);
  }
  Require(read == expected, [&] {
    return "what was written reads as something else: " + DumpVariable("data", data) +
           DumpVariable("read", read);
  });
}

// --- Lists ---

void TryLists(FuzzedDataProvider& input) {
  auto& values = TheWorld().registry[kKey];
  values.clear();
  for (int left = input.ConsumeIntegralInRange(0, 8); left > 0; --left) {
    values[AnyText(input)] = AnyValue(input);
    const std::string below = AnyText(input);
    if (below.empty() || below.find('\\') != std::string::npos) continue;
    TheWorld().registry[std::string(kKey) + '\\' + below];
  }
  // Between the two requests about the first value, which is the unnamed one if there is that.
  std::optional<StoredValue> replacement;
  if (input.ConsumeBool() && !values.empty()) replacement = AnyValue(input);
  const auto before = values;
  int requests = 0;
  TheWorld().registry_fault = [&](const std::string& call,
                                  const std::string& index) -> std::optional<std::int32_t> {
    if (call == "RegEnumValue" && index == "0" && ++requests == 2) {
      TheWorld().registry[kKey].begin()->second = replacement.value_or(values.begin()->second);
    }
    return std::nullopt;
  };
  std::vector<Reg_KeyValues> listed;
  const auto count = modCOM_Registry::RegEnumValues(kLocalMachine, kKey, listed, false);
  TheWorld().registry_fault = nullptr;
  std::size_t place = 0;
  for (const auto& [name, stored] : before) {
    if (name.empty()) continue;
    Require(place < listed.size() && listed[place].name == platform::FromAnsi(name),
            "another name was listed");
    Variant expected = Listed(stored);
    if (&name == &before.begin()->first && replacement) {
      const bool fits = replacement->bytes.size() <= stored.bytes.size();
      expected = fits ? Listed({stored.type, replacement->bytes}) : Variant();
    }
    Require(listed[place].data == expected, "other data were listed");
    ++place;
  }
  Require(place == listed.size() && std::cmp_equal(count, place), "more values than there are");

  Texts keys;
  const auto key_count = modCOM_Registry::RegEnumKeys(kLocalMachine, kKey, keys, false);
  Require(std::cmp_equal(key_count, keys.size()), "another number of keys");
  const std::string below = std::string(kKey) + '\\';
  const auto there = std::ranges::count_if(
      TheWorld().registry, [&](const auto& key) { return key.first.starts_with(below); });
  Require(std::cmp_equal(there, keys.size()), "not every key is listed");
  for (const std::string& key : keys) {
    Require(TheWorld().registry.contains(below + platform::ToAnsi(key)), "no such key");
  }
}

// --- Sorting ---

struct WordAmongNumbers {};

/// A recursion, as the rule has it.
void SortedByTheRule(Texts& names, std::int64_t first, std::int64_t last) {
  if (first >= last) return;
  const std::string pivot = names[static_cast<std::size_t>((first + last) / 2)];
  const auto number = NumericValue(pivot);
  const auto compare = [&](std::int64_t index) {
    const std::string& name = names[static_cast<std::size_t>(index)];
    if (!number) return platform::CompareTextNoCase(name, pivot);
    const auto value = NumericValue(name);
    if (!value) throw WordAmongNumbers();
    return *value < *number ? -1 : *value > *number ? 1 : 0;
  };
  std::int64_t low = first;
  std::int64_t high = last;
  while (low <= high) {
    while (compare(low) < 0) ++low;
    while (compare(high) > 0) --high;
    if (low > high) break;
    std::swap(names[static_cast<std::size_t>(low++)], names[static_cast<std::size_t>(high--)]);
  }
  SortedByTheRule(names, first, high);
  SortedByTheRule(names, low, last);
}

void TrySorting(FreshWorld& world, FuzzedDataProvider& input) {
  constexpr std::int32_t kTypeMismatch = 13;
  constexpr std::int32_t kOutOfRange = 9;
  Texts names(input.ConsumeIntegralInRange<std::size_t>(0, 40));
  const bool numbers = input.ConsumeBool();
  for (std::string& name : names) {
    name = numbers ? std::to_string(input.ConsumeIntegral<std::int16_t>()) : AnyText(input);
  }
  const auto first = input.ConsumeIntegralInRange<std::int32_t>(-2, 5);
  const auto last = input.ConsumeBool() ? -1 : input.ConsumeIntegralInRange<std::int32_t>(-2, 41);
  const std::int64_t from = first == -1 ? 0 : first;
  const std::int64_t to = last == -1 ? std::ssize(names) - 1 : last;

  Texts expected = names;
  std::int32_t expected_fault = 0;
  const bool inside = from >= 0 && to < std::ssize(names);
  try {
    if (inside) SortedByTheRule(expected, from, to);
  } catch (const WordAmongNumbers&) {
    expected_fault = kTypeMismatch;
  }
  std::vector<Reg_KeyValues> values;
  for (const std::string& name : names) values.push_back({name, name});
  const std::int32_t fault =
      world.FaultOf([&] { modCOM_Registry::RegKeys_QSort(names, first, last); });
  const std::int32_t fault_of_values =
      world.FaultOf([&] { modCOM_Registry::RegValues_QSort(values, first, last); });
  Require(fault == fault_of_values, "keys and values are not sorted alike");
  if (inside || from >= to) {
    Require(fault == expected_fault, "another fault in a sort");
    Require(names == expected, "another order");
  } else {
    Require(fault == kOutOfRange || fault == kTypeMismatch, "a bound outside is no fault");
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    Require(values[i].name == names[i] && values[i].data == Variant(names[i]), "a torn entry");
  }
}

// --- Paths ---

void TryPath(FuzzedDataProvider& input) {
  std::string path = input.ConsumeRandomLengthString(40);
  if (input.ConsumeBool()) std::ranges::replace(path, path.empty() ? 'a' : path[0], '\\');
  const std::string normalised = modCOM_Registry::NormaliseKeyPath(path);
  for (std::size_t at = 0; (at = path.find("\\\\", at)) != std::string::npos; ++at) {
    path.erase(at, 1);
  }
  if (path.ends_with('\\')) path.pop_back();
  Require(normalised == path, "another path");
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  FreshWorld world;
  while (input.remaining_bytes() > 0) {
    switch (input.ConsumeIntegralInRange(0, 4)) {
      case 0:
        TryReading(input);
        break;
      case 1:
        TryWriting(input);
        break;
      case 2:
        TryLists(input);
        break;
      case 3:
        TrySorting(world, input);
        break;
      default:
        TryPath(input);
    }
  }
  return 0;
}
