// Catalogs that no installer would write: names, lists, and the simulator's dialog with a user who
// does anything.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/Zentrel.h"
#include "platform/text.h"
#include "support/conversion.h"
#include "tests/core/catalog_writer.h"
#include "tests/core/fake_list_control.h"
#include "tests/fakes/fake_dialog.h"
#include "tests/fakes/fake_world.h"
#include "tests/fuzz/drawn_number.h"
#include "tests/fuzz/finding.h"
#include "tests/fuzz/fresh_world.h"

namespace qmzentrel::fuzz {
namespace {

using fakes::FakeDialog;
using fakes::TheWorld;
using platform::DialogList;
using tests::FakeListControl;
using Items = FakeListControl::Items;

constexpr std::int32_t kOverflow = 6;
constexpr std::int32_t kOutOfRange = 9;
constexpr std::int32_t kTypeMismatch = 13;

/// No list has more, whatever the catalog says.
constexpr std::int32_t kMostEntries = 4096;
/// A command with a user at the dialog who sees a dozen such lists.
constexpr std::size_t kMostRegistryCalls = 1'000'000;

// --- Input ---

std::string AnyText(FuzzedDataProvider& input) {
  constexpr const char* kTexts[] = {"",     "0",          "1",    "-1",   "4.0", "8.0",
                                    "3.9",  "A.0",        "1e9",  "&HFF", "x",   "PulseMSI",
                                    "BOTH", "2147483648", "12,5", "10.0"};
  return input.ConsumeBool() ? input.PickValueInArray(kTexts) : input.ConsumeRandomLengthString(20);
}

std::int32_t AnyNumber(FuzzedDataProvider& input) {
  constexpr std::int32_t kEnds[] = {std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max(),
                                    -1,
                                    30,
                                    31,
                                    99,
                                    255,
                                    256,
                                    4095,
                                    4096,
                                    0xFFFFFF};
  return DrawnNumber(input, kEnds, -3, 40);
}

/// What has to fit together before a list has entries.
void WriteRanges(FuzzedDataProvider& input) {
  constexpr const char* kRanges[] = {"Kernel\\MIF",
                                     "Kernel\\TXI",
                                     "Kernel\\PulseMSI",
                                     "TELIC2\\Messages",
                                     "TELIC2\\Types\\TestMessages",
                                     "TELIC2\\Types\\A\\TestMessages"};
  // One at most is beyond all sense, for lists without measure take their time.
  int until_senseless = input.ConsumeIntegralInRange(0, 15);
  for (const char* const key : kRanges) {
    if (input.ConsumeIntegralInRange(0, 3) == 0) continue;
    const bool senseless = until_senseless-- == 0;
    const auto end = [&] {
      return senseless ? AnyNumber(input) : input.ConsumeIntegralInRange(-3, 40);
    };
    const std::int32_t first = end();
    tests::SetRange(tests::kMaker + key, first, end());
  }
  tests::SetNumber(tests::kInterfaces, "Mask", AnyNumber(input));
  tests::SetText(tests::InterfaceKey(0), "MSI", "PulseMSI");
  if (input.ConsumeBool()) tests::SetNumber(tests::kSimulatorKey, "", 1);
}

void WriteCatalogs(FuzzedDataProvider& input) {
  constexpr const char* kKeys[] = {"Kernel\\MIF",
                                   "Kernel\\MIF\\0",
                                   "Kernel\\MIF\\0\\4.0",
                                   "Kernel\\MIF\\1",
                                   "Kernel\\MIF\\-1",
                                   "Kernel\\TXI",
                                   "Kernel\\PulseMSI",
                                   "Kernel",
                                   "TELIC2\\Types",
                                   "TELIC2\\Types\\A",
                                   "TELIC2\\Types\\A\\TestMessages",
                                   "TELIC2\\Messages",
                                   "TELIC2\\Types\\TestMessages",
                                   "Zentrel",
                                   "Zentrel\\Types",
                                   "Zentrel\\Modes",
                                   "Simulator",
                                   "QMC Software Library\\Zentrel\\Simulator"};
  constexpr const char* kNames[] = {
      "",        "Min",    "Max",     "Mask",    "Commands",    "Bytes",      "RBytes",
      "PBytes",  "Ver",    "MIF",     "MSI",     "IDSources",   "Encoder",    "Caption",
      "Default", "0",      "1",       "A5",      "State",       "Top",        "Left",
      "Width",   "Height", "Battery", "Version", "XpdrVersion", "Signature0", "SupplyLine"};
  for (int left = input.ConsumeIntegralInRange(0, 30); left > 0; --left) {
    std::string key = tests::kMaker + input.PickValueInArray(kKeys);
    if (input.ConsumeIntegralInRange(0, 2) == 0) {
      key += '\\' + std::to_string(input.ConsumeIntegralInRange(-2, 20));
    }
    const std::string name = input.PickValueInArray(kNames);
    switch (input.ConsumeIntegralInRange(0, 4)) {
      case 0:
        tests::SetText(key, name, AnyText(input));
        break;
      case 1:
        TheWorld().registry[key][name] = {input.ConsumeIntegralInRange<std::uint32_t>(0, 12),
                                          input.ConsumeRandomLengthString(30)};
        break;
      default:
        tests::SetNumber(key, name, AnyNumber(input));
    }
  }
}

// --- What the catalogs say, read from where they were written ---

const fakes::StoredValue* Stored(const std::string& key, const std::string& name) {
  const auto values = TheWorld().registry.find(key);
  if (values == TheWorld().registry.end()) return nullptr;
  const auto value = values->second.find(name);
  return value == values->second.end() ? nullptr : &value->second;
}

std::string WithoutTerminator(const std::string& bytes) {
  return bytes.size() < 2 ? "" : platform::FromAnsi(bytes.substr(0, bytes.size() - 1));
}

std::optional<std::int32_t> NumberAt(const std::string& key, const std::string& name) {
  const auto* const stored = Stored(key, name);
  if (stored == nullptr) return std::nullopt;
  if (stored->type == 4 && stored->bytes.size() >= 4) {
    std::int32_t number = 0;
    std::memcpy(&number, stored->bytes.data(), sizeof number);
    return number;
  }
  if (stored->type != 1) return std::nullopt;
  const auto value = NumericValue(WithoutTerminator(stored->bytes));
  return value ? RoundToLong(*value) : std::nullopt;
}

std::string TextAt(const std::string& key, const std::string& name, const std::string& absent) {
  const auto* const stored = Stored(key, name);
  if (stored == nullptr) return absent;
  switch (stored->type) {
    case 1:
      return WithoutTerminator(stored->bytes);
    case 4:
      return absent;
    case 7:
      return stored->bytes.size() < 3 ? "" : absent;
    default:
      return "";
  }
}

/// "Min" to "Max"; none where one is missing.
std::pair<std::int64_t, std::int64_t> RangeOf(const std::string& key) {
  const auto first = NumberAt(key, "Min");
  const auto last = NumberAt(key, "Max");
  if (!first || !last) return {0, -1};
  return {*first, *last};
}

/// The entries of a list, and the fault that it ends with.
struct List {
  Items items;
  std::int32_t fault = 0;

  void Add(const std::string& text, std::int64_t number) {
    items.emplace_back(text, static_cast<std::int32_t>(number));
  }
  /// The numbers of the range whose bit is set; there are 31 bits.
  template <class Text>
  void AddBits(std::pair<std::int64_t, std::int64_t> range, std::int32_t mask, Text text) {
    for (std::int64_t n = std::max<std::int64_t>(range.first, 0); n <= range.second; ++n) {
      if (n > 30) {
        fault = kOverflow;
        return;
      }
      if ((mask >> n & 1) != 0) Add(text(n), n);
    }
  }
  template <class Text>
  void AddAll(std::pair<std::int64_t, std::int64_t> range, Text text) {
    for (std::int64_t n = range.first; n <= range.second && n - range.first < kMostEntries; ++n) {
      Add(text(n), n);
    }
  }
};

std::string NameBelow(const std::string& key, std::int64_t number, const std::string& absent) {
  return TextAt(key + '\\' + std::to_string(number), "", absent);
}

auto MessageText(const std::string& key) {
  return [key](std::int64_t number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned>(number) & 0xFF);
    return digits + NameBelow(key, number, "Invalid");
  };
}

List Messages(const std::string& device) {
  const std::int32_t all = -1;
  List list;
  list.Add("NOP", -1);
  list.AddBits(RangeOf(tests::kMessages),
               device.empty()
                   ? all
                   : NumberAt(tests::kDeviceTypes + '\\' + device, "Commands").value_or(all),
               MessageText(tests::kMessages));
  return list;
}

List TestMessages(const std::string& device) {
  const std::string key =
      tests::kDeviceTypes + (device.empty() ? "" : '\\' + device) + "\\TestMessages";
  List list;
  list.Add("NOP", -1);
  list.AddAll(RangeOf(key), MessageText(key));
  list.Add("Invalid", 99);
  return list;
}

std::string Bracketed(std::int64_t number, const std::string& name) {
  return "[" + std::to_string(number) + "] " + name;
}

List Interfaces() {
  List list;
  list.AddBits(
      RangeOf(tests::kInterfaces), NumberAt(tests::kInterfaces, "Mask").value_or(0),
      [](std::int64_t n) { return Bracketed(n, NameBelow(tests::kInterfaces, n, "Unknown")); });
  return list;
}

List Intervals() {
  List list;
  list.AddAll(RangeOf(tests::kIntervals), [](std::int64_t n) {
    return Bracketed(n, TextAt(tests::kIntervals, std::to_string(n), "Unknown"));
  });
  return list;
}

// --- The dialog ---

Items ItemsOf(const FakeDialog& dialog, DialogList list) {
  Items items;
  for (const auto& [text, data] : dialog.Shown(list).items) items.emplace_back(text, data);
  return items;
}

void Act(FakeDialog& dialog, FuzzedDataProvider& input) {
  using platform::DialogButton;
  using platform::DialogCheck;
  using platform::DialogSpin;
  using platform::DialogText;
  switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0: {
      const auto list = static_cast<DialogList>(input.ConsumeIntegralInRange(0, 5));
      const auto count = static_cast<std::int32_t>(dialog.Shown(list).items.size());
      if (count > 0) dialog.Choose(list, input.ConsumeIntegralInRange(0, count - 1));
      return;
    }
    case 1:
      return dialog.Click(static_cast<DialogCheck>(input.ConsumeIntegralInRange(0, 2)));
    case 2:
      return dialog.Turn(static_cast<DialogSpin>(input.ConsumeIntegralInRange(0, 4)),
                         AnyNumber(input));
    case 3:
      return dialog.Type(static_cast<DialogText>(input.ConsumeIntegralInRange(0, 1)),
                         AnyText(input));
    case 4:
      return dialog.Press(static_cast<DialogButton>(input.ConsumeIntegralInRange(0, 2)));
    case 5:
      return dialog.CloseBox();
    case 6:
      return dialog.Wait(fakes::Milliseconds(input.ConsumeIntegralInRange(0, 3000)));
    default:
      return dialog.Move(AnyNumber(input), AnyNumber(input));
  }
}

void CheckLists(const FakeDialog& dialog) {
  for (std::size_t list = 0; list < platform::kDialogLists; ++list) {
    const auto& shown = dialog.Shown(static_cast<DialogList>(list));
    const auto count = static_cast<std::int32_t>(shown.items.size());
    Require(shown.selected >= -1 && shown.selected < count, "a selection that is not there");
  }
  Require(dialog.Shown(DialogList::cboMSI).items.size() <= kMostEntries, "a list without end");
}

// --- What a client does ---

class Client {
 public:
  Client(FreshWorld& world, FuzzedDataProvider& input) : world_(world), input_(input) {
    const bool simulated = NumberAt(tests::kSimulatorKey, "").value_or(0) != 0;
    const List interfaces = simulated ? Interfaces() : List();
    const List intervals = simulated ? Intervals() : List();
    TheWorld().dialog_user = [=, this](FakeDialog& dialog) {
      Require(ItemsOf(dialog, DialogList::cboMIF) == interfaces.items, "other interfaces");
      Require(ItemsOf(dialog, DialogList::cboTXI) == intervals.items, "other intervals");
      for (int left = input_.ConsumeIntegralInRange(0, 8); left > 0 && dialog.IsUp(); --left) {
        Act(dialog, input_);
        CheckLists(dialog);
      }
    };
    const std::int32_t last = NumberAt(tests::kInterfaces, "Max").value_or(0);
    const std::int32_t fault = FaultOf([&] { object_ = Zentrel::Create(); });
    Require((fault == 0) == (object_ != nullptr), "an object in spite of a fault");
    Require(last >= -1 || fault != 0, "names up to below -1");
    Require(interfaces.fault == 0 || fault != 0, "a list of interfaces beyond its bits");
  }

  void Go() {
    if (!object_) return;
    switch (input_.ConsumeIntegralInRange(0, 6)) {
      case 0:
        return Names();
      case 1:
        return Fill(Messages(device_), &Zentrel::TELIC2EnumMessages);
      case 2:
        return Fill(TestMessages(device_), &Zentrel::TELIC2EnumTestMessages);
      case 3:
        return Devices();
      case 4:
        device_ = input_.ConsumeBool() ? "A" : "";
        Require(FaultOf([&] { object_->TELIC2Device(device_); }) == 0, "a device is refused");
        return;
      case 5:
        object_->DeviceMIF(input_.ConsumeIntegral<std::uint8_t>());
        return Simulate(&Zentrel::WriteXpdr);
      default:
        return Simulate(input_.ConsumeBool() ? &Zentrel::ReadXpdr : &Zentrel::ResetXpdr);
    }
  }

 private:
  /// No call may ask for ever.
  template <class Action>
  std::int32_t FaultOf(Action action) {
    const std::size_t before = TheWorld().registry_requests;
    const std::int32_t fault = world_.FaultOf(action);
    Require(TheWorld().registry_requests - before < kMostRegistryCalls, "a call asks for ever");
    Require(TheWorld().open_keys.empty(), "a key is left open by a call");
    return fault;
  }

  void Names() {
    const std::string root = tests::kMessages + (input_.ConsumeBool() ? "\\" : "");
    const std::int32_t number = AnyNumber(input_);
    std::string name;
    Require(FaultOf([&] { name = object_->Name(root, number); }) == 0, "a name fails");
    Require(name == NameBelow(tests::kMessages, number, "Invalid"), "another name");

    // Stored values that were of no type that is read stand for 0.
    object_->TXI(input_.ConsumeIntegralInRange(-1, 16));
    const bool loaded = Stored(tests::kInterfaces, "Max") != nullptr;
    const bool inside = object_->TXI() >= 0 && object_->TXI() <= 15;
    const std::int32_t fault = FaultOf([&] { name = object_->TXIName(); });
    Require(fault == 0 || fault == kOutOfRange, "another fault of a name");
    if (fault != 0)
      return Require(!inside || !loaded || !NumberAt(tests::kInterfaces, "Max"),
                     "an interval without a name");
    Require(inside && loaded, "a name out of nowhere");
    Require(name == TextAt(tests::kIntervals, std::to_string(object_->TXI()), ""),
            "another name of an interval");
  }

  void Fill(const List& expected, bool (Zentrel::*fill)(const LateBound&, std::int32_t) const) {
    FakeListControl box;
    const std::int32_t preselected = AnyNumber(input_);
    const std::int32_t fault = FaultOf([&] { (object_.get()->*fill)(box.Bound(), preselected); });
    Require(fault == expected.fault, "another fault of a list");
    Require(box.items == expected.items, "another list");
    const auto chosen = std::ranges::find(box.items, preselected, &Items::value_type::second);
    const auto place = chosen == box.items.end() ? -1 : chosen - box.items.begin();
    if (fault == 0) Require(box.selected == place, "another selection");
  }

  void Devices() {
    FakeListControl box;
    const std::int32_t fault = FaultOf([&] { object_->TELIC2EnumDevices(box.Bound()); });
    Require(fault == 0 || fault == kTypeMismatch, "another fault of the devices");
    if (fault != 0) return;
    Items keys;
    const std::string below = tests::kDeviceTypes + '\\';
    for (const auto& [key, values] : TheWorld().registry) {
      if (!key.starts_with(below)) continue;
      const std::string name =
          key.substr(below.size(), key.find('\\', below.size()) - below.size());
      if (keys.empty() || keys.back().first != name) keys.emplace_back(name, 0);
    }
    std::ranges::sort(keys);
    const auto duplicates = std::unique(keys.begin(), keys.end());
    keys.erase(duplicates, keys.end());
    std::ranges::sort(box.items);
    Require(box.items == keys, "other devices");
  }

  void Simulate(ZentrelStatus (Zentrel::*command)()) {
    const int shown = TheWorld().dialogs_shown;
    const std::int32_t fault = FaultOf([&] { (object_.get()->*command)(); });
    Require(fault == 0 || fault == kOverflow || fault == kTypeMismatch,
            [&] { return "another fault of the dialog: " + std::to_string(fault); });
    const bool simulated = NumberAt(tests::kSimulatorKey, "").value_or(0) != 0;
    Require(simulated || TheWorld().dialogs_shown == shown, "a dialog without the simulator");
  }

  FreshWorld& world_;
  FuzzedDataProvider& input_;
  std::shared_ptr<Zentrel> object_;
  std::string device_;
};

}  // namespace
}  // namespace qmzentrel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qmzentrel::fuzz;
  FuzzedDataProvider input(data, size);
  FreshWorld world;
  WriteRanges(input);
  WriteCatalogs(input);
  Client client(world, input);
  for (int turn = 0; turn < 10 && input.remaining_bytes() > 0; ++turn) client.Go();
  return 0;
}
