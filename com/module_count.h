// What keeps the library in the client's process.
#pragma once

namespace qmzentrel::com {

/// Held by every object that a client can hold, class factories and enumerators included.
class ModuleReference {
 public:
  ModuleReference() noexcept;
  ~ModuleReference();
  ModuleReference(const ModuleReference&) = delete;
  ModuleReference& operator=(const ModuleReference&) = delete;
};

/// IClassFactory::LockServer. False when there is no lock to take away.
bool LockModule(bool lock) noexcept;

/// True as long as an object, a lock or a running timer needs the code of the library.
bool ModuleInUse() noexcept;

}  // namespace qmzentrel::com
