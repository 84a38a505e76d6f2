#include "com/error_info.h"

#include <cstdint>
#include <exception>
#include <new>
#include <string_view>

#include "QmZentrel_h.h"
#include "platform/apartment.h"
#include "platform/win32/bstr.h"
#include "platform/win32/com_pointer.h"
#include "platform/win32/wide.h"
#include "support/run_time_error.h"

namespace qmzentrel::com {

std::atomic<int> internal::g_threads_with_error_info{0};

namespace {

constexpr const wchar_t* kErrorSource = L"QmZentrel";

// Automation errors are numbers below 65536 in the facility of controls; a number that is an
// HRESULT already stays as it is.
constexpr HRESULT AutomationError(std::int32_t number) {
  constexpr std::uint32_t kControlError = 0x800A0000u;
  return number < 0 ? number : static_cast<HRESULT>(kControlError | static_cast<WORD>(number));
}

// Any value but null: this thread has an error info that we have set.
platform::ApartmentSlot& MarkSlot() {
  static platform::ApartmentSlot slot;
  return slot;
}

void MarkThread() {
  if (MarkSlot().Get() != nullptr) return;
  MarkSlot().Set(&MarkSlot());
  ++internal::g_threads_with_error_info;
}

void SetErrorInfoOfThread(std::string_view description) {
  platform::ComPointer<ICreateErrorInfo> creation;
  platform::ComPointer<IErrorInfo> info;
  platform::OwnedBstr source{kErrorSource};
  platform::OwnedBstr text{platform::Utf8ToWide(description)};
  if (FAILED(CreateErrorInfo(creation.Receive()))) throw std::bad_alloc();
  creation->SetGUID(IID__Zentrel);
  creation->SetSource(source.Get());
  creation->SetDescription(text.Get());
  if (FAILED(creation->QueryInterface(IID_IErrorInfo, info.ReceiveVoid()))) throw std::bad_alloc();
  MarkThread();
  SetErrorInfo(0, info.Get());
}

HRESULT Report(HRESULT code, std::string_view description) noexcept {
  try {
    SetErrorInfoOfThread(description);
  } catch (...) {
    SetErrorInfo(0, nullptr);  // the code has to speak for itself
  }
  return code;
}

}  // namespace

HRESULT ReportErrorInProgress() noexcept {
  try {
    throw;
  } catch (const ReportedError&) {
    return Report(AutomationError(kErrorReported), kOtherErrorDescription);
  } catch (const RunTimeError& error) {
    return Report(AutomationError(error.number), error.description);
  } catch (const ComError& error) {
    return Report(error.code, error.description);
  } catch (const std::bad_alloc&) {
    return Report(E_OUTOFMEMORY, "Out of memory");
  } catch (const std::exception& error) {
    return Report(E_UNEXPECTED, error.what());
  } catch (...) {
    return Report(E_UNEXPECTED, "Unexpected error");
  }
}

void TakeErrorInfo(HRESULT code, EXCEPINFO& info) noexcept {
  info = {};
  info.scode = code;
  platform::ComPointer<IErrorInfo> error;
  if (GetErrorInfo(0, error.Receive()) != S_OK) return;
  error->GetSource(&info.bstrSource);
  error->GetDescription(&info.bstrDescription);
}

void ForgetErrorInfoOfThread() noexcept {
  if (internal::g_threads_with_error_info == 0 || MarkSlot().Get() == nullptr) return;
  MarkSlot().Set(nullptr);
  --internal::g_threads_with_error_info;
}

void internal::DropErrorInfoOfThread() noexcept {
  if (MarkSlot().Get() == nullptr) return;
  ForgetErrorInfoOfThread();
  SetErrorInfo(0, nullptr);
}

}  // namespace qmzentrel::com
