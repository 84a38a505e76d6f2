// The tools of Windows that a next step names.
#pragma once

#include <string>

namespace qmzentrel::program {

/// The 32-bit one of two programs of Windows with that name, with its folder:
/// "C:\Windows\SysWOW64\regsvr32.exe", or the one in System32 where there are no others.
std::string SystemProgram(const std::string& name);

}  // namespace qmzentrel::program
