/* How much memory the process holds. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes in use on all heaps of the process. */
unsigned HeapUse(void);

/* Bytes that the operating system has committed to the process alone. */
unsigned PrivateUse(void);

#ifdef __cplusplus
}
#endif
