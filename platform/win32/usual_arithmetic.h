// How numbers are calculated while functions of the operating system do it for us.
#pragma once

#include <windows.h>

#include <array>

namespace qmzentrel::platform {

/// As long as it lives numbers are calculated as everywhere: to 53 bits at least, to the nearest,
/// without exceptions. Clients may have other ways in force; OLE Automation would be minutes wrong
/// about a time of day in one that draws in single precision. No code of the client runs meanwhile.
class UsualArithmetic {
 public:
  UsualArithmetic() {
    WORD x87 = 0;
    asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(x87), "=m"(sse_));
    if ((x87 & kX87Ways) == kX87Usual && (sse_ & kSseWays) == kSseUsual) return;
    constexpr WORD kX87OfWindows = 0x027F;
    changed_ = true;
    asm volatile("fnstenv %0\n\tfldcw %1\n\tldmxcsr %2"
                 : "=m"(x87_)
                 : "m"(kX87OfWindows), "m"(kSseUsual));
  }
  ~UsualArithmetic() {
    // With the marks of past exceptions, or new ones would be pending for the client, and of the
    // registers in use, so that none may be in use here.
    if (changed_) {
      asm volatile("fldenv %0\n\tldmxcsr %1"
                   :
                   : "m"(x87_), "m"(sse_)
                   : "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)");
    }
  }
  UsualArithmetic(const UsualArithmetic&) = delete;
  UsualArithmetic& operator=(const UsualArithmetic&) = delete;

 private:
  // Exceptions, rounding and the upper bit of the precision; of SSE also what becomes of denormals.
  static constexpr DWORD kX87Ways = 0x0E3F;
  static constexpr DWORD kX87Usual = 0x023F;
  static constexpr DWORD kSseWays = 0xFFC0;
  static constexpr DWORD kSseUsual = 0x1F80;

  std::array<DWORD, 7> x87_{};  // what the processor calls its environment
  DWORD sse_ = 0;
  bool changed_ = false;
};

}  // namespace qmzentrel::platform
