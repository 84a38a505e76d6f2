// Text for a console program's output.
#pragma once

#include <string>
#include <string_view>

namespace qmzentrel::platform {

/// UTF-8 in the code page of the console; without a console in that of the machine.
std::string ConsoleText(std::string_view utf8);

}  // namespace qmzentrel::platform
