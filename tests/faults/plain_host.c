/* A client that knows nothing of C++: its process has no unwinder but the probe's own. */
#include <stdio.h>
#include <windows.h>

#include "tests/faults/matrix.h"

static int Nothing(void) {
  return 0;
}

int main(int argument_count, char** arguments) {
  if (GetModuleHandleA("libgcc_s_dw2-1.dll") != NULL) {
    puts("this host is meant to have no C++ runtime");
    return 2;
  }
  return RunMatrix(argument_count, arguments, Nothing);
}
