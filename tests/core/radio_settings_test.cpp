// The electric radio settings: plain stored numbers, five of them under two names.
#include <limits>

#include "tests/core/core_test.h"

namespace qmzentrel::tests {
namespace {

struct Setting {
  const char* name;
  const char* member;  ///< the field that holds it
  std::int32_t (Zentrel::*get)() const;
  void (Zentrel::*let)(std::int32_t);
};

void PrintTo(const Setting& setting, std::ostream* stream) {
  *stream << setting.name;
}

const Setting kSettings[] = {
    {"Freq_MSB", "m_lngFreq_MSB", &Zentrel::Freq_MSB, &Zentrel::Freq_MSB},
    {"Freq_MID", "m_lngFreq_MID", &Zentrel::Freq_MID, &Zentrel::Freq_MID},
    {"Freq_LSB", "m_lngFreq_LSB", &Zentrel::Freq_LSB, &Zentrel::Freq_LSB},
    {"BR_MSB", "m_lngBR_MSB", &Zentrel::BR_MSB, &Zentrel::BR_MSB},
    {"BR_LSB", "M_lngBR_LSB", &Zentrel::BR_LSB, &Zentrel::BR_LSB},
    {"PA_CTRL", "m_lngPA_CTRL", &Zentrel::PA_CTRL, &Zentrel::PA_CTRL},
    {"EOL_CTRL", "m_lngEOL_CTRL", &Zentrel::EOL_CTRL, &Zentrel::EOL_CTRL},
    {"LeakThreshold", "m_lngLeakTHold", &Zentrel::LeakThreshold, &Zentrel::LeakThreshold},
    {"Freq_A2", "m_lngFreq_MSB", &Zentrel::Freq_A2, &Zentrel::Freq_A2},
    {"Freq_A1", "m_lngFreq_MID", &Zentrel::Freq_A1, &Zentrel::Freq_A1},
    {"Freq_A0", "m_lngFreq_LSB", &Zentrel::Freq_A0, &Zentrel::Freq_A0},
    {"Clock_A", "m_lngBR_MSB", &Zentrel::Clock_A, &Zentrel::Clock_A},
    {"PA_Power", "M_lngBR_LSB", &Zentrel::PA_Power, &Zentrel::PA_Power}};

class RadioSetting : public ZentrelTest, public testing::WithParamInterface<Setting> {
 protected:
  std::int32_t Get(const Setting& setting) const { return (zentrel.get()->*setting.get)(); }
  void Let(const Setting& setting, std::int32_t value) { (zentrel.get()->*setting.let)(value); }
};

INSTANTIATE_TEST_SUITE_P(Each, RadioSetting, testing::ValuesIn(kSettings),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(RadioSetting, StartsAtZero) {
  EXPECT_EQ(Get(GetParam()), 0);
}

TEST_P(RadioSetting, KeepsWhatItIsGiven) {
  constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();
  for (const std::int32_t value : {0x12, 255, 0, -5, kSmallest}) {
    Let(GetParam(), value);
    EXPECT_EQ(Get(GetParam()), value);
  }
}

TEST_P(RadioSetting, IsStoredInItsField) {
  Let(GetParam(), 123);
  const std::string member = GetParam().member;
  EXPECT_NE(zentrel->DumpFields().find("<" + member + ">123</" + member + ">"), std::string::npos);
}

TEST_P(RadioSetting, ReachesEveryNameOfItsFieldAndNoOther) {
  Let(GetParam(), 123);
  for (const Setting& other : kSettings) {
    const bool same_store = std::string(other.member) == GetParam().member;
    EXPECT_EQ(Get(other), same_store ? 123 : 0) << other.name;
  }
  EXPECT_FALSE(zentrel->HasLeak());
}

TEST_P(RadioSetting, TouchesNothingOutsideTheObject) {
  OpenBox(true, 0xA6);
  TheWorld().registry_calls.clear();
  Let(GetParam(), 7);
  Get(GetParam());
  EXPECT_EQ(TheWorld().TakeJournal(), std::vector<std::string>{});
  EXPECT_TRUE(TheWorld().registry_calls.empty());
}

class RadioSettings : public ZentrelTest {};

TEST_F(RadioSettings, NoRangeCheckAppliesToTheWords) {
  constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
  for (const Setting& setting : kSettings) {
    if (std::string(setting.name) == "LeakThreshold") continue;
    for (const std::int32_t value : {256, 70'000, kLargest}) {
      (zentrel.get()->*setting.let)(value);
      EXPECT_EQ((zentrel.get()->*setting.get)(), value) << setting.name;
    }
  }
}

TEST_F(RadioSettings, TheOlderFamilySeesTheNewerOnesChangesAndTheOtherWayRound) {
  zentrel->Freq_A2(0x12);
  EXPECT_EQ(zentrel->Freq_MSB(), 0x12);
  zentrel->PA_Power(7);
  EXPECT_EQ(zentrel->BR_LSB(), 7);
  zentrel->Clock_A(8);
  EXPECT_EQ(zentrel->BR_MSB(), 8);
  zentrel->Freq_MID(9);
  EXPECT_EQ(zentrel->Freq_A1(), 9);
  zentrel->Freq_LSB(10);
  EXPECT_EQ(zentrel->Freq_A0(), 10);
}

TEST_F(RadioSettings, ALeakThresholdAbove255IsStoredAs255) {
  for (const std::int32_t value : {256, 300, std::numeric_limits<std::int32_t>::max()}) {
    zentrel->LeakThreshold(0);
    zentrel->LeakThreshold(value);
    EXPECT_EQ(zentrel->LeakThreshold(), 255) << value;
  }
}

TEST_F(RadioSettings, AnyOtherLeakThresholdIsKept) {
  for (const std::int32_t value : {254, 255, 0, -5, -300}) {
    zentrel->LeakThreshold(value);
    EXPECT_EQ(zentrel->LeakThreshold(), value);
  }
}

TEST_F(RadioSettings, HasLeakStartsFalseAndKeepsWhatItIsGiven) {
  EXPECT_FALSE(zentrel->HasLeak());
  zentrel->HasLeak(true);
  EXPECT_TRUE(zentrel->HasLeak());
  for (const Setting& setting : kSettings) EXPECT_EQ((zentrel.get()->*setting.get)(), 0);
  zentrel->HasLeak(false);
  EXPECT_FALSE(zentrel->HasLeak());
}

TEST_F(RadioSettings, TheSettingsOutliveClosingAndOpening) {
  zentrel->Freq_MSB(1);
  zentrel->LeakThreshold(2);
  zentrel->HasLeak(true);
  Open(true);
  zentrel->DeviceClose();
  EXPECT_EQ(zentrel->Freq_MSB(), 1);
  EXPECT_EQ(zentrel->LeakThreshold(), 2);
  EXPECT_TRUE(zentrel->HasLeak());
}

TEST_F(RadioSettings, ATransponderReadOverwritesThem) {
  Open(true);
  for (const Setting& setting : kSettings) (zentrel.get()->*setting.let)(99);
  Record record;
  record.version = 0x81;
  record.tamper = 128 + 3;
  Port().Answer(Block1Reply(record));
  Port().Answer(Block2Reply({1, 2, 3, 4, 5, 6, 7, 0}));
  ASSERT_EQ(zentrel->ReadXpdr(), S_OKAY);
  EXPECT_EQ(zentrel->Freq_A2(), 1);
  EXPECT_EQ(zentrel->Freq_A1(), 2);
  EXPECT_EQ(zentrel->Freq_A0(), 3);
  EXPECT_EQ(zentrel->Clock_A(), 4);
  EXPECT_EQ(zentrel->PA_Power(), 5);
  EXPECT_EQ(zentrel->PA_CTRL(), 6);
  EXPECT_EQ(zentrel->EOL_CTRL(), 7);
  EXPECT_EQ(zentrel->LeakThreshold(), 255);
  EXPECT_TRUE(zentrel->HasLeak());
}

}  // namespace
}  // namespace qmzentrel::tests
