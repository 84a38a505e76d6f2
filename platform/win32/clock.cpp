#include "platform/clock.h"

#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <algorithm>
#include <cmath>

#include "platform/win32/usual_arithmetic.h"

namespace qmzentrel::platform {
namespace {

constexpr float kSecondsPerDay = 86400.0F;

}  // namespace

float SecondsSinceMidnight() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  const double seconds =
      now.wHour * 3600.0 + now.wMinute * 60.0 + now.wSecond + now.wMilliseconds / 1000.0;
  // The last milliseconds of the day would round up to a time that no clock shows.
  return std::min(static_cast<float>(seconds), std::nextafter(kSecondsPerDay, 0.0F));
}

double LocalDate() {
  const UsualArithmetic usual;
  SYSTEMTIME now;
  GetLocalTime(&now);
  // Whole seconds: a fraction could make the formatting round a time stamp up.
  now.wMilliseconds = 0;
  double date = 0.0;
  SystemTimeToVariantTime(&now, &date);
  return date;
}

std::int64_t SteadyMs() {
  return static_cast<std::int64_t>(GetTickCount64());
}

}  // namespace qmzentrel::platform
