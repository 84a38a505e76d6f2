// The registration of a class that this library makes objects of.
#pragma once

#include <windows.h>

#include "com/machine_classes.h"

namespace qmzentrel::com {

struct ServerClass {
  CLSID identifier;
  const wchar_t* programmatic_identifier;
  const wchar_t* threading_model;

  /// The key of its identifier.
  ClassesKey Key() const;
  /// With this library or any other as its server.
  bool IsRegistered() const;

  /// Under both its identifiers, with this library as its server. Throws ComError.
  void Write(ClassesWriter& writer) const;
  /// Takes the key away, whoever has written it. Throws ComError.
  void RemoveIdentifier() const;
  /// The same, unless the name stands for another class by now.
  void RemoveProgrammaticIdentifier() const;
};

}  // namespace qmzentrel::com
