// The file that every program on the machine appends its reports to.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace qmzentrel::reports {

/// Where the file lies: QuenmoorComms\QmZentrel\reports.log below the common application data.
/// Empty when the system does not tell its folder.
std::wstring ReportFilePath();

/// Appends `text` as one piece, whoever else appends at the same time; makes the folders and the
/// file where they are missing, so that every user may append. A file of kLargestFile or more
/// becomes reports.old.log first, in the place of an older one. Waits for nobody longer than a
/// second. The error of the system when the text is not in the file.
DWORD AppendReport(std::string_view text);

inline constexpr LONGLONG kLargestFile = 4LL * 1024 * 1024;

}  // namespace qmzentrel::reports
