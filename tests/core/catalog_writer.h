// An installer's hand: catalogs in the registry of the test's world.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tests/fakes/fake_world.h"

namespace qmzentrel::tests {

inline const std::string kMaker = "SOFTWARE\\QuenmoorComms\\";
inline const std::string kInterfaces = kMaker + "Kernel\\MIF";
inline const std::string kIntervals = kMaker + "Kernel\\TXI";
inline const std::string kMessages = kMaker + "TELIC2\\Messages";
inline const std::string kDeviceTypes = kMaker + "TELIC2\\Types";

/// Its unnamed value switches the simulator on.
inline const std::string kSimulatorKey = kMaker + "QMC Software Library\\Zentrel\\Simulator";

inline void SetNumber(const std::string& path, const std::string& name, std::int32_t number) {
  fakes::TheWorld().SetNumber(path, name, static_cast<std::uint32_t>(number));
}
inline void SetText(const std::string& path, const std::string& name, const std::string& text) {
  fakes::TheWorld().SetText(path, name, text);
}

inline void SetRange(const std::string& path, std::int32_t first, std::int32_t last) {
  SetNumber(path, "Min", first);
  SetNumber(path, "Max", last);
}

/// The unnamed value of a numbered key.
inline void SetName(const std::string& parent, std::int32_t number, const std::string& name) {
  SetText(parent + '\\' + std::to_string(number), "", name);
}

inline void SetInterfaces(std::int32_t first, std::int32_t last, std::int32_t mask) {
  SetRange(kInterfaces, first, last);
  SetNumber(kInterfaces, "Mask", mask);
}

inline std::string InterfaceKey(std::int32_t number) {
  return kInterfaces + '\\' + std::to_string(number);
}

/// A message of `bytes` data bytes.
inline void SetMessage(std::int32_t message, std::int32_t bytes) {
  SetNumber(kMessages + '\\' + std::to_string(message), "Bytes", bytes);
}

inline std::string TestMessages(const std::string& device) {
  return kDeviceTypes + '\\' + device + "\\TestMessages";
}

/// A test message of a device with its lengths to write and to read.
inline void SetTest(const std::string& device, std::int32_t message, std::int32_t write,
                    std::int32_t read) {
  const std::string key = TestMessages(device) + '\\' + std::to_string(message);
  SetNumber(key, "PBytes", write);
  SetNumber(key, "RBytes", read);
}

}  // namespace qmzentrel::tests
