// An automation object whose members are functions of the test.
#pragma once

#include <windows.h>

// After it, which they need.
#include <dispex.h>
#include <ocidl.h>
#include <oleauto.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qmzentrel::automation {

/// Lives on the stack of its test, which may ask for the references that others still hold.
class ScriptedObject : public IDispatchEx {
 public:
  /// Through which interface its members are reached; objects of scripts have the second only.
  enum class Face { kDispatch, kDispatchEx };

  /// One use of a member.
  struct Use {
    WORD flags;
    std::vector<VARIANT*> arguments;  ///< in their written order; a value that is let is the last
    VARIANT* result;
    EXCEPINFO* info;

    bool IsLet() const { return (flags & DISPATCH_PROPERTYPUT) != 0; }
    LONG Number(std::size_t place) const {
      VARIANT number;
      VariantInit(&number);
      VariantChangeType(&number, arguments.at(place), 0, VT_I4);
      return V_I4(&number);
    }
    const wchar_t* Text(std::size_t place) const { return V_BSTR(arguments.at(place)); }
    /// As controls of the older libraries do.
    HRESULT GiveShort(LRESULT number) const {
      V_VT(result) = VT_I2;
      V_I2(result) = static_cast<SHORT>(number);
      return S_OK;
    }
    HRESULT GiveText(const std::wstring& text) const {
      V_VT(result) = VT_BSTR;
      V_BSTR(result) = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
      return S_OK;
    }
    HRESULT Fail(HRESULT code, const wchar_t* source, const wchar_t* description) const {
      info->scode = code;
      info->bstrSource = SysAllocString(source);
      info->bstrDescription = SysAllocString(description);
      return DISP_E_EXCEPTION;
    }
  };
  using Member = std::function<HRESULT(const Use& use)>;

  explicit ScriptedObject(Face face = Face::kDispatch) : face_(face) {}
  virtual ~ScriptedObject() = default;
  ScriptedObject(const ScriptedObject&) = delete;
  ScriptedObject& operator=(const ScriptedObject&) = delete;

  std::vector<std::pair<std::wstring, Member>> members;
  Member default_member;  ///< none as long as it is empty
  Member enumerator;      ///< likewise
  ITypeInfo* type_info = nullptr;
  ULONG references = 1;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    const bool ex = face_ == Face::kDispatchEx && IsEqualIID(riid, __uuidof(IDispatchEx));
    if (!ex && !IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IDispatch)) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = static_cast<IDispatchEx*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = type_info != nullptr ? 1 : 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT /*index*/, LCID /*lcid*/, ITypeInfo** info) override {
    *info = type_info;
    if (type_info == nullptr) return E_NOTIMPL;
    type_info->AddRef();
    return S_OK;
  }
  STDMETHODIMP GetIDsOfNames(REFIID /*riid*/, LPOLESTR* names, UINT /*count*/, LCID /*lcid*/,
                             DISPID* ids) override {
    return face_ == Face::kDispatch ? Find(names[0], *ids) : E_NOTIMPL;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID /*riid*/, LCID /*lcid*/, WORD flags, DISPPARAMS* parameters,
                      VARIANT* result, EXCEPINFO* info, UINT* /*wrong*/) override {
    return face_ == Face::kDispatch ? Run(id, flags, *parameters, result, info) : E_NOTIMPL;
  }

  STDMETHODIMP GetDispID(BSTR name, DWORD /*flags*/, DISPID* id) override {
    return Find(name, *id);
  }
  STDMETHODIMP InvokeEx(DISPID id, LCID /*lcid*/, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* info, IServiceProvider* /*caller*/) override {
    return Run(id, flags, *parameters, result, info);
  }
  STDMETHODIMP DeleteMemberByName(BSTR /*name*/, DWORD /*flags*/) override { return E_NOTIMPL; }
  STDMETHODIMP DeleteMemberByDispID(DISPID /*id*/) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberProperties(DISPID /*id*/, DWORD /*asked*/, DWORD* /*found*/) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP GetMemberName(DISPID /*id*/, BSTR* /*name*/) override { return E_NOTIMPL; }
  STDMETHODIMP GetNextDispID(DWORD /*flags*/, DISPID /*id*/, DISPID* /*next*/) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP GetNameSpaceParent(IUnknown** /*parent*/) override { return E_NOTIMPL; }

 private:
  HRESULT Find(const wchar_t* name, DISPID& id) const {
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (lstrcmpiW(members[i].first.c_str(), name) == 0) {
        id = static_cast<DISPID>(i + 1);
        return S_OK;
      }
    }
    id = DISPID_UNKNOWN;
    return DISP_E_UNKNOWNNAME;
  }

  HRESULT Run(DISPID id, WORD flags, DISPPARAMS& parameters, VARIANT* result, EXCEPINFO* info) {
    const bool let = (flags & DISPATCH_PROPERTYPUT) != 0;
    if (let &&
        (parameters.cNamedArgs != 1 || *parameters.rgdispidNamedArgs != DISPID_PROPERTYPUT)) {
      return DISP_E_PARAMNOTFOUND;
    }
    Use use{flags, {}, result, info};
    for (UINT i = parameters.cArgs; i > 0; --i) use.arguments.push_back(&parameters.rgvarg[i - 1]);
    if (id == DISPID_VALUE && default_member) return default_member(use);
    if (id == DISPID_NEWENUM && enumerator) return enumerator(use);
    if (id < 1 || static_cast<std::size_t>(id) > members.size()) return DISP_E_MEMBERNOTFOUND;
    return members[static_cast<std::size_t>(id - 1)].second(use);
  }

  Face face_;
};

}  // namespace qmzentrel::automation
