// The project's own texts, its sources and pages, for tests that hold the class against them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmzentrel::tests {

/// The folder that all names of files here start from: the one that QMZ_SOURCES names, for a
/// program that runs on another machine, else that of the project as it was built.
std::string SourceFolder();

/// All of a file. The test fails where there is none.
std::string SourceText(const std::string& file);

/// The lines of a file, without their ends.
std::vector<std::string> SourceLines(const std::string& file);

/// A line of a file; lines count from 1.
std::string SourceLine(const std::string& file, std::int32_t line);

}  // namespace qmzentrel::tests
