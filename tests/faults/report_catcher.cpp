#include "tests/faults/report_catcher.h"

#include <windows.h>

// After it, which they need.
#include <oleauto.h>

#include <cwchar>
#include <utility>

#include "platform/win32/bstr.h"
#include "platform/win32/wide.h"

namespace qmzentrel::faults {
namespace {

constexpr wchar_t kName[] = L"QuenmoorCommunications.Error";

constexpr DISPID kErrorHandler = 1;
constexpr DISPID kAction = 2;
constexpr UINT kArguments = 10;

std::vector<CaughtReport> g_reports;

std::string Text(const VARIANT& value) {
  return V_VT(&value) == VT_BSTR ? platform::WideToUtf8(platform::ViewOf(V_BSTR(&value))) : "?";
}

std::int32_t Number(const VARIANT& value) {
  return V_VT(&value) == VT_I4 ? V_I4(&value) : -1;
}

// The error handler and its class object in one; neither is ever freed.
class Handler : public IDispatch {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interface_id, void** object) override {
    if (interface_id != IID_IUnknown && interface_id != IID_IDispatch) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = static_cast<IDispatch*>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    *info = nullptr;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID,
                                          DISPID* ids) override {
    if (std::wcscmp(names[0], L"ErrorHandler") == 0) {
      *ids = kErrorHandler;
    } else if (std::wcscmp(names[0], L"Action") == 0) {
      *ids = kAction;
    } else {
      return DISP_E_UNKNOWNNAME;
    }
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO*, UINT*) override {
    if (id == kAction) {
      V_VT(result) = VT_BSTR;
      V_BSTR(result) = SysAllocString(L"");
      return S_OK;
    }
    if (parameters->cArgs != kArguments) return DISP_E_BADPARAMCOUNT;
    const auto argument = [&](UINT index) -> const VARIANT& {
      return parameters->rgvarg[kArguments - 1 - index];
    };
    g_reports.push_back({Text(argument(0)), Number(argument(3)), Text(argument(4)),
                         Number(argument(5)), Text(argument(6)), Text(argument(7)),
                         Text(argument(8)), Text(argument(9))});
    return S_OK;
  }
};

class HandlerClass : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interface_id, void** object) override {
    if (interface_id != IID_IUnknown && interface_id != IID_IClassFactory) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = static_cast<IClassFactory*>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interface_id, void** object) override {
    return handler_.QueryInterface(interface_id, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  Handler handler_;
};

HandlerClass g_handler_class;

}  // namespace

ReportCatcher::ReportCatcher() {
  CLSID registered{};
  if (FAILED(CoInitialize(nullptr)) || FAILED(CLSIDFromProgID(kName, &registered)) ||
      FAILED(CoRegisterClassObject(registered, &g_handler_class, CLSCTX_INPROC_SERVER,
                                   REGCLS_MULTIPLEUSE, &cookie_))) {
    cookie_ = 0;
  }
}

ReportCatcher::~ReportCatcher() {
  if (cookie_ != 0) CoRevokeClassObject(cookie_);
  CoUninitialize();
}

std::vector<CaughtReport> ReportCatcher::TakeReports() {
  return std::exchange(g_reports, {});
}

}  // namespace qmzentrel::faults
