/* What the assembler part of the fault handling knows of two structures of its C++ part, which
   asserts it: where their members lie, in bytes. Definitions only, for both languages. */
#pragma once

/* Registration */
#define REGISTRATION_PLACE 8
/* as __builtin_setjmp writes it there */
#define REGISTRATION_EBP (REGISTRATION_PLACE)
#define REGISTRATION_EIP (REGISTRATION_PLACE + 4)
#define REGISTRATION_ESP (REGISTRATION_PLACE + 8)

/* KeptUnwinding */
#define KEPT_ESP 0
#define KEPT_EBX 4
#define KEPT_ESI 8
#define KEPT_EDI 12
#define KEPT_EBP 16
#define KEPT_FIRST_REGISTRATION 20
#define KEPT_END 24
#define KEPT_SIZE 28
#define KEPT_BYTES 36
