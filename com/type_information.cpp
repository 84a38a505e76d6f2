#include "com/type_information.h"

#include <utility>

#include "com/error_info.h"
#include "com/module_path.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/exclusive_lock.h"

namespace qmzentrel::com {
namespace {

SRWLOCK g_lock = SRWLOCK_INIT;
// A plain pointer: it must not be released by a destructor when the process ends, after OLE.
ITypeLib* g_library = nullptr;

HRESULT LoadOwnTypeLibrary(ITypeLib** library) noexcept {
  *library = nullptr;
  try {
    return LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, library);
  } catch (...) {
    return ReportErrorInProgress();
  }
}

HRESULT KeptTypeLibrary(platform::ComPointer<ITypeLib>& library) {
  {
    const platform::ExclusiveLock lock(g_lock);
    library = platform::ComPointer<ITypeLib>(g_library);
  }
  if (library) return S_OK;
  // Loading may run foreign code, so it runs outside the lock; two threads may both load.
  const HRESULT result = LoadOwnTypeLibrary(library.Receive());
  if (FAILED(result)) return result;
  const platform::ExclusiveLock lock(g_lock);
  if (g_library == nullptr) g_library = library.Share();
  return S_OK;
}

}  // namespace

HRESULT TypeInfoOf(REFGUID identifier, ITypeInfo** info) noexcept {
  platform::ComPointer<ITypeLib> library;
  const HRESULT result = KeptTypeLibrary(library);
  return FAILED(result) ? result : library->GetTypeInfoOfGuid(identifier, info);
}

void ReleaseTypeLibrary() noexcept {
  ITypeLib* library = nullptr;
  {
    const platform::ExclusiveLock lock(g_lock);
    library = std::exchange(g_library, nullptr);
  }
  if (library != nullptr) library->Release();
}

}  // namespace qmzentrel::com
