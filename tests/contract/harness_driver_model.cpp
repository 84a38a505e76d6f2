// The harness's serial port: a driver in memory, behind the serial functions of this program.
#include "tests/contract/driver_model.h"
#include "tests/contract/harness.h"

namespace qmzentrel::contract {

bool HasSerialDevice() {
  return true;
}
std::int32_t DevicePort() {
  return DriverModel::kPort;
}
std::int32_t MissingPort() {
  return 251;
}
bool SystemGuardsPorts() {
  return true;
}

void ResetDevice() {
  DriverModel::The().Reset();
}

void WithRefusedSettings(const std::function<void(const platform::SerialSettings&)>& body) {
  platform::SerialSettings settings;
  settings.data_bits = 77;
  body(settings);
}

void DeviceAnswers(const std::vector<std::uint8_t>& bytes) {
  DriverModel::The().AnswerNext(bytes);
}

void DeviceSends(const std::vector<std::uint8_t>& bytes) {
  DriverModel::The().Send(bytes);
}

// The model's line takes its time anyway.
void DeviceTakesItsTime() {}

std::vector<std::uint8_t> DeviceReceived(std::size_t count) {
  return DriverModel::The().Received(count);
}

bool DeviceSeesLines(platform::ModemLines lines) {
  return DriverModel::The().Lines() == lines;
}

std::vector<platform::ModemLines> LineHistoryAtDevice() {
  return DriverModel::The().LineHistory();
}

void DeviceVanishes() {
  DriverModel::The().Vanish();
}
void DeviceComesBack() {
  DriverModel::The().ComeBack();
}

}  // namespace qmzentrel::contract
