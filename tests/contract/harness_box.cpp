// The harness's serial port: one of the operating system, with a virtual box behind it.
#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "platform/win32/handle.h"
#include "tests/contract/harness.h"
#include "tools/virtual_box/control_client.h"
#include "tools/virtual_box/environment.h"

namespace qmzentrel::contract {
namespace {

using platform::OwnedHandle;
using virtual_box::ControlClient;
using virtual_box::NumberFromEnvironment;

constexpr std::int32_t kMissingPort = 251;
// How long something may take to cross from one process to the other.
constexpr DWORD kPatienceMs = 5000;
// More than any test sends: the box answers nothing that it was not told to.
constexpr const char* kStaySilent = "silence 1000000";

// The channel to the box; throws when there is none.
ControlClient& Box() {
  static ControlClient client;
  static const bool connected = client.Connect(NumberFromEnvironment("QMZ_BOX_CONTROL").value());
  if (!connected) throw std::runtime_error("no virtual box at QMZ_BOX_CONTROL");
  return client;
}

// A command to the box; throws when it is refused, which ends the test with the reason.
ControlClient::Answer TellBox(const std::string& command) {
  ControlClient::Answer answer = Box().Command(command);
  if (!answer.ok) throw std::runtime_error("virtual box: " + command + ": " + answer.text);
  return answer;
}

std::string Hex(const std::vector<std::uint8_t>& bytes) {
  return virtual_box::HexText(bytes);
}

platform::ModemLines ParseLines(const std::string& entry) {
  return {entry.find("dtr=1") != std::string::npos, entry.find("rts=1") != std::string::npos};
}

}  // namespace

bool HasSerialDevice() {
  return NumberFromEnvironment("QMZ_PORT") && NumberFromEnvironment("QMZ_BOX_CONTROL");
}

std::int32_t DevicePort() {
  return NumberFromEnvironment("QMZ_PORT").value();
}
std::int32_t MissingPort() {
  return kMissingPort;
}

bool SystemGuardsPorts() {
  const std::wstring device = L"\\\\.\\COM" + std::to_wstring(DevicePort());
  const auto open = [&device] {
    return OwnedHandle(CreateFileW(device.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
  };
  const OwnedHandle first = open();
  const OwnedHandle second = open();
  return first.IsValid() && !second.IsValid();
}

void ResetDevice() {
  if (!TellBox("state").text.starts_with("plugged")) TellBox("plug");
  TellBox("set pace 0 answer-ms 0 startup-ms 0 intake 0");
  TellBox("supply none");
  TellBox("clear");
  TellBox(kStaySilent);
  TellBox("lines-clear");
  TellBox("log-clear");
}

void WithRefusedSettings(const std::function<void(const platform::SerialSettings&)>& body) {
  platform::SerialSettings settings;
  settings.data_bits = 77;
  body(settings);
}

void DeviceAnswers(const std::vector<std::uint8_t>& bytes) {
  TellBox("clear");
  // Instead of the reply that the box would give.
  TellBox("stray " + Hex(bytes) + " + truncate 1 0");
  TellBox(kStaySilent);
}

void DeviceSends(const std::vector<std::uint8_t>& bytes) {
  const auto frames = std::ranges::count_if(Box().Log(), &virtual_box::LogLine::IsFrame);
  TellBox("send " + Hex(bytes));
  TellBox("wait-frames " + std::to_string(frames + 1) + ' ' + std::to_string(kPatienceMs));
}

void DeviceTakesItsTime() {
  TellBox("set intake 1");
}

std::vector<std::uint8_t> DeviceReceived(std::size_t count) {
  const DWORD begin = GetTickCount();
  while (true) {
    std::vector<std::uint8_t> received;
    for (const virtual_box::LogLine& line : Box().Log()) {
      if (line.mark != virtual_box::LogMark::kToBox) continue;
      received.insert(received.end(), line.bytes.begin(), line.bytes.end());
    }
    if (received.size() >= count || GetTickCount() - begin > kPatienceMs) return received;
    Sleep(10);
  }
}

bool DeviceSeesLines(platform::ModemLines lines) {
  for (const DWORD begin = GetTickCount(); GetTickCount() - begin <= kPatienceMs; Sleep(10)) {
    const auto history = LineHistoryAtDevice();
    if (!history.empty() && history.back() == lines) return true;
  }
  return false;
}

std::vector<platform::ModemLines> LineHistoryAtDevice() {
  std::vector<platform::ModemLines> history;
  for (const std::string& entry : TellBox("lines").lines) history.push_back(ParseLines(entry));
  return history;
}

void DeviceVanishes() {
  TellBox("unplug");
}
void DeviceComesBack() {
  TellBox("plug");
}

}  // namespace qmzentrel::contract
