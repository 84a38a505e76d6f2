#include "tests/fuzz/seen_text.h"

#include <cstdio>

namespace qmzentrel::fuzz {
namespace {

constexpr const char* kKindNames[] = {"begin", "end", "event", "message", "back", "sent"};
constexpr const char* kCallNames[] = {
    "DeviceOpen",      "DeviceInit",  "BoxStatus",    "ReadXpdr",    "WriteXpdr",
    "ResetXpdr",       "DeviceClose", "TELIC2Read",   "TELIC2Write", "TELIC2Test",
    "PowerManagement", "Power",       "PowerTimeout", "VDelay",      "property",
    "release",         "post",        "pump",         "plug",        "accept",
    "timers",          "set clock"};

std::string NumbersText(const Numbers& numbers) {
  std::string text = "[";
  for (const std::int32_t number : numbers) text += std::to_string(number) + ' ';
  return text + ']';
}

std::string CallText(const Call& call) {
  return std::string(kCallNames[static_cast<std::size_t>(call.what)]) + ' ' +
         std::to_string(call.number) + (call.flag ? " True " : " False ") +
         std::to_string(call.value) + ' ' + NumbersText(call.ids) + NumbersText(call.data);
}

std::string Detail(const Seen& seen) {
  std::string text;
  switch (seen.kind) {
    case Kind::kBegin:
      return CallText(seen.call);
    case Kind::kEnd:
      return CallText(seen.call) + (seen.fault ? " raised " : " status ") +
             std::to_string(seen.status) + ", " + Text(seen.shown);
    case Kind::kEvent:
      return seen.state ? "True" : "False";
    case Kind::kSent:
      text = Text(seen.bytes) + (seen.fault ? " raised" : "");
      for (const Chunk& chunk : seen.reaction) {
        text += " / " + TimeText(chunk.after) + ": " + Text(chunk.bytes);
      }
      return text;
    default:
      return text;
  }
}

}  // namespace

std::string Name(Kind kind) {
  return kKindNames[static_cast<std::size_t>(kind)];
}

std::string TimeText(Time time) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", std::chrono::duration<double>(time).count());
  return text;
}

std::string Text(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    char digits[8];
    std::snprintf(digits, sizeof digits, "%02X ", unsigned{byte});
    text += digits;
  }
  return text;
}

std::string Text(const Shown& shown) {
  return NumbersText(Numbers(shown.properties.begin(), shown.properties.end())) + " versions " +
         shown.transponder_version + ", " + shown.box_version + ", signature " +
         std::to_string(shown.signature[0]) + ' ' + std::to_string(shown.signature[1]) +
         ", volts " + std::to_string(shown.volts) + ", timeout " +
         std::to_string(shown.power_timeout) + ", delay " + std::to_string(shown.verify_delay);
}

std::string Text(const std::vector<Seen>& seen, std::size_t place) {
  constexpr std::size_t kBeyond = 3;
  std::string text;
  for (std::size_t i = 0; i < seen.size() && i <= place + kBeyond; ++i) {
    text += (i == place ? "> " : "  ") + TimeText(seen[i].at) + ' ' + Name(seen[i].kind) + ' ' +
            (seen[i].lines[0] ? '1' : '0') + (seen[i].lines[1] ? '1' : '0') + ' ' +
            Detail(seen[i]) + '\n';
  }
  return text;
}

}  // namespace qmzentrel::fuzz
