// What the operating system's exceptions are called in reports.
#pragma once

#include <cstdint>

namespace qmzentrel::faults {

struct NamedCode {
  std::uint32_t code;
  const char* name;
};

inline constexpr NamedCode kNamedCodes[] = {
    {0xC0000005u, "Access Violation"},
    {0x80000002u, "Data Type Misalignment"},
    {0x80000003u, "Breakpoint"},
    {0x80000004u, "Single Step"},
    {0xC000008Cu, "Array Bounds Exceeded"},
    {0xC000008Du, "Float Denormal Operand"},
    {0xC000008Eu, "Divide By Zero"},
    {0xC000008Fu, "Floating Point Inexact Result"},
    {0xC0000090u, "Invalid Operation"},
    {0xC0000091u, "Float Overflow"},
    {0xC0000092u, "Float Stack Check"},
    {0xC0000093u, "Float Underflow"},
    {0xC0000094u, "Integer Divide By Zero"},
    {0xC0000095u, "Integer Overflow"},
    {0xC0000096u, "Privileged Instruction"},
    {0xC0000006u, "In Page Error"},
    {0xC000001Du, "Illegal Instruction"},
    {0xC0000025u, "Non Continuable Exception"},
    {0xC00000FDu, "Stack Overflow"},
    {0xC0000026u, "Invalid Disposition"},
    {0x80000001u, "Guard Page Violation"},
    {0xC0000008u, "Invalid Handle"},
    {0xC000013Au, "Control-C Exit"},
};

}  // namespace qmzentrel::faults
