#include "com/zentrel_object.h"

#include <cstdlib>
#include <string>

#include "com/dispatch_invoke.h"
#include "com/enumerator.h"
#include "com/type_information.h"
#include "platform/win32/stack_room.h"
#include "platform/win32/wide.h"
#include "support/error_frame.h"
#include "support/run_time_error.h"

namespace qmzentrel::com {
namespace {

// The interface and the names that it had in earlier versions of the library.
bool IsZentrelInterface(REFIID riid) {
  return riid == IID__Zentrel || riid == IID_Zentrel___v0 || riid == IID_Zentrel___v1 ||
         riid == IID_Zentrel___v2;
}

struct ListedConnectionPoint {
  platform::ComPointer<IConnectionPoint> point;
  void Share(IConnectionPoint*& item) const { item = point.Share(); }
};

}  // namespace

platform::ComPointer<_Zentrel> ZentrelObject::Create() {
  return CreateForThread(0);
}

platform::ComPointer<_Zentrel> ZentrelObject::CreateForThread(DWORD thread) {
  platform::ComPointer<_Zentrel> created;
  *created.Receive() = new ZentrelObject(thread);
  return created;
}

ZentrelObject::ZentrelObject(DWORD thread) : core_(Zentrel::Create()), thread_(thread) {
  core_->Events(this);
}

ZentrelObject::~ZentrelObject() {
  ++uses_;  // a sink that goes may still touch the object
  core_->Events(nullptr);
  events_.ReleaseSinks();
  // Before the thread is told to end: a message box of this end would go at once.
  core_.reset();
  if (thread_ != 0) PostThreadMessageW(thread_, WM_QUIT, 0, 0);
}

STDMETHODIMP ZentrelObject::QueryInterface(REFIID riid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (riid == IID_IUnknown || riid == IID_IDispatch || IsZentrelInterface(riid)) {
    *object = static_cast<_Zentrel*>(this);
  } else if (riid == IID_ISupportErrorInfo) {
    *object = static_cast<ISupportErrorInfo*>(this);
  } else if (riid == IID_IProvideClassInfo || riid == IID_IProvideClassInfo2) {
    *object = static_cast<IProvideClassInfo2*>(this);
  } else if (riid == IID_IConnectionPointContainer) {
    *object = static_cast<IConnectionPointContainer*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) ZentrelObject::AddRef() {
  return ++references_;
}

STDMETHODIMP_(ULONG) ZentrelObject::Release() {
  const ULONG left = --references_;
  if (left == 0) DeleteIfUnused();
  return left;
}

STDMETHODIMP ZentrelObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

STDMETHODIMP ZentrelObject::GetTypeInfo(UINT index, LCID /*lcid*/, ITypeInfo** info) {
  DropStaleErrorInfo();
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return index == 0 ? TypeInfoOf(IID__Zentrel, info) : DISP_E_BADINDEX;
}

STDMETHODIMP ZentrelObject::GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID /*lcid*/,
                                          DISPID* ids) {
  DropStaleErrorInfo();
  return GetIDsOfMemberNames(riid, names, count, ids);
}

STDMETHODIMP ZentrelObject::Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* failure,
                                   UINT* wrong_argument) {
  DropStaleErrorInfo();
  return InvokeMember(*this, id, riid, lcid, flags, parameters, result, failure, wrong_argument);
}

STDMETHODIMP ZentrelObject::InterfaceSupportsErrorInfo(REFIID riid) {
  return IsZentrelInterface(riid) ? S_OK : S_FALSE;
}

STDMETHODIMP ZentrelObject::GetClassInfo(ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return TypeInfoOf(CLSID_Zentrel, info);
}

STDMETHODIMP ZentrelObject::GetGUID(DWORD kind, GUID* identifier) {
  if (identifier == nullptr) return E_POINTER;
  *identifier = GUID_NULL;
  if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
  *identifier = DIID___Zentrel;
  return S_OK;
}

STDMETHODIMP ZentrelObject::EnumConnectionPoints(IEnumConnectionPoints** enumerator) {
  using PointEnumerator = Enumerator<IEnumConnectionPoints, IID_IEnumConnectionPoints,
                                     IConnectionPoint*, ListedConnectionPoint>;
  if (enumerator == nullptr) return E_POINTER;
  *enumerator = nullptr;
  return Guarded(
      [&] {
        *enumerator = new PointEnumerator({{platform::ComPointer<IConnectionPoint>(&events_)}});
        return S_OK;
      },
      Caller(L"EnumConnectionPoints"));
}

STDMETHODIMP ZentrelObject::FindConnectionPoint(REFIID riid, IConnectionPoint** point) {
  if (point == nullptr) return E_POINTER;
  *point = nullptr;
  if (riid != DIID___Zentrel) return CONNECT_E_NOCONNECTION;
  *point = &events_;
  AddRef();
  return S_OK;
}

HRESULT ZentrelObject::Call(const Procedure& procedure, const Argument* arguments, void* result) {
  return Guarded(
      [&] {
        if (procedure.answers && result == nullptr) {
          throw ComError{E_POINTER, "The result has nowhere to go"};
        }
        procedure.run(*core_, arguments, result);
        return S_OK;
      },
      procedure.member);
}

void ZentrelObject::ReportFaultOf(const Caller& member) {
  const std::string name = platform::WideToUtf8(member.member);
  ErrorFrame frame(core_->Fields(), name.c_str());
  frame.Run([&] {
    frame.line = member.line;
    throw;
  });
  std::abort();  // not reached
}

// A client that calls again from within every event, without end, would use up the stack, and the
// overflow would be its own and end its process. The innermost call fails while there is room for
// its report, and so do those around it, up to the one outside all events: if each of them went on
// to its next event, the client would begin again there.
void ZentrelObject::PowerStateChange(bool NewState) {
  const bool within_another = events_under_way_ > 0;
  if (out_of_stack_) throw ReportedError();
  if (within_another && platform::StackIsShort()) {
    out_of_stack_ = true;
    RaiseError(kErrorOutOfStackSpace);
  }
  const Use use(*this);
  const EventUnderWay event(*this);
  events_.FirePowerStateChange(NewState);
  if (within_another && out_of_stack_) throw ReportedError();
}

}  // namespace qmzentrel::com
