#include <windows.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/run_time_error.h"
#include "tests/faults/kinds.h"

namespace qmzentrel::faults {

// Not in the namespace below, where the compiler would see what can be called.
struct HalfBuilt {
  HalfBuilt() { CallUnbuilt(*this); }
  virtual ~HalfBuilt() = default;
  virtual void Unbuilt() = 0;
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.PureVirtualCall): that is the fault.
  [[gnu::noipa]] static void CallUnbuilt(HalfBuilt& object) { object.Unbuilt(); }
};

struct Built : HalfBuilt {
  void Unbuilt() override {}
};

namespace {

constexpr std::uint32_t kAccessViolation = EXCEPTION_ACCESS_VIOLATION;

struct FaultingDestructor {
  ~FaultingDestructor() noexcept(false) { ReadNull(); }
};

struct FaultingSilentDestructor {
  ~FaultingSilentDestructor() { ReadNull(); }
};

struct FaultingConstructor {
  FaultingConstructor() { ReadNull(); }
  Witness member;
};

[[gnu::noinline]] void RaisesNothing() noexcept {
  ReadNull();
}

[[gnu::noinline]] void RaisesNothingAndOwns() noexcept {
  const Witness witness;
  ReadNull();
}

// Another error than the fault: the fault goes through a handler that does not take it.
[[gnu::noinline]] void RaisesNothingAndCatches() noexcept {
  try {
    ReadNull();
  } catch (const std::logic_error&) {
    Witness::alive = 0;
  }
}

// Keeps the compiler from calling the next one in place of the one that calls it.
volatile int g_after = 0;

[[gnu::noinline]] void Third() {
  const Witness witness;
  ReadNull();
  g_after = 3;
}

[[gnu::noinline]] void Second() {
  const Witness witness;
  Third();
  g_after = 2;
}

[[gnu::noinline]] void First() {
  const Witness witness;
  Second();
  g_after = 1;
}

void (*volatile g_recurse)(int) = nullptr;

[[gnu::noinline]] void Recurse(int depth) {
  volatile char space[512];
  space[0] = static_cast<char>(depth);
  g_recurse(depth + 1);
  space[1] = space[0];
}

// More than a page, which the compiler's own helper touches one by one.
[[gnu::noinline]] void RecurseInBigSteps(int depth) {
  volatile char space[20000];
  space[0] = static_cast<char>(depth);
  g_recurse(depth + 1);
  space[1] = space[0];
}

}  // namespace

std::vector<Kind> PlaceKinds() {
  return {
      InProcedure("in a destructor", kAccessViolation, Way::kRaised,
                  [] { const FaultingDestructor object; }),
      InProcedure("in a destructor that raises nothing", kAccessViolation, Way::kCutBack,
                  [] { const FaultingSilentDestructor object; }),
      InProcedure("in a destructor on the way of another error", kAccessViolation, Way::kCutBack,
                  [] {
                    const FaultingSilentDestructor object;
                    RaiseError(kErrorOverflow);
                  }),
      InProcedure("in a constructor", kAccessViolation, Way::kRaised,
                  [] { const FaultingConstructor object; }),
      InProcedure("in a constructor on the heap", kAccessViolation, Way::kRaised,
                  [] { delete new FaultingConstructor; }),
      InProcedure("in a catch handler", kAccessViolation, Way::kRaised,
                  [] {
                    try {
                      RaiseError(kErrorOverflow);
                    } catch (const RunTimeError&) {
                      ReadNull();
                    }
                  }),
      InProcedure("in a function that raises nothing", kAccessViolation, Way::kCutBack,
                  RaisesNothing),
      InProcedure("in a function that raises nothing and owns something", kAccessViolation,
                  Way::kCutBack, RaisesNothingAndOwns),
      InProcedure("in a function that raises nothing and catches other errors", kAccessViolation,
                  Way::kCutBack, RaisesNothingAndCatches),
      InProcedure("in such a function from a catch handler of another fault", kAccessViolation,
                  Way::kCutBack,
                  [] {
                    try {
                      ReadNull();
                    } catch (const RunTimeError&) {
                      RaisesNothing();
                    }
                  }),
      InProcedure("in one that catches other errors, from a catch handler", kAccessViolation,
                  Way::kCutBack,
                  [] {
                    try {
                      RaiseError(kErrorOverflow);
                    } catch (const RunTimeError&) {
                      RaisesNothingAndCatches();
                    }
                  }),
      InProcedure("in a function that owns something from a catch handler", kAccessViolation,
                  Way::kCutBack,
                  [] {
                    try {
                      RaiseError(kErrorOverflow);
                    } catch (const RunTimeError&) {
                      RaisesNothingAndOwns();
                    }
                  }),
      InProcedure("three calls deep", kAccessViolation, Way::kRaised, First),
      InProcedure("in place of a pure virtual function", kAccessViolation, Way::kCutBack,
                  [] { Built(); }),
      InProcedure("in a function object", kAccessViolation, Way::kRaised,
                  [] {
                    const std::function<void()> function = ReadNull;
                    function();
                  }),
      InProcedure("in a comparison of a sort", kAccessViolation, Way::kRaised,
                  [] {
                    std::vector<int> list{3, 1, 2};
                    std::ranges::sort(list, [](int left, int right) {
                      ReadNull();
                      return left < right;
                    });
                  }),
      InProcedure("in the C++ library", kAccessViolation, Way::kCutBack,
                  [] {
                    const char* volatile bad = reinterpret_cast<const char*>(1);
                    const std::string text(bad, 100);
                  }),
      InProcedure("in a copy that the compiler makes itself", kAccessViolation, Way::kCutBack,
                  [] {
                    char target[64];
                    __builtin_memcpy(target, g_null, sizeof target);
                    g_after = static_cast<unsigned char>(target[sizeof target - 1]);
                  }),
      InProcedure("stack overflow", EXCEPTION_STACK_OVERFLOW, Way::kCutBack,
                  [] {
                    g_recurse = Recurse;
                    Recurse(0);
                  }),
      InProcedure("stack overflow in big steps", EXCEPTION_STACK_OVERFLOW, Way::kCutBack,
                  [] {
                    g_recurse = RecurseInBigSteps;
                    RecurseInBigSteps(0);
                  }),
      InProcedure("after the stack overflow", kAccessViolation, Way::kRaised, ReadNull),
  };
}

}  // namespace qmzentrel::faults
