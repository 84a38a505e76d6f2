#include <algorithm>

#include "interface/telic2_catalog.h"
#include "tools/catalog_checker/catalog_parts.h"
#include "tools/catalog_checker/shared_checks.h"
#include "tools/catalog_checker/sub_device_messages.h"

namespace qmzentrel::catalog_checker {
namespace {

using catalogs::Range;

constexpr std::int32_t kNoReply = -1;

constexpr const char* kNoneListed = "only NOP and Invalid are listed";
constexpr const char* kRefused = "a command with it is refused: S_MSG_TOO_LONG";
constexpr const char* kTakenAs0 = "it is taken as 0";

void CheckReadLength(const CatalogKey& key) {
  const auto bytes = key.Number(value_name::kRBytes, Defaulted(kTakenAs0));
  if (!bytes) return;
  const std::string is = "is " + std::to_string(*bytes) + ", ";
  if (*bytes < kNoReply) {
    key.Fault(value_name::kRBytes, is + "below -1", "it counts as no reply");
  } else if (*bytes > kMostRead) {
    key.Fault(value_name::kRBytes, is + "more than a reply holds", kRefused);
  } else if (*bytes > kMostDataBytes) {
    key.Fault(value_name::kRBytes, is + "more than four bytes",
              "four are taken, the others for messages of their own");
  }
}

void CheckWriteLength(const CatalogKey& key) {
  const auto bytes = key.Number(value_name::kPBytes, Defaulted(kTakenAs0));
  if (!bytes) return;
  const std::string is = "is " + std::to_string(*bytes) + ", ";
  if (*bytes < 0) {
    key.Fault(value_name::kPBytes, is + "below 0", "the frame is cut short by so many bytes");
  } else if (*bytes > kMostSent) {
    key.Fault(value_name::kPBytes, is + "more than a frame carries", kRefused);
  } else if (*bytes > kMostDataBytes) {
    key.Fault(value_name::kPBytes, is + "more than four bytes",
              "only four travel; what follows them stands in the wrong place");
  }
}

void CheckTestMessage(const CatalogKey& key) {
  key.Name("", Required("it is listed as \"Invalid\""));
  CheckReadLength(key);
  CheckWriteLength(key);
  CheckValueNames(key, {value_name::kRBytes, value_name::kPBytes});
}

void CheckTestNames(const CatalogKey& tests, const std::optional<Range>& range) {
  for (const std::string& name : tests.SubKeyNames()) {
    const CatalogKey test = tests.SubKey(name);
    const auto identifier = IdentifierOf(test, name);
    if (!identifier) continue;
    if (*identifier == catalogs::kInvalidTestMessage) {
      test.Fault("", "is the number of \"Invalid\"",
                 "it is never sent: a command with it is refused: S_BAD_PARAMETER");
      continue;
    }
    CheckIsListed(test, *identifier, range);
    CheckTestMessage(test);
  }
}

void CheckTestRange(const CatalogKey& tests, const Range& range) {
  if (range.first < kIdentifiers.first) {
    tests.Fault(value_name::kMin, "is " + std::to_string(range.first) + ", below 0",
                EffectOfEnd(range.first, kLowestByteSent));
  }
  if (range.last > kIdentifiers.last) {
    tests.Fault(value_name::kMax, "is " + std::to_string(range.last) + ", above 255",
                EffectOfEnd(range.last, kLowestByteSent));
  }
  if (IsWithin(range, catalogs::kInvalidTestMessage)) {
    tests.Fault(value_name::kMax, "lets 99, the number of \"Invalid\", into the range",
                "it is listed twice and never sent");
  }
  const std::int32_t last = std::min(range.last, kIdentifiers.last);
  for (std::int32_t n = std::max(range.first, kIdentifiers.first); n <= last; ++n) {
    const CatalogKey test = tests.SubKey(std::to_string(n));
    if (n != catalogs::kInvalidTestMessage && !test.IsThere()) {
      test.Fault("", "is missing", "it is listed as \"Invalid\", and has no data and no reply");
    }
  }
}

void CheckTestMessages(const CatalogKey& tests) {
  if (!tests.IsThere()) {
    tests.Remark("", "is missing", kNoneListed);
    return;
  }
  CheckValueNames(tests, {value_name::kMin, value_name::kMax});
  const auto range = CheckRange(tests, kNoneListed);
  CheckTestNames(tests, range);
  if (range) CheckTestRange(tests, *range);
}

void CheckCommands(const CatalogKey& device, const std::optional<Range>& messages) {
  const auto commands = device.Number(value_name::kCommands, Defaulted("every message is offered"));
  if (!commands) return;
  if (*commands == 0) device.Remark(value_name::kCommands, "is 0", "no message is offered");
  if (messages) CheckBits(device, value_name::kCommands, *commands, *messages);
}

}  // namespace

void CheckDeviceTypes(const std::optional<Range>& messages, Findings& findings) {
  const CatalogKey types(catalogs::kDeviceTypesKey, findings);
  const std::vector<std::string> names = types.SubKeyNames();
  if (names.empty()) {
    types.Fault("", "has no sub-keys", "TELIC2EnumDevices has no type to list");
    return;
  }
  CheckSorting(types, names);
  CheckValueNames(types, {});
  for (const std::string& name : names) {
    const CatalogKey device(catalogs::DeviceKey(name), findings);
    CheckCommands(device, messages);
    CheckValueNames(device, {value_name::kCommands});
    for (const std::string& other : device.SubKeyNames()) {
      if (!IsOneOf(other, {catalogs::kTestMessagesName})) {
        device.SubKey(other).Remark("", "is no key of the catalog", "nothing reads it");
      }
    }
    CheckTestMessages(device.SubKey(catalogs::kTestMessagesName));
  }
}

}  // namespace qmzentrel::catalog_checker
