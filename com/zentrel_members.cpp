// The members of the dual interface, in its order: each converts types and calls the core.
#include <string>

#include "com/client_array.h"
#include "com/com_text.h"
#include "com/held_object.h"
#include "com/zentrel_object.h"

namespace qmzentrel::com {
namespace {

// Clients of other languages say true with any number but 0.
bool IsTrue(VARIANT_BOOL value) {
  return value != VARIANT_FALSE;
}

void Give(VARIANT_BOOL* result, bool value) {
  *result = value ? VARIANT_TRUE : VARIANT_FALSE;
}
void Give(LONG* result, std::int32_t value) {
  *result = value;
}
void Give(float* result, float value) {
  *result = value;
}
void Give(BSTR* result, const std::string& value) {
  *result = NewBstr(value);
}
void Give(::ZentrelStatus* result, ZentrelStatus value) {
  *result = static_cast<::ZentrelStatus>(value);
}

}  // namespace

template <class Body>
HRESULT ZentrelObject::Do(Body body, const Caller& member) {
  return Guarded(
      [&] {
        body();
        return S_OK;
      },
      member);
}

template <class Out, class Body>
HRESULT ZentrelObject::Answer(Out* result, Body body, const Caller& member) {
  return Guarded(
      [&] {
        if (result == nullptr) throw ComError{E_POINTER, "The result has nowhere to go"};
        *result = {};
        Give(result, body());
        return S_OK;
      },
      member);
}

HRESULT ZentrelObject::RunMessages(MessageCommand command, LONG count, const LongArray& identifiers,
                                   const LongArray& data, ::ZentrelStatus* result,
                                   const Caller& member) {
  return Answer(
      result, [&] { return ((*core_).*command)(count, identifiers, data); }, member);
}

HRESULT ZentrelObject::RunMessages(MessageCommand command, LONG count, SAFEARRAY** identifiers,
                                   SAFEARRAY** data, ::ZentrelStatus* result,
                                   const Caller& member) {
  return Answer(
      result,
      [&] {
        const ClientArray held_identifiers(identifiers);
        const ClientArray held_data(data);
        return ((*core_).*command)(count, held_identifiers.View(), held_data.View());
      },
      member);
}

template <class Body>
HRESULT ZentrelObject::FillBox(IDispatch** box, VARIANT_BOOL* result, Body body,
                               const Caller& member) {
  return Answer(
      result,
      [&] {
        if (box == nullptr) throw ComError{E_POINTER, "The combo box is missing"};
        const HeldObject held(*box);
        return body(LateBound({held.Get()}));
      },
      member);
}

STDMETHODIMP ZentrelObject::BoxStatus(::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->BoxStatus(); });
}

STDMETHODIMP ZentrelObject::ReadXpdr(::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->ReadXpdr(); });
}

STDMETHODIMP ZentrelObject::ResetXpdr(::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->ResetXpdr(); });
}

STDMETHODIMP ZentrelObject::WriteXpdr(::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->WriteXpdr(); });
}

STDMETHODIMP ZentrelObject::get_IDToggle(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return core_->IDToggle(); });
}

STDMETHODIMP ZentrelObject::put_IDToggle(VARIANT_BOOL NewValue) {
  return Do([&] { core_->IDToggle(IsTrue(NewValue)); });
}

STDMETHODIMP ZentrelObject::get_MIFSelect(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return core_->MIFSelect(); });
}

STDMETHODIMP ZentrelObject::put_MIFSelect(VARIANT_BOOL NewValue) {
  return Do([&] { core_->MIFSelect(IsTrue(NewValue)); });
}

STDMETHODIMP ZentrelObject::get_DeviceMIF(LONG* Result) {
  return Answer(Result, [&] { return core_->DeviceMIF(); });
}

STDMETHODIMP ZentrelObject::put_DeviceMIF(LONG NewValue) {
  return Do([&] { core_->DeviceMIF(NewValue); });
}

STDMETHODIMP ZentrelObject::get_MIFName(BSTR* Result) {
  return Answer(Result, [&] { return core_->MIFName(); });
}

STDMETHODIMP ZentrelObject::get_Util(LONG* Result) {
  return Answer(Result, [&] { return core_->Util(); });
}

STDMETHODIMP ZentrelObject::put_Util(LONG NewValue) {
  return Do([&] { core_->Util(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Xpdr(LONG* Result) {
  return Answer(Result, [&] { return core_->Xpdr(); });
}

STDMETHODIMP ZentrelObject::put_Xpdr(LONG NewValue) {
  return Do([&] { core_->Xpdr(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Tamper(LONG* Result) {
  return Answer(Result, [&] { return core_->Tamper(); });
}

STDMETHODIMP ZentrelObject::put_Tamper(LONG NewValue) {
  return Do([&] { core_->Tamper(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Reading(LONG* Result) {
  return Answer(Result, [&] { return core_->Reading(); });
}

STDMETHODIMP ZentrelObject::put_Reading(LONG NewValue) {
  return Do([&] { core_->Reading(NewValue); });
}

STDMETHODIMP ZentrelObject::get_PLLWarmup(LONG* Result) {
  return Answer(Result, [&] { return core_->PLLWarmup(); });
}

STDMETHODIMP ZentrelObject::put_PLLWarmup(LONG NewValue) {
  return Do([&] { core_->PLLWarmup(NewValue); });
}

STDMETHODIMP ZentrelObject::get_PLLWarmUpName(BSTR* Result) {
  return Answer(Result, [&] { return core_->PLLWarmUpName(); });
}

STDMETHODIMP ZentrelObject::get_TXI(LONG* Result) {
  return Answer(Result, [&] { return core_->TXI(); });
}

STDMETHODIMP ZentrelObject::put_TXI(LONG NewValue) {
  return Do([&] { core_->TXI(NewValue); });
}

STDMETHODIMP ZentrelObject::get_TXIName(BSTR* Result) {
  return Answer(Result, [&] { return core_->TXIName(); });
}

STDMETHODIMP ZentrelObject::get_MSI(LONG* Result) {
  return Answer(Result, [&] { return core_->MSI(); });
}

STDMETHODIMP ZentrelObject::put_MSI(LONG NewValue) {
  return Do([&] { core_->MSI(NewValue); });
}

STDMETHODIMP ZentrelObject::get_TravonelVersion(BSTR* Result) {
  return Answer(Result, [&] { return core_->TravonelVersion(); });
}

STDMETHODIMP ZentrelObject::get_ZentrelVersion(BSTR* Result) {
  return Answer(Result, [&] { return core_->ZentrelVersion(); });
}

STDMETHODIMP ZentrelObject::get_ZentrelSignature(short Index, LONG* Result) {
  return Answer(Result, [&] { return core_->ZentrelSignature(Index); });
}

STDMETHODIMP ZentrelObject::get_BatteryVoltage(float* Result) {
  return Answer(Result, [&] { return core_->BatteryVoltage(); });
}

STDMETHODIMP ZentrelObject::get_PowerTimeout(LONG* Result) {
  return Answer(Result, [&] { return core_->PowerTimeout(); });
}

STDMETHODIMP ZentrelObject::put_PowerTimeout(LONG NewValue) {
  return Do([&] { core_->PowerTimeout(NewValue); });
}

STDMETHODIMP ZentrelObject::get_VDelay(LONG* Result) {
  return Answer(Result, [&] { return core_->VDelay(); });
}

STDMETHODIMP ZentrelObject::put_VDelay(LONG NewValue) {
  return Do([&] { core_->VDelay(NewValue); });
}

STDMETHODIMP ZentrelObject::Status(::ZentrelStatus Code, BSTR* Result) {
  return Answer(Result, [&] { return Zentrel::Status(Code); });
}

STDMETHODIMP ZentrelObject::put_PowerManagement(VARIANT_BOOL NewValue) {
  return Do([&] { core_->PowerManagement(IsTrue(NewValue)); });
}

STDMETHODIMP ZentrelObject::DeviceOpen(LONG Port, VARIANT_BOOL MaintainSupply,
                                       ::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->DeviceOpen(Port, IsTrue(MaintainSupply)); });
}

STDMETHODIMP ZentrelObject::DeviceInit(::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->DeviceInit(); });
}

STDMETHODIMP ZentrelObject::DeviceClose(::ZentrelStatus* Result) {
  return Answer(Result, [&] { return core_->DeviceClose(); });
}

STDMETHODIMP ZentrelObject::put_Power(VARIANT_BOOL NewValue) {
  return Do([&] { core_->Power(IsTrue(NewValue)); });
}

STDMETHODIMP ZentrelObject::get_Name(BSTR RegRootKey, LONG Index, BSTR* Result) {
  return Answer(Result, [&] { return core_->Name(TextOf(RegRootKey), Index); });
}

STDMETHODIMP ZentrelObject::TELIC2Read(LONG NumMessages, SAFEARRAY** MessageIDs,
                                       SAFEARRAY** MessageData, ::ZentrelStatus* Result) {
  return RunMessages(&Zentrel::TELIC2Read, NumMessages, MessageIDs, MessageData, Result);
}

STDMETHODIMP ZentrelObject::TELIC2Write(LONG NumMessages, SAFEARRAY** MessageIDs,
                                        SAFEARRAY** MessageData, ::ZentrelStatus* Result) {
  return RunMessages(&Zentrel::TELIC2Write, NumMessages, MessageIDs, MessageData, Result);
}

STDMETHODIMP ZentrelObject::TELIC2Test(LONG NumMessages, SAFEARRAY** MessageIDs,
                                       SAFEARRAY** MessageData, ::ZentrelStatus* Result) {
  return RunMessages(&Zentrel::TELIC2Test, NumMessages, MessageIDs, MessageData, Result);
}

STDMETHODIMP ZentrelObject::get_TELIC2Device(BSTR* Result) {
  return Answer(Result, [&] { return core_->TELIC2Device(); });
}

STDMETHODIMP ZentrelObject::put_TELIC2Device(BSTR NewValue) {
  return Do([&] { core_->TELIC2Device(TextOf(NewValue)); });
}

STDMETHODIMP ZentrelObject::TELIC2EnumDevices(IDispatch** cbo, VARIANT_BOOL* Result) {
  return FillBox(cbo, Result, [&](const LateBound& box) { return core_->TELIC2EnumDevices(box); });
}

STDMETHODIMP ZentrelObject::TELIC2EnumMessages(IDispatch** cbo, LONG Default,
                                               VARIANT_BOOL* Result) {
  return FillBox(cbo, Result,
                 [&](const LateBound& box) { return core_->TELIC2EnumMessages(box, Default); });
}

STDMETHODIMP ZentrelObject::get_TELIC2_Length(LONG Index, LONG* Result) {
  return Answer(Result, [&] { return core_->TELIC2_Length(Index); });
}

STDMETHODIMP ZentrelObject::TELIC2EnumTestMessages(IDispatch** cbo, LONG Default,
                                                   VARIANT_BOOL* Result) {
  return FillBox(cbo, Result,
                 [&](const LateBound& box) { return core_->TELIC2EnumTestMessages(box, Default); });
}

STDMETHODIMP ZentrelObject::get_TELIC2Test_RdLength(LONG Index, LONG* Result) {
  return Answer(Result, [&] { return core_->TELIC2Test_RdLength(Index); });
}

STDMETHODIMP ZentrelObject::get_TELIC2Test_WrLength(LONG Index, LONG* Result) {
  return Answer(Result, [&] { return core_->TELIC2Test_WrLength(Index); });
}

STDMETHODIMP ZentrelObject::get_Freq_A2(LONG* Result) {
  return Answer(Result, [&] { return core_->Freq_A2(); });
}

STDMETHODIMP ZentrelObject::put_Freq_A2(LONG NewValue) {
  return Do([&] { core_->Freq_A2(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Freq_A1(LONG* Result) {
  return Answer(Result, [&] { return core_->Freq_A1(); });
}

STDMETHODIMP ZentrelObject::put_Freq_A1(LONG NewValue) {
  return Do([&] { core_->Freq_A1(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Freq_A0(LONG* Result) {
  return Answer(Result, [&] { return core_->Freq_A0(); });
}

STDMETHODIMP ZentrelObject::put_Freq_A0(LONG NewValue) {
  return Do([&] { core_->Freq_A0(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Clock_A(LONG* Result) {
  return Answer(Result, [&] { return core_->Clock_A(); });
}

STDMETHODIMP ZentrelObject::put_Clock_A(LONG NewValue) {
  return Do([&] { core_->Clock_A(NewValue); });
}

STDMETHODIMP ZentrelObject::get_PA_Power(LONG* Result) {
  return Answer(Result, [&] { return core_->PA_Power(); });
}

STDMETHODIMP ZentrelObject::put_PA_Power(LONG NewValue) {
  return Do([&] { core_->PA_Power(NewValue); });
}

STDMETHODIMP ZentrelObject::get_HasLeak(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return core_->HasLeak(); });
}

STDMETHODIMP ZentrelObject::put_HasLeak(VARIANT_BOOL NewValue) {
  return Do([&] { core_->HasLeak(IsTrue(NewValue)); });
}

STDMETHODIMP ZentrelObject::get_LeakThreshold(LONG* Result) {
  return Answer(Result, [&] { return core_->LeakThreshold(); });
}

STDMETHODIMP ZentrelObject::put_LeakThreshold(LONG NewValue) {
  return Do([&] { core_->LeakThreshold(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Freq_MSB(LONG* Result) {
  return Answer(Result, [&] { return core_->Freq_MSB(); });
}

STDMETHODIMP ZentrelObject::put_Freq_MSB(LONG NewValue) {
  return Do([&] { core_->Freq_MSB(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Freq_MID(LONG* Result) {
  return Answer(Result, [&] { return core_->Freq_MID(); });
}

STDMETHODIMP ZentrelObject::put_Freq_MID(LONG NewValue) {
  return Do([&] { core_->Freq_MID(NewValue); });
}

STDMETHODIMP ZentrelObject::get_Freq_LSB(LONG* Result) {
  return Answer(Result, [&] { return core_->Freq_LSB(); });
}

STDMETHODIMP ZentrelObject::put_Freq_LSB(LONG NewValue) {
  return Do([&] { core_->Freq_LSB(NewValue); });
}

STDMETHODIMP ZentrelObject::get_BR_MSB(LONG* Result) {
  return Answer(Result, [&] { return core_->BR_MSB(); });
}

STDMETHODIMP ZentrelObject::put_BR_MSB(LONG NewValue) {
  return Do([&] { core_->BR_MSB(NewValue); });
}

STDMETHODIMP ZentrelObject::get_BR_LSB(LONG* Result) {
  return Answer(Result, [&] { return core_->BR_LSB(); });
}

STDMETHODIMP ZentrelObject::put_BR_LSB(LONG NewValue) {
  return Do([&] { core_->BR_LSB(NewValue); });
}

STDMETHODIMP ZentrelObject::get_EOL_CTRL(LONG* Result) {
  return Answer(Result, [&] { return core_->EOL_CTRL(); });
}

STDMETHODIMP ZentrelObject::put_EOL_CTRL(LONG NewValue) {
  return Do([&] { core_->EOL_CTRL(NewValue); });
}

STDMETHODIMP ZentrelObject::get_PA_CTRL(LONG* Result) {
  return Answer(Result, [&] { return core_->PA_CTRL(); });
}

STDMETHODIMP ZentrelObject::put_PA_CTRL(LONG NewValue) {
  return Do([&] { core_->PA_CTRL(NewValue); });
}

}  // namespace qmzentrel::com
