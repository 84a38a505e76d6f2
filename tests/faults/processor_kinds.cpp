#include <climits>
#include <cstdint>

#include <windows.h>

#include "tests/faults/kinds.h"

namespace qmzentrel::faults {

// Not in the namespace below, where the compiler would see that nobody implements it.
struct Interface {
  virtual void First() = 0;
  virtual ~Interface() = default;
};

namespace {

constexpr std::uintptr_t kWild = 0xDEADBEE0u;  // the operating system's half of the addresses
constexpr std::uint32_t kMultipleFloatTraps = 0xC00002B5u;

void* volatile g_wild = reinterpret_cast<void*>(kWild);
volatile int g_zero = 0;
volatile int g_minus_one = -1;
volatile int g_smallest = INT_MIN;
volatile int g_result = 0;

using Function = void (*)();

void Call(void* address) {
  reinterpret_cast<Function>(address)();
}

void CallVirtual(void* table) {
  void* object = table;
  void* volatile opaque = &object;
  static_cast<Interface*>(opaque)->First();
}

// Unmasks exceptions of the x87 unit as long as it lives.
class X87Exceptions {
 public:
  explicit X87Exceptions(unsigned mask) {
    asm volatile("fnclex\n\tfnstcw %0" : "=m"(before_));
    const auto now = static_cast<std::uint16_t>(before_ & ~mask);
    asm volatile("fldcw %0" : : "m"(now));
  }
  ~X87Exceptions() { asm volatile("fnclex\n\tfldcw %0" : : "m"(before_)); }
  X87Exceptions(const X87Exceptions&) = delete;
  X87Exceptions& operator=(const X87Exceptions&) = delete;

 private:
  std::uint16_t before_ = 0;
};
constexpr unsigned kX87Invalid = 1;
constexpr unsigned kX87Denormal = 2;
constexpr unsigned kX87ZeroDivide = 4;
constexpr unsigned kX87Overflow = 8;
constexpr unsigned kX87Underflow = 16;
constexpr unsigned kX87Inexact = 32;

// The same of the SSE unit.
class SseExceptions {
 public:
  explicit SseExceptions(unsigned mask) {
    asm volatile("stmxcsr %0" : "=m"(before_));
    const unsigned now = before_ & ~0x3Fu & ~mask;
    asm volatile("ldmxcsr %0" : : "m"(now));
  }
  ~SseExceptions() { asm volatile("ldmxcsr %0" : : "m"(before_)); }
  SseExceptions(const SseExceptions&) = delete;
  SseExceptions& operator=(const SseExceptions&) = delete;

 private:
  unsigned before_ = 0;
};
constexpr unsigned kSseInvalid = 0x80;
constexpr unsigned kSseZeroDivide = 0x200;

std::vector<Kind> MemoryKinds() {
  return {
      InProcedure("read null", EXCEPTION_ACCESS_VIOLATION, Way::kRaised, ReadNull),
      InProcedure("write null", EXCEPTION_ACCESS_VIOLATION, Way::kRaised, [] { *g_null = 1; }),
      InProcedure("write to code", EXCEPTION_ACCESS_VIOLATION, Way::kRaised,
                  [] { *reinterpret_cast<volatile int*>(&ProcessorKinds) = 1; }),
      InProcedure("execute null", EXCEPTION_ACCESS_VIOLATION, Way::kRaised, [] { Call(g_null); }),
      InProcedure("execute a wild address", EXCEPTION_ACCESS_VIOLATION, Way::kRaised,
                  [] { Call(g_wild); }),
      InProcedure("call through a table of wild functions", EXCEPTION_ACCESS_VIOLATION,
                  Way::kRaised,
                  [] {
                    void* functions[] = {g_wild, g_wild, g_wild};
                    CallVirtual(functions);
                  }),
      InProcedure("call through a wild table", EXCEPTION_ACCESS_VIOLATION, Way::kRaised,
                  [] { CallVirtual(g_wild); }),
      InProcedure("read a guarded page", EXCEPTION_GUARD_PAGE, Way::kRaised,
                  [] {
                    struct Page {
                      void* address = VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE,
                                                   PAGE_READWRITE | PAGE_GUARD);
                      ~Page() { VirtualFree(address, 0, MEM_RELEASE); }
                    } const page;
                    static_cast<void>(*static_cast<volatile int*>(page.address));
                  }),
  };
}

// The compiler does not count assembler among what raises errors; it does count functions that it
// knows nothing about.
[[gnu::noipa]] void ReadNullBackwards() {
  asm volatile("std\n\tmovl 0, %%eax" : : : "eax", "memory");
}

[[gnu::noipa]] void Ud2() {
  asm volatile("ud2" : : : "memory");
}

[[gnu::noipa]] void Int3() {
  asm volatile("int3" : : : "memory");
}

[[gnu::noipa]] void Hlt() {
  asm volatile("hlt" : : : "memory");
}

[[gnu::noipa]] void SingleStep() {
  asm volatile("pushfl\n\torl $0x100, (%%esp)\n\tpopfl\n\tnop\n\tnop" : : : "memory", "cc");
}

[[gnu::noipa]] void Bound() {
  const int bounds[] = {0, 5};
  asm volatile("boundl %0, %1" : : "r"(6), "m"(bounds) : "memory");
}

[[gnu::noipa]] void Into() {
  asm volatile("movl $0x7FFFFFFF, %%eax\n\taddl $1, %%eax\n\tinto" : : : "eax", "cc", "memory");
}

[[gnu::noipa]] void X87DivideByZero() {
  asm volatile("fld1\n\tfldz\n\tfdivrp\n\tfwait" : : : "st", "st(1)", "memory");
}

[[gnu::noipa]] void X87RootOfMinusOne() {
  asm volatile("fld1\n\tfchs\n\tfsqrt\n\tfwait" : : : "st", "memory");
}

[[gnu::noipa]] void X87RoundToFloat(double value) {
  float result = 0;
  asm volatile("fldl %1\n\tfstps %0\n\tfwait" : "=m"(result) : "m"(value) : "st", "memory");
}

[[gnu::noipa]] void X87RootOfPi() {
  asm volatile("fldpi\n\tfsqrt\n\tfwait" : : : "st", "memory");
}

[[gnu::noipa]] void X87Load(float value) {
  asm volatile("flds %0\n\tfwait" : : "m"(value) : "st", "memory");
}

[[gnu::noipa]] void X87LoadTooMany() {
  asm volatile("fld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfwait"
               :
               :
               : "st", "memory");
}

[[gnu::noipa]] void Ud2AmongX87Values() {
  asm volatile("fld1\n\tfldpi\n\tfldz\n\tud2" : : : "st", "memory");
}

[[gnu::noipa]] void SseDivideByZero() {
  float one = 1.0F;
  const float zero = 0.0F;
  asm volatile("divss %1, %0" : "+x"(one) : "m"(zero) : "memory");
}

[[gnu::noipa]] void SseRootOfMinusOne() {
  float minus_one = -1.0F;
  asm volatile("sqrtss %0, %0" : "+x"(minus_one) : : "memory");
}

std::vector<Kind> InstructionKinds() {
  return {
      InProcedure("integer division by zero", EXCEPTION_INT_DIVIDE_BY_ZERO, Way::kRaised,
                  [] { g_result = 7 / g_zero; }),
      // Not every system tells it from the division by zero.
      InProcedure(
          "smallest integer by -1", EXCEPTION_INT_OVERFLOW, Way::kRaised,
          [] { g_result = g_smallest / g_minus_one; }, EXCEPTION_INT_DIVIDE_BY_ZERO),
      InProcedure("ud2", EXCEPTION_ILLEGAL_INSTRUCTION, Way::kRaised, Ud2),
      InProcedure("int3", EXCEPTION_BREAKPOINT, Way::kRaised, Int3),
      InProcedure("hlt", EXCEPTION_PRIV_INSTRUCTION, Way::kRaised, Hlt),
      InProcedure("single step", EXCEPTION_SINGLE_STEP, Way::kRaised, SingleStep),
      InProcedure("bound", EXCEPTION_ARRAY_BOUNDS_EXCEEDED, Way::kRaised, Bound),
      InProcedure("into", EXCEPTION_INT_OVERFLOW, Way::kRaised, Into),
      InProcedure("read null with the direction flag set", EXCEPTION_ACCESS_VIOLATION, Way::kRaised,
                  ReadNullBackwards),
  };
}

// A kind of the x87 unit, with its exception `mask` unmasked.
template <class Statement>
Kind OfX87(const char* name, std::uint32_t code, unsigned mask, Statement statement) {
  return InProcedure(name, code, Way::kRaised, [=] {
    const X87Exceptions unmasked(mask);
    statement();
  });
}

template <class Statement>
Kind OfSse(const char* name, std::uint32_t one_code, unsigned mask, Statement statement) {
  return InProcedure(
      name, kMultipleFloatTraps, Way::kRaised,
      [=] {
        const SseExceptions unmasked(mask);
        statement();
      },
      one_code);
}

std::vector<Kind> FloatKinds() {
  return {
      OfX87("x87 division by zero", EXCEPTION_FLT_DIVIDE_BY_ZERO, kX87ZeroDivide, X87DivideByZero),
      OfX87("x87 invalid operation", EXCEPTION_FLT_INVALID_OPERATION, kX87Invalid,
            X87RootOfMinusOne),
      OfX87("x87 overflow", EXCEPTION_FLT_OVERFLOW, kX87Overflow, [] { X87RoundToFloat(1e300); }),
      OfX87("x87 underflow", EXCEPTION_FLT_UNDERFLOW, kX87Underflow,
            [] { X87RoundToFloat(1e-300); }),
      OfX87("x87 inexact result", EXCEPTION_FLT_INEXACT_RESULT, kX87Inexact, X87RootOfPi),
      OfX87("x87 denormal operand", EXCEPTION_FLT_DENORMAL_OPERAND, kX87Denormal,
            [] { X87Load(1e-40F); }),
      OfX87("x87 stack check", EXCEPTION_FLT_STACK_CHECK, kX87Invalid, X87LoadTooMany),
      InProcedure("ud2 with values in the x87 registers", EXCEPTION_ILLEGAL_INSTRUCTION,
                  Way::kRaised, Ud2AmongX87Values),
      OfSse("SSE division by zero", EXCEPTION_FLT_DIVIDE_BY_ZERO, kSseZeroDivide, SseDivideByZero),
      OfSse("SSE invalid operation", EXCEPTION_FLT_INVALID_OPERATION, kSseInvalid,
            SseRootOfMinusOne),
  };
}

}  // namespace

int* volatile g_null = nullptr;

std::vector<Kind> ProcessorKinds() {
  std::vector<Kind> kinds = MemoryKinds();
  for (auto* part : {&InstructionKinds, &FloatKinds}) {
    for (Kind& kind : part()) kinds.push_back(std::move(kind));
  }
  return kinds;
}

}  // namespace qmzentrel::faults
