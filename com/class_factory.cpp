#include "com/class_factory.h"

#include "com/error_info.h"
#include "com/zentrel_object.h"

namespace qmzentrel::com {

STDMETHODIMP ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  DropStaleErrorInfo();
  return ResultOf([&] {
    const platform::ComPointer<_Zentrel> created = ZentrelObject::Create();
    return created->QueryInterface(riid, object);
  });
}

STDMETHODIMP ClassFactory::LockServer(BOOL lock) {
  return LockModule(lock != FALSE) ? S_OK : E_UNEXPECTED;
}

}  // namespace qmzentrel::com
