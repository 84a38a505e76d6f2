// Variables as text for the error report, of whatever a client or the registry puts into them.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "interface/long_array.h"
#include "support/dump_variable.h"
#include "support/shown_text.h"
#include "support/variables.h"
#include "tests/fakes/fake_object.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"

namespace qmzentrel::fuzz {
namespace {

using platform::LateValue;
using Texts = std::vector<std::string>;

constexpr const char* kName = "name";

// --- Input ---

/// A text of any bytes, at times a long one.
std::string AnyText(FuzzedDataProvider& input) {
  std::string text = input.ConsumeRandomLengthString(60);
  if (input.ConsumeIntegralInRange(0, 63) == 0) {
    text.resize(input.ConsumeIntegralInRange<std::size_t>(0, 5000), '<');
  }
  if (input.ConsumeIntegralInRange(0, 3) == 0) text += '\0';
  return text;
}

std::size_t AnyCount(FuzzedDataProvider& input) {
  return input.ConsumeIntegralInRange(0, 63) == 0
             ? input.ConsumeIntegralInRange<std::size_t>(0, 4000)
             : input.ConsumeIntegralInRange<std::size_t>(0, 6);
}

// --- What has to come of it ---

std::string EntryOf(const std::string& text, const std::string& attribute = "") {
  return std::string("<") + kName + attribute + ">" + text + "</" + kName + ">\r\n";
}

std::string IndexOf(const std::string& index) {
  return " Index=\"" + index + "\"";
}

/// Cut behind the first zero, which is named.
std::string Cut(const std::string& text) {
  const std::size_t zero = text.find('\0');
  return zero == std::string::npos ? text : text.substr(0, zero) + "{Null}";
}

template <class Elements, class Format>
std::string EntriesOf(const Elements& elements, std::int64_t lower_bound, Format format) {
  if (elements.empty()) return EntryOf("{UnInitialised Array}");
  std::string entries;
  for (const auto& element : elements) {
    entries += EntryOf(format(element), IndexOf(std::to_string(lower_bound++)));
  }
  return entries;
}

// --- Values of the component ---

void TryTexts(FuzzedDataProvider& input) {
  const std::string text = AnyText(input);
  Require(DumpVariable(kName, text) == EntryOf(Cut(text)), "another text");

  std::string shown = WithZerosShown(text);
  Require(shown.find('\0') == std::string::npos, "a zero is left");
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::string part = text[at] == '\0' ? "{Null}" : std::string(1, text[at]);
    Require(shown.starts_with(part), "not shown in order");
    shown.erase(0, part.size());
    if (at > 200) break;
  }

  const std::string inner = Cut(text);
  Require(DumpDefault(kName, [&] { return std::string(text); }) == EntryOf("{" + inner + "}"),
          "another default");
  Require(DumpFixedText(kName, text) == EntryOf(text), "another fixed text");
}

void TryArrays(FuzzedDataProvider& input) {
  std::vector<std::uint8_t> bytes = input.ConsumeBytes<std::uint8_t>(AnyCount(input));
  Require(DumpVariable(kName, std::span<const std::uint8_t>(bytes)) ==
              EntriesOf(bytes, 0, [](std::uint8_t byte) { return std::to_string(int{byte}); }),
          "other bytes");

  std::vector<std::int32_t> numbers(AnyCount(input), input.ConsumeIntegral<std::int32_t>());
  const auto lower_bound = input.ConsumeIntegral<std::int32_t>();
  const auto text_of = [](std::int32_t number) { return std::to_string(number); };
  const std::string expected = EntriesOf(numbers, lower_bound, text_of);
  Require(DumpVariable(kName, numbers, lower_bound) == expected, "other numbers");
  Require(DumpVariable(kName, LongArray(numbers, lower_bound)) == expected, "another array");

  // Long texts or many of them.
  Texts texts(AnyCount(input), AnyText(input));
  if (texts.size() > 10) std::ranges::fill(texts, "much");
  if (!texts.empty()) texts.back() = AnyText(input);
  Require(DumpVariable(kName, texts) == EntriesOf(texts, 0, Cut), "other texts");
  Require(DumpVariable(kName, Variant(texts)) == EntriesOf(texts, 0, Cut), "another variant");

  StringArray names;
  if (!texts.empty()) {
    const auto lower = input.ConsumeIntegralInRange<std::int32_t>(-2000000000, 2000000000);
    names.ReDim(lower, static_cast<std::int32_t>(lower + std::ssize(texts) - 1));
    for (std::int32_t i = 0; i < std::ssize(texts); ++i) {
      names[lower + i] = texts[static_cast<std::size_t>(i)];
    }
    Require(DumpVariable(kName, names) == EntriesOf(texts, lower, Cut), "other names");
  } else {
    Require(DumpVariable(kName, names) == EntryOf("{UnInitialised Array}"), "names from nowhere");
  }
}

/// The entries of a list are those of its variables, under the names that stand in it.
void TryList(FuzzedDataProvider& input) {
  const bool truth = input.ConsumeBool();
  const auto number = input.ConsumeIntegral<std::int32_t>();
  const std::string text = AnyText(input);
  const Texts texts{AnyText(input), text};
  const std::optional<Variant> missing;
  const std::string expected = DumpVariable("truth", truth) + DumpVariable("number", number) +
                               DumpVariable("text", text) + DumpVariable("texts", texts) +
                               DumpFixedText("missing", "{Empty}");
  Require(DumpVariables(VARIABLES(truth, number, text, texts, missing)) == expected,
          "another list of variables");
  Require(VariableList(VARIABLES(truth, number, text, texts, missing)).Dump() == expected,
          "another list of whatever types");
}

// --- Values of automation ---

struct Expected {
  std::string text;
  std::int32_t error = 0;  ///< instead of the text

  std::string Shown() const {
    return error == 0 ? text : "{Error " + std::to_string(error) + " formatting for output}";
  }
};

/// Makes values with what is to be shown of them, and keeps their objects.
class Values {
 public:
  explicit Values(FuzzedDataProvider& input) : input_(input) {}

  std::pair<LateValue, Expected> Next(int depth) {
    constexpr std::int32_t kTypeMismatch = 13;
    switch (input_.ConsumeIntegralInRange(0, 8)) {
      case 0:
        return {platform::NullValue(), {"{Null}"}};
      case 1: {
        const std::string text = AnyText(input_);
        return {platform::PlainValue{text}, {text}};
      }
      case 2: {
        const std::string text = AnyText(input_);
        return {text, {Cut(text)}};
      }
      case 3:
        return {platform::StructureValue{"Point"}, {"{UDT - Point}"}};
      case 4:
        return {platform::DataObjectValue(), {"{DataObject}"}};
      case 5: {
        const auto error = input_.ConsumeIntegralInRange<std::int32_t>(1, 70000);
        return {platform::UnreadableValue{error}, {"", error}};
      }
      case 6:
        return {platform::ArrayValue(), {"", kTypeMismatch}};
      case 7:
        return Object(depth);
      default:
        return {LateValue(), {"{Empty}"}};
    }
  }

  /// An array of up to four dimensions, some of which cannot be read.
  std::pair<LateValue, std::string> Array() {
    platform::ArrayValue array;
    const auto count = input_.ConsumeIntegralInRange<std::size_t>(0, 4);
    std::size_t unread = count;
    std::size_t elements = 1;
    for (std::size_t i = 0; i < count; ++i) {
      const auto lower_bound = input_.ConsumeIntegral<std::int32_t>();
      const auto size = input_.ConsumeIntegralInRange<std::uint32_t>(0, 5);
      array.dimensions.emplace_back(platform::ArrayDimension{lower_bound, size});
      if (unread == count && input_.ConsumeIntegralInRange(0, 9) == 0) {
        unread = i;
        array.dimensions.back().reset();
      }
      elements *= size;
    }
    if (count > 3) {
      return {array, EntryOf("{Dump truncated at " + std::to_string(count) + " dimensions}")};
    }
    if (unread < count) {
      const auto place = " Dimension " + std::to_string(unread + 1);
      return {array, EntryOf("{UnInitialised Array" + (unread == 0 ? "" : place) + "}")};
    }
    if (count == 0 || elements == 0) return {array, EntryOf("{UnInitialised Array}")};
    std::string entries;
    std::vector<std::uint32_t> at(count, 0);
    for (std::size_t element = 0; element < elements; ++element) {
      const auto [value, expected] = Next(0);
      array.elements.push_back(value);
      std::string indices;
      for (std::size_t i = 0; i < count; ++i) {
        indices += (i > 0 ? "," : "") +
                   std::to_string(std::int64_t{array.dimensions[i]->lower_bound} + at[i]);
      }
      entries += EntryOf(expected.Shown(), IndexOf(indices));
      for (std::size_t i = count; i-- > 0;) {
        if (++at[i] < array.dimensions[i]->count) break;
        at[i] = 0;
      }
    }
    return {array, entries};
  }

 private:
  std::pair<LateValue, Expected> Object(int depth) {
    constexpr std::int32_t kOutOfStackSpace = 28;
    constexpr std::int32_t kMemberNotSupported = 438;
    constexpr int kDeepest = 16;
    const auto kind = input_.ConsumeIntegralInRange(0, 5);
    if (kind == 0) return {platform::ObjectValue(), {"{Nothing}"}};
    const auto object = std::make_shared<fakes::FakeObject>();
    Expected expected;
    if (kind == 1) {
      object->is_data_object = true;
      expected.text = "{DataObject}";
    } else if (kind == 2 && depth <= kDeepest) {
      object->members.emplace();
      expected.text = "[";
      for (int left = input_.ConsumeIntegralInRange(0, 3); left > 0; --left) {
        const auto [value, shown] = Next(depth + 1);
        object->members->push_back(value);
        if (object->members->size() > 1) expected.text += ",";
        expected.text += shown.text;
        if (expected.error == 0) expected.error = shown.error;
      }
      expected.text += "]";
    } else if (kind == 3 && depth <= kDeepest) {
      const auto [value, shown] = Next(depth + 1);
      object->default_value = [held = value] { return held; };
      expected = {"{" + shown.text + "}", shown.error};
    } else if (kind == 4) {
      object->default_value = [itself = object.get()]() -> LateValue {
        return platform::ObjectValue{platform::HeldObject(platform::HeldObject(), itself)};
      };
      expected.error = kOutOfStackSpace;
    } else {
      expected.error = kMemberNotSupported;
    }
    if (depth > kDeepest) expected.error = kOutOfStackSpace;
    return {platform::ObjectValue{object}, expected};
  }

  FuzzedDataProvider& input_;
};

void TryAutomation(FuzzedDataProvider& input) {
  Values values(input);
  const auto [value, expected] = values.Next(0);
  if (!std::holds_alternative<platform::ArrayValue>(value)) {
    Require(DumpVariable(kName, value) == EntryOf(expected.Shown()), "another value");
  }
  const auto [array, entries] = values.Array();
  Require(DumpVariable(kName, array) == entries, "another array of automation");
}

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  const FreshWorld world;
  TryTexts(input);
  TryArrays(input);
  TryList(input);
  TryAutomation(input);
  return 0;
}
