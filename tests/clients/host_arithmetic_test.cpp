// Clients calculate with other precision, rounding and exceptions than the component's compiler
// expects: nothing that it answers depends on that, and they find everything as they left it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "tests/automation/scripted_object.h"
#include "tests/clients/com_client.h"
#include "tests/clients/test_catalog.h"

namespace qmzentrel::clients {
namespace {

struct Arithmetic {
  const char* name;
  WORD x87;
  DWORD sse;
};

// All that a client finds again of the processor's arithmetic, marks of past exceptions and all.
struct State {
  DWORD control;
  DWORD status;
  DWORD tags;  // of registers in use
  DWORD sse;

  bool operator==(const State&) const = default;
};

using Environment = std::array<DWORD, 7>;  // as the processor stores it

// The upper halves are reserved.
DWORD Lower(DWORD word) {
  return word & 0xFFFF;
}

State Now() {
  Environment x87{};
  DWORD sse = 0;
  asm volatile("fnstenv %0\n\tfldenv %0\n\tstmxcsr %1" : "+m"(x87), "=m"(sse));
  constexpr DWORD kOutcomesOfComparisons = 0x4700;
  return {Lower(x87[0]), Lower(x87[1]) & ~kOutcomesOfComparisons, Lower(x87[2]), sse};
}

// With the marks of all exceptions that `wanted` lets pass.
State With(const Arithmetic& wanted) {
  constexpr DWORD kAlwaysSet = 0x40;
  constexpr DWORD kMarks = 0x3F;
  constexpr DWORD kNoneInUse = 0xFFFF;
  constexpr int kSseMasks = 7;
  return {wanted.x87 | kAlwaysSet, wanted.x87 & kMarks, kNoneInUse,
          wanted.sse | (wanted.sse >> kSseMasks & kMarks)};
}

// As long as it lives.
class InForce {
 public:
  explicit InForce(const Arithmetic& wanted) : before_(Now()) { Set(With(wanted)); }
  ~InForce() { Set(before_); }
  InForce(const InForce&) = delete;
  InForce& operator=(const InForce&) = delete;

  static bool Is(const Arithmetic& wanted) { return Now() == With(wanted); }

 private:
  static void Set(const State& state) {
    Environment x87{state.control, state.status, state.tags};
    asm volatile("fldenv %0\n\tldmxcsr %1" : : "m"(x87), "m"(state.sse));
  }

  State before_;
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

class HostArithmeticOfConversions : public HostArithmetic {};

const auto kKinds = testing::Values(Arithmetic{"GraphicsInSinglePrecision", 0x007F, 0x1F80},
                                    Arithmetic{"PascalWithExceptions", 0x1372, 0x1900},
                                    Arithmetic{"SoundWithoutDenormals", 0x027F, 0x9FC0},
                                    Arithmetic{"EveryExceptionButInexact", 0x0360, 0x1000},
                                    Arithmetic{"RoundingDown", 0x067F, 0x3F80},
                                    Arithmetic{"RoundingUp", 0x0A7F, 0x5F80},
                                    Arithmetic{"Truncating", 0x0E7F, 0x7F80});
// Not for all: the component itself rounds.
const auto kEvenInexact = testing::Values(Arithmetic{"EveryException", 0x0340, 0x0000});

std::string KindOf(const testing::TestParamInfo<Arithmetic>& instance) {
  return instance.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, HostArithmetic, kKinds, KindOf);
INSTANTIATE_TEST_SUITE_P(Of, HostArithmeticOfConversions, kKinds, KindOf);
INSTANTIATE_TEST_SUITE_P(Even, HostArithmeticOfConversions, kEvenInexact, KindOf);

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

constexpr LONG kNumber = 123'456'789;

// With a fraction: its conversion is inexact.
Value Amount() {
  Value amount;
  V_VT(&amount.Raw()) = VT_CY;
  V_CY(&amount.Raw()).int64 = kNumber * 10'000LL + 2'500;
  return amount;
}

TEST_P(HostArithmeticOfConversions, ChangeNoNumber) {
  // Another object's value is an object, too.
  bool own_kept = true;
  automation::ScriptedObject inner;
  inner.default_member = [&](const auto& use) {
    own_kept = own_kept && InForce::Is(GetParam());
    return VariantCopy(use.result, &Amount().Raw());
  };
  automation::ScriptedObject outer;
  outer.default_member = [&](const auto& use) {
    return VariantCopy(use.result, &Value::Object(&inner).Raw());
  };
  for (const Value& given : {Amount(), Value::Object(&inner), Value::Object(&outer)}) {
    Value argument = given;
    const DISPID reading = IdOf(zentrel.Get(), L"Reading");
    DISPID let = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{&argument.Raw(), &let, 1, 1};
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
    zentrel->put_Reading(0);
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(stored, kNumber);
    EXPECT_TRUE(kept);
  }
  EXPECT_TRUE(own_kept) << "the client's code runs in the client's arithmetic";
  EXPECT_EQ(inner.references, 1U);
  EXPECT_EQ(outer.references, 1U);
}

TEST_P(HostArithmetic, ChangesNoNumberThatAListGivesBack) {
  const FilledTestCatalog catalog;
  LONG place = 0;
  automation::ScriptedObject box;
  box.members = {
      {L"Clear", [](const auto&) { return S_OK; }},
      {L"AddItem", [](const auto&) { return S_OK; }},
      {L"NewIndex", [](const auto& use) { return VariantCopy(use.result, &Amount().Raw()); }},
      {L"ItemData",
       [&](const auto& use) {
         if (use.IsLet()) place = V_I4(use.arguments.front());
         return S_OK;
       }},
      {L"ListCount", [](const auto& use) { return use.GiveShort(0); }},
      {L"ListIndex", [](const auto&) { return S_OK; }}};
  VARIANT_BOOL filled = VARIANT_FALSE;
  bool kept = true;
  IDispatch* list = &box;
  {
    const InForce in_force(GetParam());
    zentrel->TELIC2EnumMessages(&list, -1, &filled);
    kept = InForce::Is(GetParam());
  }
  EXPECT_EQ(filled, VARIANT_TRUE);
  EXPECT_EQ(place, kNumber);
  EXPECT_TRUE(kept);
}

TEST(ObjectsAsArguments, WhoseValueIsNeverAPlainOneAreRefused) {
  const ComPointer<_Zentrel> zentrel = NewZentrel();
  automation::ScriptedObject itself;
  itself.default_member = [&](const auto& use) {
    return VariantCopy(use.result, &Value::Object(&itself).Raw());
  };
  EXPECT_EQ(Let(zentrel.Get(), L"Reading", Value::Object(&itself)).result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(itself.references, 1U);
}

}  // namespace
}  // namespace qmzentrel::clients
