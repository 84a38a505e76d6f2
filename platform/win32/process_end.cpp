#include "platform/win32/process_end.h"

namespace qmzentrel::platform {

bool internal::g_process_ends = false;

}  // namespace qmzentrel::platform
