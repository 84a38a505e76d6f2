// Whose words an Error of the wrapper has: those of the call that failed, never those that another
// component has left on the thread.
#include <windows.h>

// After it, which it needs.
#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>

#include "com/member_types.h"
#include "sdk/include/zentrel.hpp"

namespace {

namespace types = qmzentrel::com::types;

/// Leaves an error info on the thread, as a component does whose call fails.
void LeaveErrorInfo(const std::wstring& source, const std::wstring& description) {
  zentrel::Pointer<ICreateErrorInfo> creation;
  zentrel::Pointer<IErrorInfo> info;
  ASSERT_EQ(CreateErrorInfo(creation.Out()), S_OK);
  creation->SetSource(zentrel::Text(source).Get());
  creation->SetDescription(zentrel::Text(description).Get());
  ASSERT_EQ(creation->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(info.Out())), S_OK);
  SetErrorInfo(0, info.Get());
}

/// What a class says of error infos.
enum class Promise { kNothing, kOfOtherInterfaces, kOfItsOwn };

/// Every member fails, and sets an error info only if `promise` says so of the interface.
class FailingObject : public _Zentrel, public ISupportErrorInfo {
 public:
  Promise promise = Promise::kNothing;
  virtual ~FailingObject() = default;

  STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
    *object = nullptr;
    if (riid == IID_IUnknown || riid == IID__Zentrel) *object = static_cast<_Zentrel*>(this);
    if (riid == IID_ISupportErrorInfo && promise != Promise::kNothing) {
      *object = static_cast<ISupportErrorInfo*>(this);
    }
    return *object == nullptr ? E_NOINTERFACE : S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override {
    return (riid == IID__Zentrel) == (promise == Promise::kOfItsOwn) ? S_OK : S_FALSE;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* /*count*/) override { return Fail(); }
  STDMETHODIMP GetTypeInfo(UINT /*index*/, LCID /*lcid*/, ITypeInfo** /*info*/) override {
    return Fail();
  }
  STDMETHODIMP GetIDsOfNames(REFIID /*riid*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*lcid*/,
                             DISPID* /*ids*/) override {
    return Fail();
  }
  STDMETHODIMP Invoke(DISPID /*id*/, REFIID /*riid*/, LCID /*lcid*/, WORD /*flags*/,
                      DISPPARAMS* /*parameters*/, VARIANT* /*result*/, EXCEPINFO* /*failure*/,
                      UINT* /*wrong_argument*/) override {
    return Fail();
  }
#define UNNAMED(type, name, ...) types::type::Given /*name*/
#define FAILING(procedure, type, ...)                                                              \
  STDMETHODIMP procedure(EACH(UNNAMED, __VA_ARGS__) __VA_OPT__(, ) types::type::Given*) override { \
    return Fail();                                                                                 \
  }
#define METHOD(name, id, type, ...) FAILING(name, type, __VA_ARGS__)
#define GET(name, id, type, ...) FAILING(get_##name, type, __VA_ARGS__)
#define LET(name, id, type)                              \
  STDMETHODIMP put_##name(types::type::Given) override { \
    return Fail();                                       \
  }
#include "com/member_table.inc"
#undef FAILING
#undef UNNAMED

 private:
  HRESULT Fail() const {
    if (promise == Promise::kOfItsOwn) LeaveErrorInfo(L"QmZentrel", L"Ours");
    return E_FAIL;
  }
};

/// The class object while it lives, in the place of the component's.
class FailingClass : public IClassFactory {
 public:
  FailingClass() {
    EXPECT_EQ(CoRegisterClassObject(CLSID_Zentrel, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                    &cookie_),
              S_OK);
  }
  virtual ~FailingClass() { CoRevokeClassObject(cookie_); }
  FailingClass(const FailingClass&) = delete;
  FailingClass& operator=(const FailingClass&) = delete;

  FailingObject object;
  bool fails = false;

  STDMETHODIMP QueryInterface(REFIID riid, void** face) override {
    const bool known = riid == IID_IUnknown || riid == IID_IClassFactory;
    *face = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown* /*outer*/, REFIID riid, void** created) override {
    *created = nullptr;
    if (!fails) return object.QueryInterface(riid, created);
    LeaveErrorInfo(L"QmZentrel", L"Not made");
    return E_FAIL;
  }
  STDMETHODIMP LockServer(BOOL /*lock*/) override { return S_OK; }

 private:
  DWORD cookie_ = 0;
};

class WrapperError : public testing::Test {
 protected:
  WrapperError() { LeaveErrorInfo(L"Another", L"Of a call long ago"); }

  /// What is thrown when `call` fails: source and description.
  template <class Function>
  static std::wstring Words(Function call) {
    try {
      call();
    } catch (const zentrel::Error& error) {
      EXPECT_TRUE(FAILED(error.result));
      return error.source + L": " + error.description;
    }
    ADD_FAILURE() << "the call has not failed";
    return {};
  }
  /// Those of a member that fails.
  static std::wstring WordsOfAMember(Promise promise) {
    FailingClass of_class;
    of_class.object.promise = promise;
    const zentrel::Object box;
    const std::wstring of_get = Words([&] { box.Call(&_Zentrel::get_Util); });
    LeaveErrorInfo(L"Another", L"Of a call long ago");
    EXPECT_EQ(Words([&] { box.Call(&_Zentrel::put_Util, 1); }), of_get);
    LeaveErrorInfo(L"Another", L"Of a call long ago");
    EXPECT_EQ(Words([&] { box.Call(&_Zentrel::get_MIFName); }), of_get);
    return of_get;
  }

  const zentrel::Apartment apartment_;
};
const std::wstring kNoWords = L": ";

TEST_F(WrapperError, OfAMemberThatSetsAnErrorInfoHasItsWords) {
  EXPECT_EQ(WordsOfAMember(Promise::kOfItsOwn), L"QmZentrel: Ours");
}

TEST_F(WrapperError, OfAnObjectThatPromisesNoErrorInfoHasNoWordsOfOthers) {
  EXPECT_EQ(WordsOfAMember(Promise::kNothing), kNoWords);
}

TEST_F(WrapperError, OfAnInterfaceThatIsNotPromisedHasNoWordsOfOthers) {
  EXPECT_EQ(WordsOfAMember(Promise::kOfOtherInterfaces), kNoWords);
}

TEST_F(WrapperError, OfAClassThatIsNotThereHasNoWordsOfOthers) {
  EXPECT_EQ(Words([] { const zentrel::Object box; }), kNoWords);
}

TEST_F(WrapperError, OfACreationThatFailsHasItsWords) {
  FailingClass of_class;
  of_class.fails = true;
  EXPECT_EQ(Words([] { const zentrel::Object box; }), L"QmZentrel: Not made");
}

TEST_F(WrapperError, OfAnIndexThatIsNotThereHasNoWordsOfOthers) {
  const zentrel::LongArray numbers({1, 2});
  EXPECT_EQ(numbers[1], 2);
  EXPECT_EQ(Words([&] { static_cast<void>(numbers[2]); }), kNoWords);
}

TEST_F(WrapperError, OfAnObjectWithoutEventsHasNoWordsOfOthers) {
  FailingClass of_class;
  of_class.object.promise = Promise::kOfItsOwn;
  const zentrel::Object box;
  EXPECT_EQ(Words([&] { const zentrel::PowerEvents events(box, [](bool) {}); }), kNoWords);
}

}  // namespace
