// The class as COM clients hold it: identity and life, late binding, events, and the dual interface
// over the core.
#pragma once

#include <windows.h>

// After it, which they need.
#include <olectl.h>

#include <atomic>
#include <memory>

#include "QmZentrel_h.h"
#include "com/connection_point.h"
#include "com/error_info.h"
#include "com/module_count.h"
#include "device/Zentrel.h"
#include "platform/hardware_faults.h"
#include "platform/win32/com_pointer.h"

namespace qmzentrel::com {

/// Belongs to the apartment that made it. It outlives every call into it and every event out of it,
/// whatever the client does meanwhile: releasing its last reference, closing the port, calling
/// again.
class ZentrelObject final : public _Zentrel,
                            public ISupportErrorInfo,
                            public IProvideClassInfo2,
                            public IConnectionPointContainer,
                            private ZentrelEvents {
 public:
  /// A new object. Raises what the core raises.
  static platform::ComPointer<_Zentrel> Create();

  ZentrelObject(const ZentrelObject&) = delete;
  ZentrelObject& operator=(const ZentrelObject&) = delete;

  /// The member that a shared routine works for: the function that calls the routine, or a member
  /// by its name.
  struct Caller {
    Caller(const char* called = __builtin_FUNCTION(), int at = __builtin_LINE())
        : function(called), line(at) {}
    explicit Caller(const wchar_t* called, int at = __builtin_LINE()) : member(called), line(at) {}
    const char* function = nullptr;
    const wchar_t* member = nullptr;
    int line;
  };

  /// The frame of every call: keeps the object alive, and turns what `body` raises into an HRESULT
  /// with an error info. `body` returns an HRESULT. Bad memory that it meets in the arguments of
  /// the call is a fault of the calling member.
  template <class Body>
  HRESULT Guarded(Body body, const Caller& member = {}) {
    return Run([](void* call) { return (*static_cast<Body*>(call))(); }, &body, member);
  }

  /// One of the three commands over arrays of sub-device messages.
  using MessageCommand = ZentrelStatus (Zentrel::*)(std::int32_t, const LongArray&,
                                                    const LongArray&);
  /// Runs it as its member of the dual interface does, over arrays that the caller holds.
  HRESULT RunMessages(MessageCommand command, LONG count, const LongArray& identifiers,
                      const LongArray& data, ::ZentrelStatus* result, const Caller& member = {});

  // IUnknown
  STDMETHODIMP QueryInterface(REFIID riid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;

  // IDispatch
  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* parameters,
                      VARIANT* result, EXCEPINFO* failure, UINT* wrong_argument) override;

  // _Zentrel, in its order
  STDMETHODIMP BoxStatus(::ZentrelStatus* Result) override;
  STDMETHODIMP ReadXpdr(::ZentrelStatus* Result) override;
  STDMETHODIMP ResetXpdr(::ZentrelStatus* Result) override;
  STDMETHODIMP WriteXpdr(::ZentrelStatus* Result) override;
  STDMETHODIMP get_IDToggle(VARIANT_BOOL* Result) override;
  STDMETHODIMP put_IDToggle(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_MIFSelect(VARIANT_BOOL* Result) override;
  STDMETHODIMP put_MIFSelect(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_DeviceMIF(LONG* Result) override;
  STDMETHODIMP put_DeviceMIF(LONG NewValue) override;
  STDMETHODIMP get_MIFName(BSTR* Result) override;
  STDMETHODIMP get_Util(LONG* Result) override;
  STDMETHODIMP put_Util(LONG NewValue) override;
  STDMETHODIMP get_Xpdr(LONG* Result) override;
  STDMETHODIMP put_Xpdr(LONG NewValue) override;
  STDMETHODIMP get_Tamper(LONG* Result) override;
  STDMETHODIMP put_Tamper(LONG NewValue) override;
  STDMETHODIMP get_Reading(LONG* Result) override;
  STDMETHODIMP put_Reading(LONG NewValue) override;
  STDMETHODIMP get_PLLWarmup(LONG* Result) override;
  STDMETHODIMP put_PLLWarmup(LONG NewValue) override;
  STDMETHODIMP get_PLLWarmUpName(BSTR* Result) override;
  STDMETHODIMP get_TXI(LONG* Result) override;
  STDMETHODIMP put_TXI(LONG NewValue) override;
  STDMETHODIMP get_TXIName(BSTR* Result) override;
  STDMETHODIMP get_MSI(LONG* Result) override;
  STDMETHODIMP put_MSI(LONG NewValue) override;
  STDMETHODIMP get_TravonelVersion(BSTR* Result) override;
  STDMETHODIMP get_ZentrelVersion(BSTR* Result) override;
  STDMETHODIMP get_ZentrelSignature(short Index, LONG* Result) override;
  STDMETHODIMP get_BatteryVoltage(float* Result) override;
  STDMETHODIMP get_PowerTimeout(LONG* Result) override;
  STDMETHODIMP put_PowerTimeout(LONG NewValue) override;
  STDMETHODIMP get_VDelay(LONG* Result) override;
  STDMETHODIMP put_VDelay(LONG NewValue) override;
  STDMETHODIMP Status(::ZentrelStatus Code, BSTR* Result) override;
  STDMETHODIMP put_PowerManagement(VARIANT_BOOL NewValue) override;
  STDMETHODIMP DeviceOpen(LONG Port, VARIANT_BOOL MaintainSupply, ::ZentrelStatus* Result) override;
  STDMETHODIMP DeviceInit(::ZentrelStatus* Result) override;
  STDMETHODIMP DeviceClose(::ZentrelStatus* Result) override;
  STDMETHODIMP put_Power(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_Name(BSTR RegRootKey, LONG Index, BSTR* Result) override;
  STDMETHODIMP TELIC2Read(LONG NumMessages, SAFEARRAY** MessageIDs, SAFEARRAY** MessageData,
                          ::ZentrelStatus* Result) override;
  STDMETHODIMP TELIC2Write(LONG NumMessages, SAFEARRAY** MessageIDs, SAFEARRAY** MessageData,
                           ::ZentrelStatus* Result) override;
  STDMETHODIMP TELIC2Test(LONG NumMessages, SAFEARRAY** MessageIDs, SAFEARRAY** MessageData,
                          ::ZentrelStatus* Result) override;
  STDMETHODIMP get_TELIC2Device(BSTR* Result) override;
  STDMETHODIMP put_TELIC2Device(BSTR NewValue) override;
  STDMETHODIMP TELIC2EnumDevices(IDispatch** cbo, VARIANT_BOOL* Result) override;
  STDMETHODIMP TELIC2EnumMessages(IDispatch** cbo, LONG Default, VARIANT_BOOL* Result) override;
  STDMETHODIMP get_TELIC2_Length(LONG Index, LONG* Result) override;
  STDMETHODIMP TELIC2EnumTestMessages(IDispatch** cbo, LONG Default, VARIANT_BOOL* Result) override;
  STDMETHODIMP get_TELIC2Test_RdLength(LONG Index, LONG* Result) override;
  STDMETHODIMP get_TELIC2Test_WrLength(LONG Index, LONG* Result) override;
  STDMETHODIMP get_Freq_A2(LONG* Result) override;
  STDMETHODIMP put_Freq_A2(LONG NewValue) override;
  STDMETHODIMP get_Freq_A1(LONG* Result) override;
  STDMETHODIMP put_Freq_A1(LONG NewValue) override;
  STDMETHODIMP get_Freq_A0(LONG* Result) override;
  STDMETHODIMP put_Freq_A0(LONG NewValue) override;
  STDMETHODIMP get_Clock_A(LONG* Result) override;
  STDMETHODIMP put_Clock_A(LONG NewValue) override;
  STDMETHODIMP get_PA_Power(LONG* Result) override;
  STDMETHODIMP put_PA_Power(LONG NewValue) override;
  STDMETHODIMP get_HasLeak(VARIANT_BOOL* Result) override;
  STDMETHODIMP put_HasLeak(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_LeakThreshold(LONG* Result) override;
  STDMETHODIMP put_LeakThreshold(LONG NewValue) override;
  STDMETHODIMP get_Freq_MSB(LONG* Result) override;
  STDMETHODIMP put_Freq_MSB(LONG NewValue) override;
  STDMETHODIMP get_Freq_MID(LONG* Result) override;
  STDMETHODIMP put_Freq_MID(LONG NewValue) override;
  STDMETHODIMP get_Freq_LSB(LONG* Result) override;
  STDMETHODIMP put_Freq_LSB(LONG NewValue) override;
  STDMETHODIMP get_BR_MSB(LONG* Result) override;
  STDMETHODIMP put_BR_MSB(LONG NewValue) override;
  STDMETHODIMP get_BR_LSB(LONG* Result) override;
  STDMETHODIMP put_BR_LSB(LONG NewValue) override;
  STDMETHODIMP get_EOL_CTRL(LONG* Result) override;
  STDMETHODIMP put_EOL_CTRL(LONG NewValue) override;
  STDMETHODIMP get_PA_CTRL(LONG* Result) override;
  STDMETHODIMP put_PA_CTRL(LONG NewValue) override;

  // ISupportErrorInfo
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override;

  // IProvideClassInfo2
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
  STDMETHODIMP GetGUID(DWORD kind, GUID* identifier) override;

  // IConnectionPointContainer
  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** enumerator) override;
  STDMETHODIMP FindConnectionPoint(REFIID riid, IConnectionPoint** point) override;

 private:
  // Stands for a call that is under way or an event that is being raised: the object stays alive.
  class Use {
   public:
    explicit Use(ZentrelObject& object) : object_(object) { ++object_.uses_; }
    ~Use() {
      --object_.uses_;
      object_.DeleteIfUnused();
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    ZentrelObject& object_;
  };

  ZentrelObject();
  ~ZentrelObject() override;

  void DeleteIfUnused() {
    if (references_ == 0 && uses_ == 0) delete this;
  }

  // Guarded for all bodies: their call is the least that is made for each of them.
  HRESULT Run(HRESULT (*call)(void*), void* body, const Caller& member);

  // Called while such a fault is handled: reports it and raises kErrorReported.
  [[noreturn]] void ReportFaultOf(const Caller& member);

  // Members of the dual interface: one without a result, and one whose `body` returns it.
  template <class Body>
  HRESULT Do(Body body, const Caller& member = {});
  template <class Out, class Body>
  HRESULT Answer(Out* result, Body body, const Caller& member = {});
  // One that runs a command over two arrays of the client.
  HRESULT RunMessages(MessageCommand command, LONG count, SAFEARRAY** identifiers, SAFEARRAY** data,
                      ::ZentrelStatus* result, const Caller& member = {});
  // One that fills a client's combo box.
  template <class Body>
  HRESULT FillBox(IDispatch** box, VARIANT_BOOL* result, Body body, const Caller& member = {});

  // ZentrelEvents
  void PowerStateChange(bool NewState) override;

  ModuleReference module_;
  std::atomic<ULONG> references_{1};
  unsigned uses_ = 0;  // counted by the apartment's own thread only
  ConnectionPoint events_{*this};
  std::shared_ptr<Zentrel> core_;
};

}  // namespace qmzentrel::com
