// What a program can wait for: a file descriptor on Linux, an event handle on Windows.
#pragma once

namespace qmzentrel::virtual_box {

#ifdef _WIN32
using WaitHandle = void*;
#else
using WaitHandle = int;
#endif

}  // namespace qmzentrel::virtual_box
