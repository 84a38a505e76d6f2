#include "zentrel/component.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <utility>

#include "platform/win32/bstr.h"
#include "platform/win32/wide.h"
#include "zentrel/component_library.h"
#include "zentrel/console.h"
#include "zentrel/failure.h"
#include "zentrel/program_file.h"
#include "zentrel/report.h"
#include "zentrel/system_program.h"

namespace qmzentrel::program {
namespace {

// What a fault inside the component is to its clients.
constexpr HRESULT kComponentFault = static_cast<HRESULT>(0x800AFFFF);

// What Windows answers where a rule about programs stands against the DLL. The compiler's headers
// do not have the second one, of App Control.
bool IsForbidden(HRESULT result) {
  constexpr DWORD kPolicyViolation = 4551;
  return result == HRESULT_FROM_WIN32(ERROR_ACCESS_DISABLED_BY_POLICY) ||
         result == HRESULT_FROM_WIN32(kPolicyViolation);
}

std::string Hexadecimal(HRESULT result) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
  return text;
}

void Require(HRESULT result, const char* what) {
  if (result == S_OK) return;
  if (result == kComponentFault) {
    throw Failure(ExitCode::kComponentFault,
                  std::string("the component met a fault of its own in ") + what,
                  "read its report, which went to the error handler or a message box, and run "
                  "zentrel doctor");
  }
  throw Failure(ExitCode::kUnexpected,
                std::string("the component refuses ") + what + " with " + Hexadecimal(result),
                "run zentrel doctor");
}

Failure NotMade(HRESULT result) {
  return {ExitCode::kNoComponent, "the component QmZentrel cannot be made: " + Hexadecimal(result),
          "run zentrel doctor, which says why"};
}

// Of what is not registered doctor knows no more.
Failure NotMadeByFileBeside(HRESULT result) {
  const std::wstring file = LibraryBeside();
  std::string problem = "cannot be used (" + Hexadecimal(result) + ")";
  if (IsNoLibraryOf32Bits(file)) {
    problem = "is no 32-bit DLL";
  } else if (result == HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND)) {
    problem = "needs a DLL that is not there";
  }
  return {ExitCode::kNoComponent,
          "the file beside zentrel " + problem + ": " + platform::WideToUtf8(file),
          "take the QmZentrel.dll of the release"};
}

void RequireObject(HRESULT result, Failure (*otherwise)(HRESULT)) {
  if (result == S_OK) return;
  if (result == kComponentFault) Require(result, "making an object");
  if (result == REGDB_E_CLASSNOTREG) {
    throw Failure(ExitCode::kNoComponent, "the component QmZentrel is not registered",
                  "register QmZentrel.dll with " + SystemProgram("regsvr32.exe") +
                      " from an administrator's prompt, or let zentrel doctor say what is missing");
  }
  if (IsForbidden(result)) throw ForbiddenByRule();
  throw otherwise(result);
}

HRESULT MakeOfRegisteredClass(platform::ComPointer<_Zentrel>& object) {
  return CoCreateInstance(CLSID_Zentrel, nullptr, CLSCTX_INPROC_SERVER, IID__Zentrel,
                          object.ReceiveVoid());
}

// Once, however many objects a command makes.
void SayThatItIsNotRegistered() {
  static bool said = false;
  if (std::exchange(said, true)) return;
  Complain(
      "The component is not registered: zentrel uses the QmZentrel.dll beside it, which other "
      "programs do not find until it is registered.");
}

platform::ComPointer<_Zentrel> NewObject() {
  platform::ComPointer<_Zentrel> object;
  const HRESULT registered = MakeOfRegisteredClass(object);
  if (registered != REGDB_E_CLASSNOTREG) {
    RequireObject(registered, NotMade);
  } else {
    RequireObject(MakeByLibraryBeside(object), NotMadeByFileBeside);
    SayThatItIsNotRegistered();
  }
  return object;
}

// One-dimensional, of 32-bit numbers, from index 0 on.
class LongArray {
 public:
  explicit LongArray(const std::vector<LONG>& numbers)
      : array_(SafeArrayCreateVector(VT_I4, 0, static_cast<ULONG>(numbers.size()))) {
    if (array_ == nullptr) throw std::bad_alloc();
    for (std::size_t i = 0; i < numbers.size(); ++i) Data()[i] = numbers[i];
  }
  ~LongArray() { SafeArrayDestroy(array_); }
  LongArray(const LongArray&) = delete;
  LongArray& operator=(const LongArray&) = delete;

  SAFEARRAY** Reference() { return &array_; }
  std::vector<LONG> Numbers() const { return {Data(), Data() + array_->rgsabound[0].cElements}; }

 private:
  LONG* Data() const { return static_cast<LONG*>(array_->pvData); }

  SAFEARRAY* array_;
};

// What a status other than S_OKAY is to the person at the bench. The port's number stands where
// there is a '#'.
struct StatusMeaning {
  ::ZentrelStatus status = S_OKAY;
  std::optional<Answerer> answerer;  ///< none: whoever has to answer
  ExitCode code = ExitCode::kUnexpected;
  const char* problem = "";
  const char* next = "";
};

constexpr const char* kTryAgainNearer =
    "hold the box nearer to the meter, away from sources of noise, and try again";

constexpr std::array kStatusMeanings{
    StatusMeaning{S_TIMEOUT, Answerer::kBox, ExitCode::kNoAnswer, "no box answers on COM#",
                  "look at cable and battery, then run zentrel doctor --port #"},
    StatusMeaning{S_TIMEOUT, Answerer::kTransponder, ExitCode::kNoAnswer,
                  "no transponder answers the box on COM#",
                  "hold the box nearer to the meter and try again"},
    StatusMeaning{
        S_BAD_RESPONSE, {}, ExitCode::kDisturbed, "the answer on COM# breaks off", kTryAgainNearer},
    StatusMeaning{
        S_BAD_SUM, {}, ExitCode::kDisturbed, "the answer on COM# is disturbed", kTryAgainNearer},
    StatusMeaning{S_BAD_PORT,
                  {},
                  ExitCode::kPort,
                  "COM# cannot be opened",
                  "run zentrel doctor --port #, which says whether it is missing or busy"},
    StatusMeaning{S_BAD_DATA,
                  {},
                  ExitCode::kRefused,
                  "the component refuses the record as out of range",
                  "read the transponder and mend what is out of range"},
    StatusMeaning{S_MSG_TOO_LONG,
                  {},
                  ExitCode::kRefused,
                  "more sub-device messages than one frame carries",
                  "ask for fewer at a time"},
    StatusMeaning{S_BAD_PARAMETER,
                  {},
                  ExitCode::kRefused,
                  "the catalog does not know a sub-device message",
                  "see zentrel messages --list"},
};

std::string WithNumber(std::string text, std::int32_t number) {
  const std::size_t place = text.find('#');
  return place == std::string::npos ? text : text.replace(place, 1, std::to_string(number));
}

}  // namespace

ComApartment::ComApartment() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
    throw Failure(ExitCode::kUnexpected, "COM does not start", "restart Windows and try again");
  }
}

ComApartment::~ComApartment() {
  CoUninitialize();
}

Component::Component() : object_(NewObject()) {}

Component::~Component() {
  ::ZentrelStatus status{};
  object_->DeviceClose(&status);
}

ZentrelStatus Component::TryToOpen(std::int32_t port) {
  port_ = port;
  ::ZentrelStatus status{};
  Require(object_->DeviceOpen(port, VARIANT_TRUE, &status), "DeviceOpen");
  if (status != S_OKAY) return status;
  Require(object_->DeviceInit(&status), "DeviceInit");
  // On a port that has opened only the simulator answers so.
  simulated_ = status == S_BAD_PORT;
  return simulated_ ? S_OKAY : status;
}

void Component::Open(const Options& options) {
  const std::int32_t port = NamedPort(options);
  const Waiting waiting("Asking the box on " + PortName(port), options);
  Check(TryToOpen(port), Answerer::kBox);
}

void Component::Run(Command command, Answerer answerer) {
  ::ZentrelStatus status{};
  Require((object_.Get()->*command)(&status), "a command");
  Check(status, answerer);
}

LONG Component::Get(LongGetter property) const {
  LONG value = 0;
  Require((object_.Get()->*property)(&value), "a property");
  return value;
}

bool Component::Get(BoolGetter property) const {
  VARIANT_BOOL value = VARIANT_FALSE;
  Require((object_.Get()->*property)(&value), "a property");
  return value != VARIANT_FALSE;
}

std::string Component::Get(TextGetter property) const {
  platform::OwnedBstr value;
  Require((object_.Get()->*property)(value.Receive()), "a property");
  return platform::WideToUtf8(value.View());
}

void Component::Let(LongSetter property, LONG value) {
  Require((object_.Get()->*property)(value), "a property");
}

void Component::Let(BoolSetter property, bool value) {
  Require((object_.Get()->*property)(value ? VARIANT_TRUE : VARIANT_FALSE), "a property");
}

LONG Component::Signature(short index) const {
  LONG value = 0;
  Require(object_->get_ZentrelSignature(index, &value), "ZentrelSignature");
  return value;
}

float Component::BatteryVoltage() const {
  float volts = 0;
  Require(object_->get_BatteryVoltage(&volts), "BatteryVoltage");
  return volts;
}

std::vector<LONG> Component::ReadMessages(const std::vector<LONG>& identifiers) {
  LongArray named(identifiers);
  LongArray data(std::vector<LONG>(identifiers.size()));
  ::ZentrelStatus status{};
  Require(object_->TELIC2Read(static_cast<LONG>(identifiers.size()), named.Reference(),
                              data.Reference(), &status),
          "TELIC2Read");
  Check(status, Answerer::kTransponder);
  return data.Numbers();
}

void Component::Check(::ZentrelStatus status, Answerer answerer) const {
  if (status == S_OKAY) return;
  const auto* const meaning = std::ranges::find_if(kStatusMeanings, [&](const StatusMeaning& row) {
    return row.status == status && row.answerer.value_or(answerer) == answerer;
  });
  if (meaning == kStatusMeanings.end()) {
    throw Failure(
        ExitCode::kUnexpected,
        "the component answers with the status " + std::to_string(static_cast<int>(status)),
        "use a program of the component's version");
  }
  throw Failure(meaning->code, WithNumber(meaning->problem, port_),
                WithNumber(meaning->next, port_));
}

void RequireRegisteredClass() {
  platform::ComPointer<_Zentrel> object;
  RequireObject(MakeOfRegisteredClass(object), NotMade);
}

std::string PortName(std::int32_t port) {
  return "COM" + std::to_string(port);
}

std::int32_t NamedPort(const Options& options) {
  if (options.port == 0) {
    throw Failure(ExitCode::kCommandLine, "no port is named",
                  "add --port with the box's port, which zentrel ports or zentrel probe finds");
  }
  return options.port;
}

}  // namespace qmzentrel::program
