/* How much memory the process holds. */
#pragma once

/* Bytes in use on all heaps of the process. */
unsigned HeapUse(void);

/* Bytes that the operating system has committed to the process alone. */
unsigned PrivateUse(void);
