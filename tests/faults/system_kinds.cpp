#include <windows.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/faults/exception_names.h"
#include "tests/faults/kinds.h"

namespace qmzentrel::faults {
namespace {

constexpr std::uint32_t kAccessViolation = EXCEPTION_ACCESS_VIOLATION;
// What another compiler's programs raise their errors with.
constexpr DWORD kUnknown = 0xE06D7363u;

template <class Function>
Function SystemFunction(const wchar_t* module, const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(module), name)));
}

void MoveFromNull() {
  using Move = void(WINAPI*)(void*, const void*, SIZE_T);
  char target[64];
  SystemFunction<Move>(L"ntdll", "RtlMoveMemory")(target, g_null, sizeof target);
}

int __cdecl FaultingComparison(const void*, const void*) {
  ReadNull();
  return 0;
}

[[gnu::force_align_arg_pointer]] BOOL CALLBACK FaultingLocale(LPSTR) {
  ReadNull();
  return TRUE;
}

void RaiseNested() {
  using Raise = void(WINAPI*)(EXCEPTION_RECORD*);
  EXCEPTION_RECORD inner{};
  inner.ExceptionCode = kAccessViolation;
  EXCEPTION_RECORD middle{};
  middle.ExceptionCode = EXCEPTION_INT_OVERFLOW;
  middle.ExceptionRecord = &inner;
  EXCEPTION_RECORD outer{};
  outer.ExceptionCode = EXCEPTION_ILLEGAL_INSTRUCTION;
  outer.ExceptionRecord = &middle;
  SystemFunction<Raise>(L"ntdll", "RtlRaiseException")(&outer);
}

}  // namespace

std::vector<Kind> SystemKinds() {
  std::vector<Kind> kinds{
      InProcedure("in a function of the operating system", kAccessViolation, Way::kCutBack,
                  MoveFromNull),
      InProcedure("in a callback of the C library", kAccessViolation, Way::kCutBack,
                  [] {
                    int list[] = {2, 1, 3};
                    std::qsort(list, 3, sizeof list[0], FaultingComparison);
                  }),
      InProcedure("in a callback of the operating system", kAccessViolation, Way::kCutBack,
                  [] { EnumSystemLocalesA(FaultingLocale, LCID_INSTALLED); }),
      InProcedure("raised with an unknown code", kUnknown, Way::kCutBack,
                  [] { RaiseException(kUnknown, 0, 0, nullptr); }),
      InProcedure("raised with an unknown code, not to be continued", kUnknown, Way::kCutBack,
                  [] { RaiseException(kUnknown, EXCEPTION_NONCONTINUABLE, 0, nullptr); }),
      InProcedure("raised with others nested in it", kAccessViolation, Way::kCutBack, RaiseNested),
      InProcedure("debugger output", 0, Way::kNone, [] { OutputDebugStringA("a line"); }),
      InProcedure("IsBadReadPtr", 0, Way::kNone,
                  [] {
                    if (IsBadReadPtr(g_null, 4) == FALSE) RaiseException(kUnknown, 0, 0, nullptr);
                  }),
      InProcedure("length of a bad text", 0, Way::kNone,
                  [] {
                    if (lstrlenA(reinterpret_cast<LPCSTR>(1)) != 0) {
                      RaiseException(kUnknown, 0, 0, nullptr);
                    }
                  }),
      InProcedure("debugger output, wide", 0, Way::kNone,
                  [] { OutputDebugStringW(L"another line"); }),
  };
  for (const NamedCode& named : kNamedCodes) {
    kinds.push_back(InProcedure(named.name, named.code, Way::kCutBack,
                                [code = named.code] { RaiseException(code, 0, 0, nullptr); }));
    kinds.back().name = std::string("raised: ") + named.name;
  }
  return kinds;
}

}  // namespace qmzentrel::faults
