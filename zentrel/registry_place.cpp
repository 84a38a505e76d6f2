#include "zentrel/registry_place.h"

#include <array>

#include "QmZentrel_h.h"
#include "platform/win32/both_widths.h"
#include "platform/win32/guid_text.h"
#include "platform/win32/registry_key.h"

namespace qmzentrel::program {
namespace {

class OpenedKey : public platform::OwnedRegistryKey {
 public:
  OpenedKey(const RegistryPlace& place, REGSAM access) {
    Open(place.root, place.path.c_str(), access | place.view);
  }
};

// Longer than any path that the system takes.
using TextBuffer = std::array<wchar_t, 4096>;

}  // namespace

RegistryPlace ClassKey(const RegistryPlace& classes) {
  return classes.Below(L"CLSID\\" + platform::GuidText(CLSID_Zentrel));
}

bool IsThere(const RegistryPlace& place) {
  return OpenedKey(place, KEY_QUERY_VALUE).IsOpen();
}

bool IsThere(const RegistryPlace& place, const std::wstring& name) {
  const OpenedKey key(place, KEY_QUERY_VALUE);
  return key.IsOpen() && RegQueryValueExW(key.Get(), name.c_str(), nullptr, nullptr, nullptr,
                                          nullptr) == ERROR_SUCCESS;
}

std::wstring ReadText(const RegistryPlace& place, const std::wstring& name) {
  const OpenedKey key(place, KEY_QUERY_VALUE);
  if (!key.IsOpen()) return L"";
  TextBuffer text{};
  auto size = static_cast<DWORD>(sizeof text - sizeof(wchar_t));
  DWORD type = REG_NONE;
  if (RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type,
                       reinterpret_cast<BYTE*>(text.data()), &size) != ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ)) {
    return L"";
  }
  if (type == REG_SZ) return text.data();
  TextBuffer expanded{};
  ExpandEnvironmentStringsW(text.data(), expanded.data(), static_cast<DWORD>(expanded.size()));
  return expanded.data();
}

bool CanWrite(const RegistryPlace& place) {
  return OpenedKey(place, KEY_SET_VALUE | KEY_CREATE_SUB_KEY).IsOpen();
}

Machine ThisMachine() {
  Machine machine{{HKEY_LOCAL_MACHINE, L"Software\\Classes"},
                  {HKEY_CURRENT_USER, L"Software\\Classes"},
                  {HKEY_LOCAL_MACHINE, L"SOFTWARE"},
                  std::nullopt,
                  std::nullopt};
  if (platform::HasBothWidths()) {
    machine.classes64 = {HKEY_LOCAL_MACHINE, L"Software\\Classes", KEY_WOW64_64KEY};
    machine.software64 = {HKEY_LOCAL_MACHINE, L"SOFTWARE", KEY_WOW64_64KEY};
  }
  return machine;
}

}  // namespace qmzentrel::program
