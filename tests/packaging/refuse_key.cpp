// Makes a key below HKEY_LOCAL_MACHINE that refuses every key below it which is to stay:
// registering then fails half-way, as it does where somebody has no rights to a key.
//
//   refuse_key KEY
#include <windows.h>

int wmain(int count, wchar_t** arguments) {
  HKEY key = nullptr;
  DWORD made = 0;
  return count == 2 &&
                 RegCreateKeyExW(HKEY_LOCAL_MACHINE, arguments[1], 0, nullptr, REG_OPTION_VOLATILE,
                                 KEY_ALL_ACCESS, nullptr, &key, &made) == ERROR_SUCCESS &&
                 made == REG_CREATED_NEW_KEY
             ? 0
             : 1;
}
