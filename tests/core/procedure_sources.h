// The procedures that carry an error frame, as the sources have them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmzentrel::tests {

/// One procedure by the name that its reports carry.
struct ProcedureSource {
  std::string name;
  std::string file;             ///< from the root of the sources
  std::int32_t first_line = 0;  ///< of the frame
  std::int32_t end_line = 0;    ///< of the next frame in the file, else behind its last line
};

/// Every procedure of the component, in no particular order. The sources are read once.
const std::vector<ProcedureSource>& ProceduresInSources();

}  // namespace qmzentrel::tests
