// QmZentrel for clients in C++17: early bound, every failure an exception, events as a function.
//
//   zentrel::Apartment apartment;                                  // once in each thread
//   zentrel::Object box;
//   ZentrelStatus status = box.Call(&_Zentrel::DeviceOpen, 7, true);
//   if (status == S_OKAY) status = box.Call(&_Zentrel::DeviceInit);   // learns what box it is
//   const long utility = box.Call(&_Zentrel::get_Util);
//   box.Call(&_Zentrel::put_Util, 42);
//
// Needs nothing but QmZentrel_h.h beside it and the libraries ole32 and oleaut32. For mingw-w64 and
// Microsoft's compiler. The component is 32-bit: a 64-bit program reaches it where it has been
// opened to them.
#pragma once

#include <windows.h>

// After it, which they need.
#include <ocidl.h>
#include <oleauto.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "QmZentrel_h.h"

namespace zentrel {

/// A call that failed. Says nothing of the radio link or the transponder, which are a
/// ZentrelStatus: this is a wrong argument, a class that is not registered, or a fault inside the
/// component (result 0x800AFFFF), which the component has then reported in full.
class Error : public std::exception {
 public:
  Error(HRESULT failure, std::wstring by, std::wstring what_failed)
      : result(failure), source(std::move(by)), description(std::move(what_failed)) {}
  const char* what() const noexcept override { return "QmZentrel: the call failed"; }

  HRESULT result;
  std::wstring source;       ///< "QmZentrel", or empty
  std::wstring description;  ///< for people, or empty
};

/// A text for, or from, a call.
class Text {
 public:
  explicit Text(BSTR owned = nullptr) : text_(owned) {}
  explicit Text(const std::wstring& text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (text_ == nullptr) throw Error(E_OUTOFMEMORY, {}, {});
  }
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  BSTR Get() const { return text_; }
  BSTR* Out() { return &text_; }
  std::wstring Copy() const {
    return text_ == nullptr ? std::wstring() : std::wstring(text_, SysStringLen(text_));
  }

 private:
  BSTR text_;
};

/// An interface pointer that is released.
template <class Interface>
class Pointer {
 public:
  Pointer() = default;
  Pointer(const Pointer& other) : pointer_(other.pointer_) {
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  ~Pointer() {
    if (pointer_ != nullptr) pointer_->Release();
  }
  Pointer& operator=(Pointer other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }

  Interface* Get() const { return pointer_; }
  Interface* operator->() const { return pointer_; }
  Interface** Out() { return &pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

namespace detail {

/// The Error of a call that failed, with what the thread's error info says of it.
inline Error Told(HRESULT failure) {
  Text source;
  Text description;
  Pointer<IErrorInfo> info;
  if (GetErrorInfo(0, info.Out()) == S_OK) {
    info->GetSource(source.Out());
    info->GetDescription(description.Out());
  }
  return Error(failure, source.Copy(), description.Copy());
}

}  // namespace detail

/// Throws an Error without words when a call has failed that sets no error info: one that the
/// thread has is of some call before.
inline void Check(HRESULT result) {
  if (FAILED(result)) throw Error(result, {}, {});
}

/// Throws an Error when a member of `called` has failed: with its words if the object says that
/// this interface of it sets the error info.
template <class Interface>
void Check(HRESULT result, Interface* called) {
  if (SUCCEEDED(result)) return;
  Pointer<ISupportErrorInfo> support;
  if (SUCCEEDED(called->QueryInterface(__uuidof(ISupportErrorInfo),
                                       reinterpret_cast<void**>(support.Out()))) &&
      support->InterfaceSupportsErrorInfo(__uuidof(Interface)) == S_OK) {
    throw detail::Told(result);
  }
  throw Error(result, {}, {});
}

/// COM for the calling thread, a single-threaded apartment: the home of the component. Objects end
/// before it.
class Apartment {
 public:
  Apartment() { Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
  ~Apartment() { CoUninitialize(); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
};

/// The arrays of the sub-device messages, with indices from 0 on.
class LongArray {
 public:
  explicit LongArray(const std::vector<long>& numbers)
      : array_(SafeArrayCreateVector(VT_I4, 0, static_cast<ULONG>(numbers.size()))) {
    if (array_ == nullptr) throw Error(E_OUTOFMEMORY, {}, {});
    std::copy(numbers.begin(), numbers.end(), static_cast<long*>(array_->pvData));
  }
  ~LongArray() { SafeArrayDestroy(array_); }
  LongArray(const LongArray&) = delete;
  LongArray& operator=(const LongArray&) = delete;

  /// For a call, which may exchange the array.
  SAFEARRAY** InOut() { return &array_; }
  /// The element at `index`; an Error when there is none.
  long operator[](long index) const {
    long number = 0;
    Check(SafeArrayGetElement(array_, &index, &number));
    return number;
  }

 private:
  SAFEARRAY* array_;
};

namespace detail {

/// What a client hands over, as the member takes it.
template <class Parameter, class Argument>
auto In(const Argument& argument) {
  if constexpr (std::is_same_v<Argument, bool>) {
    static_assert(std::is_same_v<Parameter, VARIANT_BOOL>, "a truth where a number is wanted");
    return argument ? VARIANT_TRUE : VARIANT_FALSE;
  } else if constexpr (std::is_same_v<Parameter, BSTR>) {
    return Text(std::wstring(argument));
  } else {
    return static_cast<Parameter>(argument);
  }
}
template <class Parameter>
Parameter Raw(const Parameter& argument) {
  return argument;
}
inline BSTR Raw(const Text& text) {
  return text.Get();
}

}  // namespace detail

/// One box. Made in an apartment and used there.
class Object {
 public:
  Object() {
    // There is no object yet to ask whose words they are: what is said then has been said since.
    SetErrorInfo(0, nullptr);
    const HRESULT result =
        CoCreateInstance(__uuidof(::Zentrel), nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                         __uuidof(_Zentrel), reinterpret_cast<void**>(object_.Out()));
    if (FAILED(result)) throw detail::Told(result);
  }

  /// Calls a member of _Zentrel with all its arguments but the result, and answers that: a status
  /// or a number as it is, a truth as bool, a text as std::wstring. Truths and texts are handed
  /// over as bool and as anything that makes a std::wstring. Throws an Error when the call itself
  /// fails.
  template <class... Parameters, class... Arguments>
  auto Call(HRESULT (STDMETHODCALLTYPE _Zentrel::*member)(Parameters...),
            const Arguments&... arguments) const {
    if constexpr (sizeof...(Arguments) == sizeof...(Parameters)) {
      Check((object_.Get()->*member)(detail::Raw(detail::In<Parameters>(arguments))...),
            object_.Get());
    } else {
      static_assert(sizeof...(Arguments) + 1 == sizeof...(Parameters),
                    "all arguments, those that a script may leave out as well");
      return WithResult(member, std::make_index_sequence<sizeof...(Arguments)>(), arguments...);
    }
  }

  _Zentrel* Get() const { return object_.Get(); }

 private:
  template <class... Parameters, std::size_t... Index, class... Arguments>
  auto WithResult(HRESULT (STDMETHODCALLTYPE _Zentrel::*member)(Parameters...),
                  std::index_sequence<Index...> /*positions*/,
                  const Arguments&... arguments) const {
    using All = std::tuple<Parameters...>;
    using Result = std::remove_pointer_t<std::tuple_element_t<sizeof...(Parameters) - 1, All>>;
    if constexpr (std::is_same_v<Result, BSTR>) {
      Text text;
      Check(
          (object_.Get()->*member)(
              detail::Raw(detail::In<std::tuple_element_t<Index, All>>(arguments))..., text.Out()),
          object_.Get());
      return text.Copy();
    } else {
      Result result{};
      Check((object_.Get()->*member)(
                detail::Raw(detail::In<std::tuple_element_t<Index, All>>(arguments))..., &result),
            object_.Get());
      if constexpr (std::is_same_v<Result, VARIANT_BOOL>) {
        return result != VARIANT_FALSE;
      } else {
        return result;
      }
    }
  }

  Pointer<_Zentrel> object_;
};

/// Calls a function with the new state of the box's supply, as long as it lives. The thread must
/// dispatch messages for the events of the count-down; those of a command come within its call.
class PowerEvents {
 public:
  PowerEvents(const Object& object, std::function<void(bool)> changed)
      : sink_(new Sink(std::move(changed))) {
    Pointer<IConnectionPointContainer> container;
    Pointer<Sink> held;
    *held.Out() = sink_;
    Check(object.Get()->QueryInterface(__uuidof(IConnectionPointContainer),
                                       reinterpret_cast<void**>(container.Out())));
    Check(container->FindConnectionPoint(__uuidof(__Zentrel), point_.Out()));
    Check(point_->Advise(sink_, &cookie_));
  }
  ~PowerEvents() { point_->Unadvise(cookie_); }
  PowerEvents(const PowerEvents&) = delete;
  PowerEvents& operator=(const PowerEvents&) = delete;

 private:
  class Sink final : public IDispatch {
   public:
    explicit Sink(std::function<void(bool)> changed) : changed_(std::move(changed)) {}
    virtual ~Sink() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** object) override {
      const bool known = wanted == __uuidof(IUnknown) || wanted == __uuidof(IDispatch) ||
                         wanted == __uuidof(__Zentrel);
      *object = known ? this : nullptr;
      if (!known) return E_NOINTERFACE;
      AddRef();
      return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
      return static_cast<ULONG>(InterlockedIncrement(&references_));
    }
    ULONG STDMETHODCALLTYPE Release() override {
      const LONG left = InterlockedDecrement(&references_);
      if (left == 0) delete this;
      return static_cast<ULONG>(left);
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
      *count = 0;
      return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT /*index*/, LCID /*locale*/,
                                          ITypeInfo** information) override {
      *information = nullptr;
      return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID /*reserved*/, LPOLESTR* /*names*/,
                                            UINT /*count*/, LCID /*locale*/,
                                            DISPID* /*identifiers*/) override {
      return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID event, REFIID /*reserved*/, LCID /*locale*/,
                                     WORD /*flags*/, DISPPARAMS* arguments, VARIANT* /*result*/,
                                     EXCEPINFO* /*failure*/, UINT* /*wrong*/) override {
      constexpr DISPID kPowerStateChange = 1;
      if (event != kPowerStateChange || arguments->cArgs != 1) return DISP_E_MEMBERNOTFOUND;
      // What the function throws must not pass through the component.
      try {
        changed_(arguments->rgvarg[0].boolVal != VARIANT_FALSE);
      } catch (...) {
        return E_FAIL;
      }
      return S_OK;
    }

   private:
    std::function<void(bool)> changed_;
    LONG references_ = 1;
  };

  Sink* sink_;
  Pointer<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

}  // namespace zentrel
