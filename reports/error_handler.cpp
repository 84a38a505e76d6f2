#include "reports/error_handler.h"

// After <windows.h>, which it needs.
#include <oleauto.h>

#include <atomic>
#include <string>

#include "platform/win32/bstr.h"
#include "platform/win32/locale.h"
#include "platform/win32/owned_variant.h"
#include "platform/win32/wide.h"
#include "reports/report_file.h"
#include "reports/report_text.h"

namespace qmzentrel::reports {
namespace {

using platform::OwnedBstr;
using platform::OwnedVariant;

std::atomic<LONG> g_uses{0};

/// An object that is there once and as long as the library.
template <class Interface, const IID& kIdentifier>
class SharedObject : public Interface {
 public:
  STDMETHODIMP QueryInterface(REFIID riid, void** object) final {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (riid != IID_IUnknown && riid != kIdentifier) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() final { return static_cast<ULONG>(++g_uses); }
  STDMETHODIMP_(ULONG) Release() final { return static_cast<ULONG>(--g_uses); }

 protected:
  ~SharedObject() = default;
};

constexpr DISPID kErrorHandler = 1;
constexpr DISPID kAction = 2;

bool IsName(const wchar_t* name, const wchar_t* member) {
  return CompareStringOrdinal(name, -1, member, -1, TRUE) == CSTR_EQUAL;
}

HRESULT TakeReport(const DISPPARAMS& parameters, Report& report) {
  if (parameters.cNamedArgs != 0) return DISP_E_NONAMEDARGS;
  if (parameters.cArgs != Report::kArguments) return DISP_E_BADPARAMCOUNT;
  for (std::size_t place = 0; place < Report::kArguments; ++place) {
    OwnedVariant text;
    VARIANT* const argument = &parameters.rgvarg[Report::kArguments - 1 - place];  // last first
    const HRESULT converted =
        VariantChangeTypeEx(text.Get(), argument, platform::kComponentLocale, 0, VT_BSTR);
    if (FAILED(converted)) return converted;
    report.arguments[place] = platform::WideToUtf8(platform::ViewOf(V_BSTR(text.Get())));
  }
  return S_OK;
}

HRESULT Refuse(DWORD error, EXCEPINFO* info) {
  const HRESULT result = HRESULT_FROM_WIN32(error);
  if (info == nullptr) return result;
  OwnedBstr source(L"QmZentrelReports");
  OwnedBstr description(L"The report cannot be written to " + ReportFilePath());
  *info = {};
  info->scode = result;
  info->bstrSource = source.Detach();
  info->bstrDescription = description.Detach();
  return DISP_E_EXCEPTION;
}

class ErrorHandler final : public SharedObject<IDispatch, IID_IDispatch> {
 public:
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return DISP_E_BADINDEX;
  }
  STDMETHODIMP GetIDsOfNames(REFIID /*riid*/, LPOLESTR* names, UINT count, LCID /*locale*/,
                             DISPID* ids) override {
    if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
    for (UINT parameter = 1; parameter < count; ++parameter) ids[parameter] = DISPID_UNKNOWN;
    ids[0] = IsName(names[0], L"ErrorHandler") ? kErrorHandler
             : IsName(names[0], L"Action")     ? kAction
                                               : DISPID_UNKNOWN;
    return count == 1 && ids[0] != DISPID_UNKNOWN ? S_OK : DISP_E_UNKNOWNNAME;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID /*riid*/, LCID /*locale*/, WORD flags,
                      DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* info,
                      UINT* /*wrong*/) override {
    if (parameters == nullptr) return E_INVALIDARG;
    try {
      if (id == kErrorHandler && (flags & DISPATCH_METHOD) != 0) return Take(*parameters, info);
      if (id == kAction && (flags & DISPATCH_PROPERTYGET) != 0) return Tell(*parameters, result);
      return DISP_E_MEMBERNOTFOUND;
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }

 private:
  static HRESULT Take(const DISPPARAMS& parameters, EXCEPINFO* info) {
    Report report;
    const HRESULT taken = TakeReport(parameters, report);
    if (FAILED(taken)) return taken;
    const DWORD error = AppendReport(TextOf(report));
    return error == ERROR_SUCCESS ? S_OK : Refuse(error, info);
  }
  static HRESULT Tell(const DISPPARAMS& parameters, VARIANT* result) {
    if (parameters.cArgs != 0) return DISP_E_BADPARAMCOUNT;
    if (result == nullptr) return S_OK;
    OwnedBstr action(L"Continue");
    V_VT(result) = VT_BSTR;
    V_BSTR(result) = action.Detach();
    return S_OK;
  }
};

class Factory final : public SharedObject<IClassFactory, IID_IClassFactory> {
 public:
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
    static ErrorHandler handler;
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return outer != nullptr ? CLASS_E_NOAGGREGATION : handler.QueryInterface(riid, object);
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock != FALSE) {
      AddRef();
    } else {
      Release();
    }
    return S_OK;
  }
};

}  // namespace

HRESULT GetErrorHandlerClass(REFIID riid, void** object) noexcept {
  static Factory factory;
  return factory.QueryInterface(riid, object);
}

bool ErrorHandlerInUse() noexcept {
  return g_uses != 0;
}

}  // namespace qmzentrel::reports
