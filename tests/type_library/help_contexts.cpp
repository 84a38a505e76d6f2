// Prints the help contexts of the type library of QMZ_DLL, one on a line: the number, and the name
// of the library, type or member that has it. 0 is none.
#include <cstdio>
#include <exception>

#include "tests/type_library/library_reader.h"

namespace qmzentrel::type_library {
namespace {

void Print(const Documentation& documentation) {
  std::printf("%lu %s\n", documentation.help_context, Narrow(documentation.name).c_str());
}

void PrintFunctions(ITypeLib& library, const wchar_t* interface_name) {
  const TypeInfo type = TypeNamed(library, interface_name);
  for (const MEMBERID identifier : FunctionIdentifiersOf(*type)) {
    Print(DocumentationOf(*type, identifier));
  }
}

void PrintAll() {
  const TypeLibrary library = LoadLibraryUnderTest();
  Print(DocumentationOf(*library));
  for (unsigned i = 0; i < library->GetTypeInfoCount(); ++i) Print(DocumentationOf(*library, i));
  PrintFunctions(*library, L"_Zentrel");
  PrintFunctions(*library, L"__Zentrel");
}

}  // namespace
}  // namespace qmzentrel::type_library

int main() {
  try {
    qmzentrel::type_library::PrintAll();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
