/* What the assembler part of the fault handling knows of two structures of its C++ part, which
   asserts it: where their members lie, in bytes. Definitions only, for both languages. */
#pragma once

/* Registration */
#define REGISTRATION_PREVIOUS 0
#define REGISTRATION_HANDLER 4
#define REGISTRATION_EBX 8
#define REGISTRATION_ESI 12
#define REGISTRATION_EDI 16
#define REGISTRATION_EBP 20
#define REGISTRATION_ESP 24
#define REGISTRATION_EIP 28
#define REGISTRATION_CODE 32
#define REGISTRATION_CUT_BACK_TO 36
#define REGISTRATION_UNWINDING 40

/* KeptUnwinding */
#define KEPT_ESP 0
#define KEPT_EBX 4
#define KEPT_ESI 8
#define KEPT_EDI 12
#define KEPT_EBP 16
#define KEPT_FIRST_REGISTRATION 20
#define KEPT_END 24
#define KEPT_SIZE 28
#define KEPT_BYTES 32
