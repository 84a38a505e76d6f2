// The class that the component exists for: it drives one Zentrel box on one serial port and,
// through the box, one transponder at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "device/port_control.h"
#include "device/unanswered_sends.h"
#include "interface/box_facts.h"
#include "interface/enumerations.h"
#include "interface/frame_buffer.h"
#include "interface/long_array.h"
#include "interface/transponder_record.h"
#include "simulator/frmZentrelSim.h"
#include "support/CDebugLog.h"
#include "support/XTimer.h"
#include "support/error_frame.h"
#include "support/late_bound.h"
#include "support/object_lifetime.h"
#include "support/string_array.h"

namespace qmzentrel {

/// Receives the event of the class. Closing the port and calling again are allowed, and so is
/// releasing the object: whoever calls a command holds the object until it returns, a tick holds it
/// itself.
class ZentrelEvents {
 public:
  virtual ~ZentrelEvents() = default;
  /// The supply of the box was switched, or would have been while it is maintained.
  virtual void PowerStateChange(bool NewState) = 0;
};

/// Commands answer with a ZentrelStatus and never raise for a missing box or a failing link. A
/// fault inside a procedure is reported once and leaves as kErrorReported. A property of the
/// transponder takes any value, unless its comment says otherwise; ranges are checked by WriteXpdr.
///
/// Belongs to one thread. It may be called again from within its event and its yielding waits.
class Zentrel : public std::enable_shared_from_this<Zentrel> {
 public:
  /// A new object, ready to open a port. Everything begun is undone when this fails.
  static std::shared_ptr<Zentrel> Create();
  /// Switches the supply off and closes the port.
  ~Zentrel();
  Zentrel(const Zentrel&) = delete;
  Zentrel& operator=(const Zentrel&) = delete;

  /// `events` must outlive the object or be replaced by null; null means that nobody listens.
  void Events(ZentrelEvents* events) { events_ = events; }

  // --- Session ---

  /// Opens port `Port` (COM number, 1 and up). With `MaintainSupply` the box keeps its supply while
  /// the port is open, otherwise it is supplied on demand. S_OKAY or S_BAD_PORT; a port that was
  /// open is closed first.
  ZentrelStatus DeviceOpen(std::int32_t Port, bool MaintainSupply);
  /// Box Status, and once more after a time-out.
  ZentrelStatus DeviceInit();
  /// Supply off, port closed, no event. Always S_OKAY.
  ZentrelStatus DeviceClose();
  /// Reads the box facts.
  ZentrelStatus BoxStatus();

  /// Box software version as text ("2.1"), empty before the first Box Status.
  const std::string& ZentrelVersion() const { return box_.m_strZentrelVersion; }
  /// Signature byte 0 or 1 of the box; any other index is error 9 through the frame.
  std::int32_t ZentrelSignature(std::int16_t Index) const;
  /// Volts.
  float BatteryVoltage() const { return box_.m_sngBatteryVolts; }
  /// The text of a status; any other number has a text of its own.
  static std::string Status(std::int32_t Code);

  // --- Transponder commands ---

  /// Reads the transponder into the record; a failed read clears the record.
  ZentrelStatus ReadXpdr();
  ZentrelStatus ResetXpdr();
  /// Writes the record to the transponder and refreshes it from the reply. S_BAD_DATA when a value
  /// is out of range; then nothing is sent.
  ZentrelStatus WriteXpdr();

  /// The MIF byte: type in bits 0 to 3, ID toggle in bit 4, secondary select in bit 5.
  std::int32_t DeviceMIF() const { return record_.DeviceMIF(); }
  void DeviceMIF(std::int32_t New_DeviceMIF) { record_.DeviceMIF(New_DeviceMIF); }
  bool IDToggle() const { return record_.m_blnIDToggle; }
  void IDToggle(bool New_IDToggle) { record_.m_blnIDToggle = New_IDToggle; }
  bool MIFSelect() const { return record_.m_blnMIFSelect; }
  void MIFSelect(bool New_MIFSelect) { record_.m_blnMIFSelect = New_MIFSelect; }
  /// Utility code, 0 to 255.
  std::int32_t Util() const { return record_.m_lngUtil; }
  void Util(std::int32_t New_Util) { record_.m_lngUtil = New_Util; }
  /// Transponder identifier, 0 to 0xFFFFFF.
  std::int32_t Xpdr() const { return record_.m_lngXpdrID; }
  void Xpdr(std::int32_t New_Xpdr) { record_.m_lngXpdrID = New_Xpdr; }
  /// Tamper count, 0 to 255; on the transponder its bit 7 carries the leak flag.
  std::int32_t Tamper() const { return record_.m_lngTamperCount; }
  void Tamper(std::int32_t New_Tamper) { record_.m_lngTamperCount = New_Tamper; }
  /// Meter reading, 0 to 0xFFFFFF.
  std::int32_t Reading() const { return record_.m_lngReading; }
  void Reading(std::int32_t New_Reading) { record_.m_lngReading = New_Reading; }
  /// PLL warm-up index, 0 to 15, in steps of 0.2 ms.
  std::int32_t PLLWarmup() const { return record_.m_lngPLLWarmup; }
  void PLLWarmup(std::int32_t New_PLLWarmup) { record_.m_lngPLLWarmup = New_PLLWarmup; }
  /// The warm-up time as text, "0.6 mS" for index 3.
  std::string PLLWarmUpName() const;
  /// Transmit-interval index, 0 to 15.
  std::int32_t TXI() const { return record_.m_lngTXI; }
  void TXI(std::int32_t New_TXI) { record_.m_lngTXI = New_TXI; }
  /// Meter specific information, 0 to 15.
  std::int32_t MSI() const { return record_.m_lngMSI; }
  void MSI(std::int32_t New_MSI) { record_.m_lngMSI = New_MSI; }
  /// Transponder software version as text, "0.0" after a failed read.
  const std::string& TravonelVersion() const { return record_.m_strXpdrVersion; }

  /// Verify delay in milliseconds: how long a write keeps the next read or write waiting, so that
  /// the transponder has finished storing. Error 6 when the stored seconds no longer fit.
  std::int32_t VDelay() const;
  void VDelay(std::int32_t New_VDelay);

  // --- Power ---

  /// True: supply on demand, false: supply maintained. Then sets Power to the opposite.
  void PowerManagement(bool New_PowerManagement);
  /// A command begins (true) or has ended (false); what that does depends on the power mode.
  void Power(bool NewState);
  /// Seconds that the supply stays on after a command; 0 or less never switches it off. Replaced by
  /// every reply that carries box facts.
  std::int32_t PowerTimeout() const { return m_lngPowerTimeout; }
  void PowerTimeout(std::int32_t New_PowerTimeout) { m_lngPowerTimeout = New_PowerTimeout; }

  // --- Electric radio settings ---
  // Plain stored numbers that travel in block 2. The five names from Freq_A2 to PA_Power are an
  // older family over the same five stores; clients of either family rely on seeing the other's
  // changes.

  std::int32_t Freq_MSB() const { return record_.radio.m_lngFreq_MSB; }
  void Freq_MSB(std::int32_t New_Freq_MSB) { record_.radio.m_lngFreq_MSB = New_Freq_MSB; }
  std::int32_t Freq_MID() const { return record_.radio.m_lngFreq_MID; }
  void Freq_MID(std::int32_t New_Freq_MID) { record_.radio.m_lngFreq_MID = New_Freq_MID; }
  std::int32_t Freq_LSB() const { return record_.radio.m_lngFreq_LSB; }
  void Freq_LSB(std::int32_t New_Freq_LSB) { record_.radio.m_lngFreq_LSB = New_Freq_LSB; }
  std::int32_t BR_MSB() const { return record_.radio.m_lngBR_MSB; }
  void BR_MSB(std::int32_t New_BR_MSB) { record_.radio.m_lngBR_MSB = New_BR_MSB; }
  std::int32_t BR_LSB() const { return record_.radio.M_lngBR_LSB; }
  void BR_LSB(std::int32_t New_BR_LSB) { record_.radio.M_lngBR_LSB = New_BR_LSB; }
  std::int32_t PA_CTRL() const { return record_.radio.m_lngPA_CTRL; }
  void PA_CTRL(std::int32_t New_PA_CTRL) { record_.radio.m_lngPA_CTRL = New_PA_CTRL; }
  std::int32_t EOL_CTRL() const { return record_.radio.m_lngEOL_CTRL; }
  void EOL_CTRL(std::int32_t New_EOL_CTRL) { record_.radio.m_lngEOL_CTRL = New_EOL_CTRL; }
  bool HasLeak() const { return record_.radio.m_blnHasLeak; }
  void HasLeak(bool New_HasLeak) { record_.radio.m_blnHasLeak = New_HasLeak; }
  /// At most 255: a larger value is stored as 255.
  std::int32_t LeakThreshold() const { return record_.radio.m_lngLeakTHold; }
  void LeakThreshold(std::int32_t New_LeakThreshold) {
    record_.radio.LeakThreshold(New_LeakThreshold);
  }

  std::int32_t Freq_A2() const { return Freq_MSB(); }
  void Freq_A2(std::int32_t New_Freq_A2) { Freq_MSB(New_Freq_A2); }
  std::int32_t Freq_A1() const { return Freq_MID(); }
  void Freq_A1(std::int32_t New_Freq_A1) { Freq_MID(New_Freq_A1); }
  std::int32_t Freq_A0() const { return Freq_LSB(); }
  void Freq_A0(std::int32_t New_Freq_A0) { Freq_LSB(New_Freq_A0); }
  std::int32_t Clock_A() const { return BR_MSB(); }
  void Clock_A(std::int32_t New_Clock_A) { BR_MSB(New_Clock_A); }
  std::int32_t PA_Power() const { return BR_LSB(); }
  void PA_Power(std::int32_t New_PA_Power) { BR_LSB(New_PA_Power); }

  // --- Names from the catalogs ---

  /// The name of the record's meter interface, of the whole stored value; error 9 through the frame
  /// when the catalog of the creation did not reach so far, or was not there.
  std::string MIFName() const;
  /// The name of the record's transmit interval; errors as those of MIFName.
  std::string TXIName() const;
  /// The unnamed value of the key that `Index` names below `RegRootKey`, a path under
  /// HKEY_LOCAL_MACHINE; "Invalid" when there is none.
  std::string Name(const std::string& RegRootKey, std::int32_t Index) const;

  // --- Sub-device messages ---

  /// The selected type of sub-device, empty at first: then no message is left out of lists, and
  /// test messages are looked for beside the types.
  const std::string& TELIC2Device() const { return m_strTELIC2Device; }
  void TELIC2Device(const std::string& New_Value);

  /// Puts the types of sub-devices into a client's combo box; true when there is at least one.
  /// These three leave any other object as it is and answer false. What the box refuses is an error
  /// of its own number through the frame.
  bool TELIC2EnumDevices(const LateBound& cbo) const;
  /// Puts "NOP" (-1) and the messages that the device offers into the box, their numbers as item
  /// data, and selects the one with the number `Default`; true for a combo box.
  bool TELIC2EnumMessages(const LateBound& cbo, std::int32_t Default) const;
  /// The same with the test messages of the device, "Invalid" (99) being the last.
  bool TELIC2EnumTestMessages(const LateBound& cbo, std::int32_t Default) const;

  /// Data length of a message in bytes, 0 when it is unknown. A sign is no part of the length.
  std::int32_t TELIC2_Length(std::int32_t Index) const;
  /// Bytes that a test message of the device reads: 0 when it is unknown, -1 when it has no reply.
  std::int32_t TELIC2Test_RdLength(std::int32_t Index) const;
  /// Bytes that a test message of the device writes, 0 when it is unknown.
  std::int32_t TELIC2Test_WrLength(std::int32_t Index) const;

  /// These three run over the entries 0 to `NumMessages` - 1 of both arrays. S_BAD_PARAMETER for an
  /// unknown message, S_MSG_TOO_LONG for more than a frame carries; then nothing is sent. Entries
  /// that an array lacks are error 9 through the frame.
  ///
  /// Reads messages; -1 asks for none.
  ZentrelStatus TELIC2Read(std::int32_t NumMessages, const LongArray& MessageIDs,
                           const LongArray& MessageData);
  ZentrelStatus TELIC2Write(std::int32_t NumMessages, const LongArray& MessageIDs,
                            const LongArray& MessageData);
  /// Runs test messages of the device and puts what they reply into `MessageData`.
  ZentrelStatus TELIC2Test(std::int32_t NumMessages, const LongArray& MessageIDs,
                           const LongArray& MessageData);

  /// The fields in declared order, for the error report.
  std::string DumpFields() const;
  /// The same for a frame that reports in the name of a member.
  const ModuleFields& Fields() const { return fields_; }

 private:
  friend struct ZentrelAccess;  // tests of the private procedures below

  Zentrel() = default;
  void Class_Initialize();
  void Class_Terminate();
  void LoadNames();
  void LogStep(const char* text);

  // Exchange
  std::int32_t ZentrelTxRx(const FrameBuffer& bytTx, std::int32_t TxLength, FrameBuffer& bytRx,
                           std::int32_t RxExpected, std::int32_t Timeout,
                           std::optional<Block> asked = {});
  /// What comes of a raw exchange, but for what the reply says.
  ZentrelStatus Exchange(const FrameBuffer& bytTx, std::int32_t TxLength, FrameBuffer& bytRx,
                         std::int32_t RxExpected, std::int32_t Timeout,
                         std::optional<Block> asked = {});
  template <class Use>
  ZentrelStatus WithSupply(Use use);
  ZentrelStatus ZentrelCommand(const FrameBuffer& bytTx, std::int32_t TxLength, FrameBuffer& bytRx,
                               std::int32_t RxExpected, std::int32_t Timeout,
                               std::optional<Block> asked = {});
  static std::string TraceBytes(const char* direction, const FrameBuffer& bytes,
                                std::int32_t count);
  ZentrelStatus CheckReplySum(const FrameBuffer& bytRx, std::int32_t RxLength) const;

  // Session
  void ParseBoxStatus(const FrameBuffer& bytes, std::int32_t Offset);

  // Transponder commands
  ZentrelStatus CommandWithRetry(Block block, const char* step, const FrameBuffer& bytTx,
                                 std::int32_t TxLength, FrameBuffer& bytRx, std::int32_t Timeout);
  bool IsLate(std::optional<Block> asked, const FrameBuffer& reply);
  void ParseXpdrData(ZentrelStatus status, const FrameBuffer& bytes);
  void ParseXpdrBlock2(ZentrelStatus status, const FrameBuffer& bytes);
  std::int32_t ReadTimeout() const;
  void StartVerifyDelay();
  void WaitForVerifyDelay();

  // Power
  void StartHoldOff();
  void WaitForHoldOff();
  void RaisePowerStateChange(bool NewState);
  void PowerTick();

  ObjectLifetime lifetime_{"Zentrel"};
  ModuleFields fields_ = FieldsOf("Zentrel", this);

  // The error report shows them and what is in them; its order is that of DumpFields.
  bool m_blnPowerOnDemand = false;
  bool m_blnPowerEnabled = false;
  std::int32_t m_lngPowerTimeout = 0;
  std::int32_t m_lngPowerTimer = 0;
  StringArray m_strMIFs;
  StringArray m_strTXIs;
  TransponderRecord record_;
  BoxFacts box_;
  std::int32_t m_lngMIFList = 0;
  float m_sngBoxStatusTimeout = 0;
  float m_sngVDelay = 0;
  float m_sngVDelayTimeout = 0;
  std::string m_strTELIC2Device;
  std::string m_strTELIC2RegRoot;
  std::unique_ptr<CDebugLog> m_DebugLog;
  PortControl m_PortCtrl;
  std::shared_ptr<XTimer> m_XTimer;

  ZentrelEvents* events_ = nullptr;
  std::optional<simulator::LoadedForm> form_;
  std::array<std::optional<FrameBuffer>, 2> last_blocks_;  ///< replies, as they came last
  UnansweredSends unanswered_sends_;
};

// What `use` does with the box, which has its supply meanwhile; it falls back whatever comes of it.
template <class Use>
ZentrelStatus Zentrel::WithSupply(Use use) {
  ZentrelStatus status = S_BAD_PORT;
  if (m_PortCtrl.IsOpen()) {
    try {
      Power(true);
      status = use();
    } catch (...) {
      Power(false);  // a fault must not leave the box supplied for ever
      throw;
    }
  }
  Power(false);
  return status;
}

}  // namespace qmzentrel
