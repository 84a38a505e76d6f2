// Text files and the debugger channel.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace qmzentrel::fakes {

struct FakeSystem {
  std::map<std::string, std::string> files;  ///< contents by path
  std::set<std::string> open_files;          ///< their paths
  std::set<std::string> unwritable;          ///< paths that cannot be opened or written
  std::vector<std::string> debugger_lines;
};

}  // namespace qmzentrel::fakes
