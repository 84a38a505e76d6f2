#include "tests/clients/test_catalog.h"

#include <stdexcept>

namespace qmzentrel::clients {
namespace {

constexpr const wchar_t* kRoot = L"SOFTWARE\\QuenmoorComms";

void Set(const std::wstring& key, const std::wstring& name, DWORD type, const void* data,
         std::size_t size) {
  const std::wstring path = std::wstring(kRoot) + L"\\" + key;
  if (RegSetKeyValueW(HKEY_LOCAL_MACHINE, path.c_str(), name.c_str(), type, data,
                      static_cast<DWORD>(size)) != ERROR_SUCCESS) {
    throw std::runtime_error("the test cannot write the registry");
  }
}

}  // namespace

void TestCatalog::Text(const std::wstring& key, const std::wstring& name,
                       const std::wstring& text) {
  Set(key, name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

void TestCatalog::Number(const std::wstring& key, const std::wstring& name, DWORD number) {
  Set(key, name, REG_DWORD, &number, sizeof number);
}

void TestCatalog::Fill() {
  const auto add = [this](const std::wstring& list, int first, int last, const wchar_t* text) {
    for (int i = first; i <= last; ++i) {
      const std::wstring number = std::to_wstring(i);
      this->Text(std::wstring(list).append(L"\\").append(number), L"", text + number);
    }
  };
  Number(L"Kernel\\MIF", L"Min", 0);
  Text(L"Kernel\\MIF", L"Max", L"5");
  Number(L"Kernel\\MIF", L"Mask", 0x3F);
  add(L"Kernel\\MIF", -1, 5, L"Interface ");
  for (int i = 0; i <= 15; ++i) {
    Text(L"Kernel\\TXI", std::to_wstring(i), L"Interval " + std::to_wstring(i));
  }
  Number(L"TELIC2\\Messages", L"Min", 8);
  Number(L"TELIC2\\Messages", L"Max", 18);
  add(L"TELIC2\\Messages", 8, 18, L"Message ");
  for (int i = 8; i <= 18; ++i) {
    Number(L"TELIC2\\Messages\\" + std::to_wstring(i), L"Bytes", i < 17 ? 2 : 4);
  }
  for (const wchar_t* type : {L"9", L"10", L"1"}) {
    Number(std::wstring(L"TELIC2\\Types\\") + type, L"Commands", 0x100);
  }
  const std::wstring tests = L"TELIC2\\Types\\1\\TestMessages";
  Number(tests, L"Min", 0);
  Number(tests, L"Max", 3);
  add(tests, 0, 3, L"Test ");
  Number(tests + L"\\0", L"RBytes", 2);
  Number(tests + L"\\1", L"PBytes", 1);
  Number(tests + L"\\2", L"RBytes", 4);
  Number(tests + L"\\2", L"PBytes", 4);
  Text(tests + L"\\3", L"RBytes", L"-1");
}

void TestCatalog::Simulator(bool on) {
  Number(L"QMC Software Library\\Zentrel\\Simulator", L"", on ? 1 : 0);
}

void TestCatalog::Remove() {
  for (const wchar_t* tree :
       {L"\\Kernel", L"\\TELIC2", L"\\QMC Software Library", L"\\Simulator"}) {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, (std::wstring(kRoot) + tree).c_str());
  }
}

}  // namespace qmzentrel::clients
