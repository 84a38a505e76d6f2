// Where in the registry an installation is looked for.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace qmzentrel::program {

/// A key in one view of the registry.
struct RegistryPlace {
  HKEY root = nullptr;
  std::wstring path;
  REGSAM view = 0;

  RegistryPlace Below(const std::wstring& name) const { return {root, path + L"\\" + name, view}; }
};

/// The component's class below a key of classes.
RegistryPlace ClassKey(const RegistryPlace& classes);

bool IsThere(const RegistryPlace& place);
/// The same of a value, of whatever type and length.
bool IsThere(const RegistryPlace& place, const std::wstring& name);

/// A text, with its variables of the environment replaced where it is of the type that has some;
/// empty when it is missing or no text. An empty name is the unnamed value.
std::wstring ReadText(const RegistryPlace& place, const std::wstring& name = L"");

/// Whether this program may make keys and values there.
bool CanWrite(const RegistryPlace& place);

/// What a 32-bit program sees, and beside it what 64-bit programs see where there are such.
struct Machine {
  RegistryPlace classes;
  RegistryPlace user_classes;
  RegistryPlace software;
  std::optional<RegistryPlace> classes64;
  std::optional<RegistryPlace> software64;
};

Machine ThisMachine();

}  // namespace qmzentrel::program
