// What every test of the library needs: the library under test, objects of its class, and
// late-bound calls written in one line.
#pragma once

#include <windows.h>

// After it, which they need.
#include <olectl.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "QmZentrel_h.h"
#include "platform/win32/com_pointer.h"

namespace qmzentrel::clients {

using platform::ComPointer;

/// The entries of the library that the environment variable QMZ_DLL names.
struct Library {
  HMODULE module;
  HRESULT(STDAPICALLTYPE* GetClassObject)(REFCLSID, REFIID, void**);
  HRESULT(STDAPICALLTYPE* CanUnloadNow)();
  HRESULT(STDAPICALLTYPE* RegisterServer)();
  HRESULT(STDAPICALLTYPE* UnregisterServer)();
  HRESULT(STDAPICALLTYPE* Install)(BOOL, PCWSTR);
};

/// The file of the library under test, which QMZ_DLL names.
std::wstring LibraryPath();

/// Loaded once, COM initialised for the calling thread as a single-threaded apartment. Ends the
/// program with a word about the reason when there is no such library.
const Library& LoadedLibrary();

platform::ComPointer<IClassFactory> NewFactory();
platform::ComPointer<_Zentrel> NewZentrel();

/// `object` asked for another interface; null when it does not answer it.
template <class Interface>
platform::ComPointer<Interface> As(IUnknown* object, REFIID riid) {
  return platform::Query<Interface>(object, riid);
}

/// An owned VARIANT.
class Value {
 public:
  Value() = default;
  Value(const Value& other) : Value() { VariantCopy(&value_, &other.value_); }
  ~Value() { VariantClear(&value_); }
  Value& operator=(const Value& other) {
    if (this != &other) VariantCopy(&value_, &other.value_);
    return *this;
  }

  static Value Long(LONG number);
  static Value Short(SHORT number);
  static Value Double(double number);
  static Value Single(float number);
  static Value Bool(VARIANT_BOOL truth);
  static Value Text(std::wstring_view text);
  static Value Object(IDispatch* object);
  static Value Null();
  static Value Missing();
  /// Of another variant, which must outlive it.
  static Value ReferenceTo(Value& referred);
  /// To the data inside another variant, as a typed reference.
  static Value TypedReferenceTo(Value& referred);
  /// One-dimensional, from index 0 on.
  static Value LongArray(const std::vector<LONG>& numbers);
  static Value VariantArray(const std::vector<Value>& values);

  VARIANT& Raw() { return value_; }
  VARTYPE Type() const { return V_VT(&value_); }
  LONG AsLong() const { return V_I4(&value_); }
  VARIANT_BOOL AsBool() const { return V_BOOL(&value_); }
  float AsSingle() const { return V_R4(&value_); }
  std::wstring AsText() const { return {V_BSTR(&value_), SysStringLen(V_BSTR(&value_))}; }

 private:
  mutable VARIANT value_{};  // the system wants to copy from a writable one
};

/// What a late-bound call came to.
struct Outcome {
  HRESULT result = E_UNEXPECTED;
  Value value;
  UINT wrong_argument = kNoArgument;
  HRESULT scode = S_OK;
  WORD code = 0;
  std::wstring source;
  std::wstring description;

  static constexpr UINT kNoArgument = static_cast<UINT>(-1);
};

inline constexpr LCID kEnglish = 0x0409;
inline constexpr LCID kGerman = 0x0407;

/// One argument with the name of its parameter.
struct NamedValue {
  const wchar_t* name;
  Value value;
};

DISPID IdOf(IDispatch* object, std::wstring_view member);

/// IDispatch::Invoke with positional arguments in their written order.
Outcome InvokeId(IDispatch* object, DISPID id, WORD flags, std::vector<Value> arguments,
                 LCID lcid = kEnglish);
Outcome Call(IDispatch* object, std::wstring_view member, std::vector<Value> arguments = {},
             LCID lcid = kEnglish);
Outcome CallNamed(IDispatch* object, std::wstring_view member, std::vector<Value> positional,
                  std::initializer_list<NamedValue> named);
Outcome Get(IDispatch* object, std::wstring_view member, std::vector<Value> arguments = {},
            LCID lcid = kEnglish);
Outcome Let(IDispatch* object, std::wstring_view member, const Value& value, LCID lcid = kEnglish);

/// The text of the thread's error info, taken away from the thread; empty when there is none.
std::wstring TakenErrorDescription();

/// A BSTR as text; frees it.
std::wstring Taken(BSTR text);

}  // namespace qmzentrel::clients
