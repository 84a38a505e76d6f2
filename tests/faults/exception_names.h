// The operating system's exceptions by the names and numbers that reports give them.
#pragma once

#include <cstdint>

namespace qmzentrel::faults {

struct NamedCode {
  std::uint32_t code;
  const char* name;
  std::int32_t number;  ///< (code AND 0x8EF) OR 10000
};

inline constexpr NamedCode kNamedCodes[] = {
    {0xC0000005u, "Access Violation", 10005},
    {0x80000002u, "Data Type Misalignment", 10002},
    {0x80000003u, "Breakpoint", 10003},
    {0x80000004u, "Single Step", 10004},
    {0xC000008Cu, "Array Bounds Exceeded", 10140},
    {0xC000008Du, "Float Denormal Operand", 10141},
    {0xC000008Eu, "Divide By Zero", 10142},
    {0xC000008Fu, "Floating Point Inexact Result", 10143},
    {0xC0000090u, "Invalid Operation", 10128},
    {0xC0000091u, "Float Overflow", 10129},
    {0xC0000092u, "Float Stack Check", 10130},
    {0xC0000093u, "Float Underflow", 10131},
    {0xC0000094u, "Integer Divide By Zero", 10132},
    {0xC0000095u, "Integer Overflow", 10133},
    {0xC0000096u, "Privileged Instruction", 10134},
    {0xC0000006u, "In Page Error", 10006},
    {0xC000001Du, "Illegal Instruction", 10013},
    {0xC0000025u, "Non Continuable Exception", 10037},
    {0xC00000FDu, "Stack Overflow", 10237},
    {0xC0000026u, "Invalid Disposition", 10038},
    {0x80000001u, "Guard Page Violation", 10001},
    {0xC0000008u, "Invalid Handle", 10008},
    {0xC000013Au, "Control-C Exit", 10042},
};

}  // namespace qmzentrel::faults
