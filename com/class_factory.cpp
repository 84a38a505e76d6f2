#include "com/class_factory.h"

#include "com/error_info.h"
#include "com/worker_apartment.h"
#include "com/zentrel_object.h"
#include "platform/win32/surrogate.h"
#include "platform/win32/thread_indices.h"

namespace qmzentrel::com {

STDMETHODIMP ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  DropStaleErrorInfo();
  if (!platform::HasThreadIndices()) return E_OUTOFMEMORY;
  // Another client's command would hold it up there, wherever the system wants it.
  if (platform::InSurrogate()) return CreateInWorkerApartment(riid, object);
  return ResultOf([&] {
    const platform::ComPointer<_Zentrel> created = ZentrelObject::Create();
    return created->QueryInterface(riid, object);
  });
}

STDMETHODIMP ClassFactory::LockServer(BOOL lock) {
  return LockModule(lock != FALSE) ? S_OK : E_UNEXPECTED;
}

}  // namespace qmzentrel::com
