#include "tools/catalog_checker/tests/registry_file.h"

#include <fstream>
#include <stdexcept>

#include "tests/fakes/fake_world.h"

namespace qmzentrel::catalog_checker::tests {
namespace {

using fakes::TheWorld;

[[noreturn]] void Refuse(const std::string& line) {
  throw std::runtime_error("not understood in the registry file: " + line);
}

// A text in quotes at the start of `rest`, which loses it.
std::string TakeQuoted(std::string& rest, const std::string& line) {
  std::string text;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == '"') {
      rest.erase(0, i + 1);
      return text;
    }
    if (rest[i] == '\\') ++i;
    text += rest[i];
  }
  Refuse(line);
}

std::string KeyOf(const std::string& line) {
  const std::string root = "[HKEY_LOCAL_MACHINE\\";
  if (!line.starts_with(root) || !line.ends_with("]")) Refuse(line);
  return line.substr(root.size(), line.size() - root.size() - 1);
}

void ImportValue(const std::string& key, const std::string& line) {
  const std::string number = "=dword:";
  std::string rest = line;
  std::string name;
  if (rest.front() == '@') {
    rest.erase(0, 1);
  } else {
    name = TakeQuoted(rest, line);
  }
  if (rest.starts_with(number)) {
    const unsigned long value = std::stoul(rest.substr(number.size()), nullptr, 16);
    TheWorld().SetNumber(key, name, static_cast<std::uint32_t>(value));
  } else if (rest.starts_with("=\"")) {
    rest.erase(0, 1);
    TheWorld().SetText(key, name, TakeQuoted(rest, line));
  } else {
    Refuse(line);
  }
}

}  // namespace

void ImportRegistryFile(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  if (!line.starts_with("REGEDIT4")) Refuse(path);
  std::string key;
  while (std::getline(file, line)) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[') {
      key = KeyOf(line);
      TheWorld().registry[key];
    } else {
      ImportValue(key, line);
    }
  }
}

}  // namespace qmzentrel::catalog_checker::tests
