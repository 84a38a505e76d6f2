#include "tests/fuzz/properties.h"

namespace qmzentrel::fuzz {

#define QMZ_NUMBER(name)                                                \
  {                                                                     \
    [](const Zentrel& object) { return object.name(); },                \
        [](Zentrel& object, std::int32_t value) { object.name(value); } \
  }
#define QMZ_FLAG(name)                                                       \
  {                                                                          \
    [](const Zentrel& object) { return std::int32_t{object.name()}; },       \
        [](Zentrel& object, std::int32_t value) { object.name(value != 0); } \
  }

const Accessor kAccessors[kProperties] = {
    QMZ_NUMBER(DeviceMIF), QMZ_FLAG(IDToggle), QMZ_FLAG(MIFSelect),      QMZ_NUMBER(Util),
    QMZ_NUMBER(Xpdr),      QMZ_NUMBER(Tamper), QMZ_NUMBER(Reading),      QMZ_NUMBER(PLLWarmup),
    QMZ_NUMBER(TXI),       QMZ_NUMBER(MSI),    QMZ_NUMBER(Freq_MSB),     QMZ_NUMBER(Freq_MID),
    QMZ_NUMBER(Freq_LSB),  QMZ_NUMBER(BR_MSB), QMZ_NUMBER(BR_LSB),       QMZ_NUMBER(PA_CTRL),
    QMZ_NUMBER(EOL_CTRL),  QMZ_FLAG(HasLeak),  QMZ_NUMBER(LeakThreshold)};

const Alias kAliases[5] = {{kFreqMsb, QMZ_NUMBER(Freq_A2)},
                           {kFreqMid, QMZ_NUMBER(Freq_A1)},
                           {kFreqLsb, QMZ_NUMBER(Freq_A0)},
                           {kRateMsb, QMZ_NUMBER(Clock_A)},
                           {kRateLsb, QMZ_NUMBER(PA_Power)}};

#undef QMZ_NUMBER
#undef QMZ_FLAG

Shown ShownBy(const Zentrel& object) {
  Shown shown;
  for (std::size_t i = 0; i < kProperties; ++i) shown.properties[i] = kAccessors[i].get(object);
  shown.transponder_version = object.TravonelVersion();
  shown.box_version = object.ZentrelVersion();
  for (std::int16_t i = 0; i < 2; ++i) {
    shown.signature[static_cast<std::size_t>(i)] = object.ZentrelSignature(i);
  }
  shown.volts = object.BatteryVoltage();
  shown.power_timeout = object.PowerTimeout();
  shown.verify_delay = object.VDelay();
  return shown;
}

}  // namespace qmzentrel::fuzz
