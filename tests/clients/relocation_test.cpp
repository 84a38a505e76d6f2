// The library where it was not linked for: it does its work there, errors and faults included.
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>
#include <iterator>
#include <string>

#include "tests/clients/com_client.h"
#include "tests/clients/error_reports.h"

namespace qmzentrel::clients {
namespace {

// Where the library was linked for, taken before it comes.
class TakenPlace {
 public:
  TakenPlace() {
    wchar_t path[MAX_PATH] = L"";
    GetEnvironmentVariableW(L"QMZ_DLL", path, MAX_PATH);
    std::ifstream file(path, std::ios::binary);
    const std::string image{std::istreambuf_iterator<char>(file), {}};
    if (image.size() < sizeof(IMAGE_DOS_HEADER)) return;
    const auto* const begin = reinterpret_cast<const IMAGE_DOS_HEADER*>(image.data());
    const auto* const header =
        reinterpret_cast<const IMAGE_NT_HEADERS32*>(image.data() + begin->e_lfanew);
    address_ = VirtualAlloc(reinterpret_cast<void*>(header->OptionalHeader.ImageBase),
                            header->OptionalHeader.SizeOfImage, MEM_RESERVE, PAGE_NOACCESS);
  }
  void* Address() const { return address_; }

 private:
  void* address_ = nullptr;
};

TEST(Relocation, TheLibraryWorksWhereItWasNotLinkedFor) {
  const TakenPlace place;
  ASSERT_NE(place.Address(), nullptr);
  ASSERT_NE(static_cast<void*>(LoadedLibrary().module), place.Address());
  ErrorReports reports;
  const ComPointer<_Zentrel> zentrel = NewZentrel();
  EXPECT_EQ(Let(zentrel.Get(), L"Util", Value::Long(42)).result, S_OK);
  EXPECT_EQ(Get(zentrel.Get(), L"Util").value.AsLong(), 42);

  const Outcome refused = Get(zentrel.Get(), L"ZentrelSignature", {Value::Short(-1)});
  EXPECT_EQ(refused.result, DISP_E_EXCEPTION);
  EXPECT_EQ(refused.source, L"QmZentrel");
  EXPECT_EQ(reports.Take().at(0).description, L"Subscript out of range");

  // Where no memory is.
  EXPECT_NE(zentrel->get_Util(reinterpret_cast<LONG*>(0x10)), S_OK);
  EXPECT_EQ(reports.Take().at(0).description, L"Access Violation");
}

}  // namespace
}  // namespace qmzentrel::clients
