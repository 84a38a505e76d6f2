// A client whose own exceptions come from the shared C++ runtime, beside the one in the probe.
#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include "tests/faults/matrix.h"

namespace {

int ThrowAndCatch() {
  try {
    throw std::runtime_error("host");
  } catch (const std::runtime_error&) {
    return 0;
  }
}

}  // namespace

int main(int argument_count, char** arguments) {
  if (GetModuleHandleA("libgcc_s_dw2-1.dll") == nullptr) {
    std::puts("this host is meant to use the shared runtime");
    return 2;
  }
  return RunMatrix(argument_count, arguments, ThrowAndCatch);
}
