// Brings a compiled type library into the wanted shape.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "tools/type_library/msft_edit.h"
#include "tools/type_library/msft_file.h"

namespace qmzentrel::type_library {
namespace {

constexpr char kUsage[] =
    "usage: tlb_post INPUT OUTPUT [INSTRUCTION...]\n"
    "  order=NAME,NAME,...       list the types in this order (every type once)\n"
    "  version:NAME=MAJOR.MINOR  version of a type\n"
    "  flags:NAME=0xFLAGS        flags of a type, replacing those it has\n"
    "  enumeration-help          every enumeration member's help string is its name\n"
    "  library-help-context      store the library's help context where Wine looks for it, too\n"
    "  member-capacities         undo the compiler's overflow in what members claim of memory\n"
    "  no-custom-data            drop the library's custom data\n"
    "Without instructions the output equals the input.\n";

// An instruction that cannot be read.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(std::string_view instruction)
      : std::runtime_error("bad instruction '" + std::string(instruction) + "'") {}
};

Bytes ReadFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read the file");
  Bytes bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  if (stream.bad()) throw std::runtime_error("cannot read the file");
  return bytes;
}

void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) throw std::runtime_error("cannot write '" + path + "'");
}

// The whole of `text` as a number, or a UsageError about `instruction`.
template <class Number>
Number ParseNumber(std::string_view text, int base, std::string_view instruction) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc() || stop != end) throw UsageError(instruction);
  return number;
}

std::vector<std::string> SplitAtCommas(std::string_view text) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t comma = text.find(',');
    parts.emplace_back(text.substr(0, comma));
    if (comma == std::string_view::npos) return parts;
    text.remove_prefix(comma + 1);
  }
}

void SetVersion(MsftFile& file, std::string_view type, std::string_view value,
                std::string_view instruction) {
  const std::size_t dot = value.find('.');
  if (dot == std::string_view::npos) throw UsageError(instruction);
  SetTypeVersion(file, type, ParseNumber<std::uint16_t>(value.substr(0, dot), 10, instruction),
                 ParseNumber<std::uint16_t>(value.substr(dot + 1), 10, instruction));
}

void SetFlags(MsftFile& file, std::string_view type, std::string_view value,
              std::string_view instruction) {
  if (!value.starts_with("0x")) throw UsageError(instruction);
  SetTypeFlags(file, type, ParseNumber<std::uint32_t>(value.substr(2), 16, instruction));
}

void Obey(MsftFile& file, std::string_view instruction) {
  if (instruction == "enumeration-help") return GiveEnumerationMembersTheirNamesAsHelp(file);
  if (instruction == "library-help-context") return RepeatLibraryHelpContextForWine(file);
  if (instruction == "member-capacities") return RepairMemberCapacities(file);
  if (instruction == "no-custom-data") return DropLibraryCustomData(file);

  const std::size_t equals = instruction.find('=');
  if (equals == std::string_view::npos) throw UsageError(instruction);
  const std::string_view verb = instruction.substr(0, equals);
  const std::string_view value = instruction.substr(equals + 1);
  if (verb == "order") return ReorderTypes(file, SplitAtCommas(value));

  const std::size_t colon = verb.find(':');
  if (colon == std::string_view::npos) throw UsageError(instruction);
  const std::string_view type = verb.substr(colon + 1);
  if (verb.substr(0, colon) == "version") return SetVersion(file, type, value, instruction);
  if (verb.substr(0, colon) == "flags") return SetFlags(file, type, value, instruction);
  throw UsageError(instruction);
}

}  // namespace
}  // namespace qmzentrel::type_library

int main(int argc, char** argv) {
  using namespace qmzentrel::type_library;
  if (argc < 3) {
    std::fputs(kUsage, stderr);
    return 1;
  }
  try {
    MsftFile file = ParseMsft(ReadFile(argv[1]));
    for (int i = 3; i < argc; ++i) Obey(file, argv[i]);
    WriteFile(argv[2], SerialiseMsft(file));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tlb_post: %s: %s\n", argv[1], error.what());
    return 1;
  }
  return 0;
}
