// What every test of the checks stands on: the sample catalog, of which it breaks an entry.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "interface/telic2_catalog.h"
#include "support/modErrorReportSupport.h"
#include "tests/contract/registry_codes.h"
#include "tests/core/catalog_writer.h"
#include "tests/fakes/fake_world.h"
#include "tools/catalog_checker/catalog_checks.h"
#include "tools/catalog_checker/tests/registry_file.h"

namespace qmzentrel::catalog_checker::tests {

using fakes::TheWorld;
using namespace qmzentrel::tests;

inline const std::string kKernel = kMaker + "Kernel";
inline const std::string kSignatureTypes = kMaker + "Zentrel\\Types";
inline const std::string kSignatureModes = kMaker + "Zentrel\\Modes";
/// A type of sub-devices of the sample.
inline const std::string kDevice = "Magnetic sensor";
inline const std::string kDeviceKey = kDeviceTypes + '\\' + kDevice;

class SampleCatalog : public testing::Test {
 protected:
  void SetUp() override {
    fakes::ResetWorld();
    ImportRegistryFile(CATALOG_FILE);
    RemarksOfSample();
  }

  void TearDown() override {
    modErrorReportSupport::ReleaseThread();
    for (const auto& message : TheWorld().stop_messages) ADD_FAILURE() << message.text;
    EXPECT_TRUE(TheWorld().open_keys.empty()) << "a registry key was left open";
  }

  static void DeleteValue(const std::string& key, const std::string& name) {
    ASSERT_EQ(TheWorld().registry.at(key).erase(name), 1U) << key << ", " << name;
  }

  /// With everything below it.
  static void DeleteKey(const std::string& key) {
    const auto erased = std::erase_if(TheWorld().registry, [&key](const auto& entry) {
      return (entry.first + '\\').starts_with(key + '\\');
    });
    ASSERT_GT(erased, 0U) << key;
  }

  static void Store(const std::string& key, const std::string& name, std::uint32_t type,
                    const std::string& bytes) {
    TheWorld().registry[key][name] = {type, bytes};
  }

  static std::vector<std::string> Lines(Grade grade) {
    std::vector<std::string> lines;
    for (const Finding& finding : CheckCatalog()) {
      if (finding.grade == grade) lines.push_back(Line(finding));
    }
    return lines;
  }

  static std::vector<std::string> Faults() { return Lines(Grade::kFault); }

  /// Those that the sample does not have.
  static std::vector<std::string> NewRemarks() {
    std::vector<std::string> lines = Lines(Grade::kRemark);
    std::erase_if(lines, [](const std::string& line) {
      return std::ranges::find(RemarksOfSample(), line) != RemarksOfSample().end();
    });
    return lines;
  }

  /// `value` is empty for the key as a whole.
  static std::string Fault(const std::string& key, const std::string& value,
                           const std::string& problem, const std::string& effect) {
    return Line({Grade::kFault, key, value, problem, effect});
  }
  static std::string Remark(const std::string& key, const std::string& value,
                            const std::string& problem, const std::string& effect) {
    return Line({Grade::kRemark, key, value, problem, effect});
  }

  using Only = std::vector<std::string>;

 private:
  // Called first while the world holds the sample as it is.
  static const std::vector<std::string>& RemarksOfSample() {
    static const std::vector<std::string> remarks = Lines(Grade::kRemark);
    return remarks;
  }
};

}  // namespace qmzentrel::catalog_checker::tests
