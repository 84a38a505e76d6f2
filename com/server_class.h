// The registration of a class that this library makes objects of.
#pragma once

#include <windows.h>

#include <string>

#include "com/machine_classes.h"

namespace qmzentrel::com {

struct ServerClass {
  CLSID identifier;
  const wchar_t* programmatic_identifier;
  const wchar_t* threading_model;

  ClassesKey Key() const;

  /// Under both its identifiers, with this library as its server. Throws ComError.
  void Write(ClassesWriter& writer) const;
  /// Takes both keys away, whoever has written them. Throws ComError.
  void RemoveIdentifier() const;
  void RemoveProgrammaticIdentifier() const;
};

/// A unique identifier as the registry has it, in braces.
std::wstring GuidText(REFGUID guid);

}  // namespace qmzentrel::com
