// The life of the object, opening and closing the port, and Box Status with the facts of the box.
#include "device/Zentrel.h"
#include "simulator/simulated_commands.h"
#include "simulator/simulator_switch.h"
#include "support/ignoring_errors.h"
#include "support/modCOM_InDesignMode.h"
#include "support/modCOM_XTimerSupport.h"
#include "support/run_time_error.h"

namespace qmzentrel {
namespace {

// Link settings of the box.
constexpr platform::SerialSettings kBoxLink{.baud_rate = 9600,
                                            .parity = platform::kNoParity,
                                            .data_bits = 8,
                                            .stop_bits = platform::kTwoStopBits};

constexpr std::int32_t kBoxStatusTimeoutMs = 500;

constexpr std::int32_t kTickMs = 1000;
constexpr std::int32_t kDefaultVerifyDelayMs = 4000;
// Ticks that the supply stays on after a command.
constexpr std::int32_t kPowerTimeout = 60;
constexpr std::int32_t kShortSupplyPowerTimeout = 20;
constexpr std::int32_t kDesignModePowerTimeout = 15;

std::int32_t PowerTimeoutOf(std::int32_t running) {
  return modCOM_InDesignMode::InDesignMode() ? kDesignModePowerTimeout : running;
}

}  // namespace

std::shared_ptr<Zentrel> Zentrel::Create() {
  std::shared_ptr<Zentrel> object(new Zentrel);
  object->Class_Initialize();
  return object;
}

Zentrel::~Zentrel() {
  try {
    Class_Terminate();
  } catch (...) {
    // Reported already; whoever releases an object cannot be told. But a timer that was not stopped
    // would be kept running by its table, for nobody.
    IgnoringErrors([this] {
      if (m_XTimer) modCOM_XTimerSupport::EndTimer(*m_XTimer);
    });
  }
}

void Zentrel::Class_Initialize() {
  ErrorFrame frame(Fields(), "Class_Initialize");
  frame.Run([&] {
    STEP m_DebugLog = std::make_unique<CDebugLog>();
    STEP m_XTimer = XTimer::Create();
    // The object stays alive through a tick in which the client releases it.
    STEP m_XTimer->Tick([object = weak_from_this()] {
      if (const auto alive = object.lock()) alive->PowerTick();
    });
    STEP VDelay(kDefaultVerifyDelayMs);
    STEP m_XTimer->Interval(kTickMs);
    STEP m_lngPowerTimeout = PowerTimeoutOf(kPowerTimeout);
    STEP TELIC2Device("");
    STEP LoadNames();
    STEP form_.emplace();
  });
}

void Zentrel::Class_Terminate() {
  ErrorFrame frame(Fields(), "Class_Terminate");
  frame.Run([&] {
    STEP m_strTXIs.Erase();
    STEP m_strMIFs.Erase();
    STEP DeviceClose();
    STEP if (m_XTimer) {
      STEP m_XTimer->Tick(nullptr);
      STEP m_XTimer->Enabled(false);  // a running timer would be kept alive by its table
      STEP m_XTimer.reset();
    }
    STEP form_.reset();
    STEP m_DebugLog.reset();
  });
}

ZentrelStatus Zentrel::DeviceOpen(std::int32_t Port, bool MaintainSupply) {
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "Zentrel_DeviceOpen", PARAMETERS(Port, MaintainSupply),
                   LOCALS(lngStatus));
  return frame.Run([&] {
    STEP LogStep("Zentrel_DeviceOpen");
    STEP if (simulator::SimulatorEnabled()) return S_OKAY;
    STEP PowerManagement(!MaintainSupply);
    STEP m_lngPowerTimer = m_lngPowerTimeout;
    STEP if (m_PortCtrl.IsOpen()) m_PortCtrl.Close();
    STEP m_PortCtrl.Open({.number = Port, .link = kBoxLink});
    try {
      STEP Power(true);
      STEP lngStatus = m_PortCtrl.IsOpen() ? S_OKAY : S_BAD_PORT;
    } catch (...) {
      Power(false);  // what ends the event must not leave the box supplied for ever
      throw;
    }
    STEP Power(false);
    STEP return lngStatus;
  });
}

ZentrelStatus Zentrel::DeviceInit() {
  ZentrelStatus lngStatus = S_BAD_PORT;
  ErrorFrame frame(Fields(), "Zentrel_DeviceInit", PARAMETERS(), LOCALS(lngStatus));
  return frame.Run([&] {
    STEP LogStep("Zentrel_DeviceInit");
    STEP if (m_PortCtrl.IsOpen()) {
      STEP lngStatus = BoxStatus();
      STEP if (lngStatus == S_TIMEOUT) lngStatus = BoxStatus();
    }
    STEP return lngStatus;
  });
}

ZentrelStatus Zentrel::DeviceClose() {
  ErrorFrame frame(Fields(), "Zentrel_DeviceClose");
  return frame.Run([&] {
    STEP LogStep("Zentrel_DeviceClose");
    STEP m_PortCtrl.Supply(0);
    STEP m_blnPowerEnabled = false;
    STEP m_PortCtrl.Close();
    STEP return S_OKAY;
  });
}

ZentrelStatus Zentrel::BoxStatus() {
  FrameBuffer bytTx;
  FrameBuffer bytRx;
  ZentrelStatus lngStatus = S_OKAY;
  ErrorFrame frame(Fields(), "BoxStatus", PARAMETERS(), LOCALS(bytTx, bytRx, lngStatus));
  return frame.Run([&] {
    STEP if (simulator::SimulatorEnabled()) return simulator::BoxStatus();
    STEP bytTx[0] = kBoxStatusCommand;
    STEP lngStatus = ZentrelCommand(bytTx, 1, bytRx, kBoxStatusLength, kBoxStatusTimeoutMs);
    STEP if (lngStatus == S_OKAY) ParseBoxStatus(bytRx, 0);
    // Whatever the status: after a time-out the signature of the Box Status before decides.
    STEP if (ZentrelSignature(0) == 0) StartHoldOff();
    STEP return lngStatus;
  });
}

std::int32_t Zentrel::ZentrelSignature(std::int16_t Index) const {
  ErrorFrame frame(Fields(), "ZentrelSignature", PARAMETERS(Index));
  return frame.Run([&]() -> std::int32_t {
    const auto count = static_cast<std::int16_t>(box_.m_bytZentrelSignature.size());
    STEP if (Index < 0 || Index >= count) RaiseError(kErrorSubscriptOutOfRange);
    STEP return box_.m_bytZentrelSignature[static_cast<std::size_t>(Index)];
  });
}

void Zentrel::ParseBoxStatus(const FrameBuffer& bytes, std::int32_t Offset) {
  ErrorFrame frame(Fields(), "ParseBoxStatus", PARAMETERS(bytes, Offset));
  frame.Run([&] {
    STEP box_.Parse(bytes, Offset);
    STEP m_lngPowerTimeout =
        PowerTimeoutOf(box_.HasShortSupply() ? kShortSupplyPowerTimeout : kPowerTimeout);
  });
}

void Zentrel::LogStep(const char* text) {
  // There is none yet, or no longer, when a half-made object is undone.
  if (m_DebugLog) m_DebugLog->DebugOutput(text, CDebugLog::kInformation, false, false);
}

}  // namespace qmzentrel
