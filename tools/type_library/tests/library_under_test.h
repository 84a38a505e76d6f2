// The library that the tests work on: the product's own, as the compiler leaves it.
#pragma once

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/type_library/msft_file.h"

namespace qmzentrel::type_library {

inline Bytes CompiledLibrary() {
  std::ifstream stream(QMZ_COMPILED_LIBRARY, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " QMZ_COMPILED_LIBRARY);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline std::string TypeName(const MsftFile& file, const Type& type) {
  return NameAt(file, Read32(type.info, type_info::kName));
}

inline std::vector<std::string> TypeNames(const MsftFile& file) {
  std::vector<std::string> names;
  for (const Type& type : file.types) names.push_back(TypeName(file, type));
  return names;
}

inline const Type& TypeNamed(const MsftFile& file, const std::string& name) {
  const auto found = std::ranges::find_if(
      file.types, [&](const Type& type) { return TypeName(file, type) == name; });
  if (found == file.types.end()) throw std::runtime_error("no type " + name);
  return *found;
}

/// How many bytes differ; libraries of unlike length differ in all of them.
inline std::size_t CountDifferences(const Bytes& one, const Bytes& other) {
  if (one.size() != other.size()) return std::max(one.size(), other.size());
  std::size_t count = 0;
  for (std::size_t i = 0; i < one.size(); ++i) count += one[i] != other[i] ? 1 : 0;
  return count;
}

}  // namespace qmzentrel::type_library
