// Clients calculate with other precision, rounding and exceptions than the component's compiler
// expects: nothing that it answers depends on that, and they find everything as they left it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "tests/clients/com_client.h"

namespace qmzentrel::clients {
namespace {

struct Arithmetic {
  const char* name;
  WORD x87;
  DWORD sse;
};

// As long as it lives.
class InForce {
 public:
  explicit InForce(const Arithmetic& wanted) {
    asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(x87_before_), "=m"(sse_before_));
    Set(wanted.x87, wanted.sse);
  }
  ~InForce() { Set(x87_before_, sse_before_); }
  InForce(const InForce&) = delete;
  InForce& operator=(const InForce&) = delete;

  static bool Is(const Arithmetic& wanted) {
    WORD x87 = 0;
    DWORD sse = 0;
    asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(x87), "=m"(sse));
    constexpr WORD kAlwaysSet = 0x40;
    constexpr DWORD kPastExceptions = 0x3F;
    return (x87 | kAlwaysSet) == (wanted.x87 | kAlwaysSet) &&
           (sse & ~kPastExceptions) == wanted.sse;
  }

 private:
  static void Set(WORD x87, DWORD sse) {
    asm volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(x87), "m"(sse));
  }

  WORD x87_before_ = 0;
  DWORD sse_before_ = 0;
};

// The last line that the component has written to the debugger's channel.
std::array<char, 200> g_line{};

__attribute__((force_align_arg_pointer)) LONG CALLBACK KeepLine(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  constexpr DWORD kDebuggerLine = 0x40010006;
  if (record.ExceptionCode == kDebuggerLine && record.NumberParameters > 1) {
    const auto length = static_cast<std::size_t>(record.ExceptionInformation[0]);
    const auto* const text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    std::copy_n(text, std::min(length, g_line.size() - 1), g_line.begin());
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

std::string TimeNow() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), ", %02d:%02d:%02d ", now.wHour, now.wMinute, now.wSecond);
  return text.data();
}

class HostArithmetic : public testing::TestWithParam<Arithmetic> {
 protected:
  ComPointer<_Zentrel> zentrel = NewZentrel();
};

INSTANTIATE_TEST_SUITE_P(Of, HostArithmetic,
                         testing::Values(Arithmetic{"GraphicsInSinglePrecision", 0x007F, 0x1F80},
                                         Arithmetic{"PascalWithExceptions", 0x1372, 0x1900},
                                         Arithmetic{"SoundWithoutDenormals", 0x027F, 0x9FC0},
                                         Arithmetic{"EveryExceptionButInexact", 0x0360, 0x1000},
                                         Arithmetic{"RoundingDown", 0x067F, 0x3F80},
                                         Arithmetic{"RoundingUp", 0x0A7F, 0x5F80},
                                         Arithmetic{"Truncating", 0x0E7F, 0x7F80}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_P(HostArithmetic, ChangesNoVerifyDelay) {
  int wrong = 0;
  bool kept = true;
  {
    const InForce in_force(GetParam());
    for (LONG delay = 0; delay < 20'000; delay += 7) {
      LONG answered = -1;
      zentrel->put_VDelay(delay);
      zentrel->get_VDelay(&answered);
      wrong += answered != delay ? 1 : 0;
    }
    kept = InForce::Is(GetParam());
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_TRUE(kept);
}

TEST_P(HostArithmetic, ChangesNoNameOfAWarmUp) {
  std::array<BSTR, 16> names{};
  bool kept = true;
  {
    const InForce in_force(GetParam());
    for (LONG i = 0; i < 16; ++i) {
      zentrel->put_PLLWarmup(i);
      zentrel->get_PLLWarmUpName(&names[static_cast<std::size_t>(i)]);
    }
    kept = InForce::Is(GetParam());
  }
  for (int i = 0; i < 16; ++i) {
    const std::wstring whole = std::to_wstring(i / 5);
    const std::wstring tenth = std::to_wstring(i % 5 * 2);
    EXPECT_EQ(Taken(names[static_cast<std::size_t>(i)]), whole + L"." + tenth + L" mS");
  }
  EXPECT_TRUE(kept);
}

TEST_P(HostArithmetic, ChangesNoTimeOfAStep) {
  g_line.fill('\0');
  void* const keeper = AddVectoredExceptionHandler(1, KeepLine);
  const std::string before = TimeNow();
  bool kept = true;
  {
    const InForce in_force(GetParam());
    auto status = S_OKAY;
    zentrel->DeviceClose(&status);
    kept = InForce::Is(GetParam());
  }
  const std::string after = TimeNow();
  RemoveVectoredExceptionHandler(keeper);
  const std::string line = g_line.data();
  EXPECT_TRUE(line.find(before) != std::string::npos || line.find(after) != std::string::npos)
      << line << "\nwas written between" << before << "and" << after;
  EXPECT_TRUE(kept);
}

TEST_P(HostArithmetic, ChangesNoNumberThatIsConverted) {
  constexpr LONG kNumber = 123'456'789;
  Value amount;
  V_VT(&amount.Raw()) = VT_CY;
  V_CY(&amount.Raw()).int64 = kNumber * 10'000LL;
  const DISPID reading = IdOf(zentrel.Get(), L"Reading");
  DISPID let = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&amount.Raw(), &let, 1, 1};
  HRESULT result = E_UNEXPECTED;
  bool kept = true;
  {
    const InForce in_force(GetParam());
    result = zentrel->Invoke(reading, IID_NULL, kEnglish, DISPATCH_PROPERTYPUT, &parameters,
                             nullptr, nullptr, nullptr);
    kept = InForce::Is(GetParam());
  }
  LONG stored = 0;
  zentrel->get_Reading(&stored);
  EXPECT_EQ(result, S_OK);
  EXPECT_EQ(stored, kNumber);
  EXPECT_TRUE(kept);
}

}  // namespace
}  // namespace qmzentrel::clients
