// Each procedure of the class that drives the box fails once.
#include <limits>

#include "tests/core/catalog_writer.h"
#include "tests/core/fault_report.h"
#include "tests/core/zentrel_access.h"

namespace qmzentrel::tests {
namespace {

constexpr const char* kModule = "Zentrel";
constexpr std::uint8_t kElectric = 0xA6;

class DeviceFaults : public FaultTest<ZentrelTest> {
 protected:
  /// A buffer that begins with `bytes`.
  static FrameBuffer BufferOf(const Bytes& bytes) {
    FrameBuffer buffer;
    for (std::size_t i = 0; i < bytes.size(); ++i) buffer[static_cast<std::int32_t>(i)] = bytes[i];
    return buffer;
  }

  FrameBuffer tx = BufferOf({0x80});
  FrameBuffer rx = BufferOf({7, 8});
};

// --- The life of the object ---

TEST_F(DeviceFaults, Class_InitializeIsReportedWhole) {
  FailIn("ProcessLock", RunOutOfMemory);
  ExpectReport([] { Zentrel::Create(); }, {kOutOfMemory, kModule, "form_.emplace()", "", ""});
}

TEST_F(DeviceFaults, Class_TerminateIsReportedWhole) {
  FailAtEntry();
  ExpectReportAndNoError([this] { zentrel.reset(); },
                         {kStackOverflow, kModule, kBeforeTheFirstLine, "", ""});
}

// --- Session ---

TEST_F(DeviceFaults, Zentrel_DeviceOpenIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegOpenKeyEx", kMaker + "Zentrel");
  ExpectReport([this] { zentrel->DeviceOpen(kPort, true); },
               {kOutOfMemory, kModule, "m_PortCtrl.Open(",
                Shown("Port", kPort) + Shown("MaintainSupply", true), Shown("lngStatus", 0)});
}

TEST_F(DeviceFaults, Zentrel_DeviceInitIsReportedWhole) {
  FailAtEntry();
  ExpectReport([this] { zentrel->DeviceInit(); },
               {kStackOverflow, kModule, kBeforeTheFirstLine, "", Shown("lngStatus", 3)});
}

TEST_F(DeviceFaults, Zentrel_DeviceCloseIsReportedWhole) {
  Open(true);
  FailIn("SerialPort::SetLines", ViolateAccess);
  ExpectReport([this] { zentrel->DeviceClose(); },
               {kAccessViolation, kModule, "m_PortCtrl.Supply(0)", "", ""});
}

TEST_F(DeviceFaults, BoxStatusIsReportedWhole) {
  Open(true);
  const Bytes bad_sum = {0x21, 100, 0, 0, 0, 0, 1};
  Port().Answer(bad_sum);
  FailIn("SecondsSinceMidnight", ViolateAccess);
  ExpectReport(
      [this] { zentrel->BoxStatus(); },
      {kAccessViolation, kModule, "StartHoldOff()", "",
       ShownFrame("bytTx", {0x80}) + ShownFrame("bytRx", bad_sum) + Shown("lngStatus", S_BAD_SUM)});
}

TEST_F(DeviceFaults, ZentrelSignatureIsReportedWhole) {
  ExpectReport(
      [this] { zentrel->ZentrelSignature(2); },
      {kSubscript, kModule, "RaiseError(kErrorSubscriptOutOfRange)", Shown("Index", 2), ""});
}

TEST_F(DeviceFaults, ParseBoxStatusIsReportedWhole) {
  ExpectReport([this] { ZentrelAccess::ParseBoxStatus(*zentrel, rx, 30); },
               {kSubscript, kModule, "box_.Parse(bytes, Offset)",
                ShownFrame("bytes", {7, 8}) + Shown("Offset", 30), ""});
}

// --- Power ---

TEST_F(DeviceFaults, PowerManagementIsReportedWhole) {
  FailAtEntry();
  ExpectReport(
      [this] { zentrel->PowerManagement(true); },
      {kStackOverflow, kModule, kBeforeTheFirstLine, Shown("New_PowerManagement", true), ""});
}

TEST_F(DeviceFaults, PowerIsReportedWhole) {
  Open(true);
  FailIn("SerialPort::SetLines", ViolateAccess);
  ExpectReport([this] { zentrel->Power(false); },
               {kAccessViolation, kModule, "m_PortCtrl.Supply(1)", Shown("NewState", false), ""});
}

TEST_F(DeviceFaults, PowerTickIsReportedWhole) {
  Open(false);
  zentrel->PowerTimeout(1);
  zentrel->Power(false);
  FailIn("SerialPort::SetLines", ViolateAccess);
  ExpectReportAndNoError([] { TheWorld().Pump(Milliseconds(1000)); },
                         {kAccessViolation, kModule, "m_PortCtrl.Supply(0)", "", ""});
}

// --- Transponder commands ---

TEST_F(DeviceFaults, ReadXpdrIsReportedWhole) {
  Open(true);
  FailIn("SecondsSinceMidnight", ViolateAccess);
  ExpectReport([this] { zentrel->ReadXpdr(); },
               {kAccessViolation, kModule, "WaitForVerifyDelay()", "",
                ShownFrame("bytTx") + ShownFrame("bytRx") + Shown("lngStatus", 0)});
}

TEST_F(DeviceFaults, ResetXpdrIsReportedWhole) {
  RunOutOfMemoryInRegistry("RegOpenKeyEx", kSimulatorKey);
  ExpectReport([this] { zentrel->ResetXpdr(); },
               {kOutOfMemory, kModule, "if (simulator::SimulatorEnabled())", "",
                ShownFrame("bytTx") + ShownFrame("bytRx")});
}

TEST_F(DeviceFaults, WriteXpdrIsReportedWhole) {
  Open(true);
  zentrel->DeviceMIF(0x05);
  zentrel->Util(17);
  zentrel->Xpdr(0x123456);
  zentrel->Tamper(9);
  zentrel->Reading(0x00ABCD);
  zentrel->PLLWarmup(3);
  zentrel->TXI(2);
  zentrel->MSI(4);
  zentrel->Freq_MSB(256);
  Record record;
  record.version = 0x80;
  Port().Answer(Block1Reply(record));
  ExpectReport([this] { zentrel->WriteXpdr(); },
               {kOverflow, kModule, "bytTx = record_.Block2Frame()", "",
                ShownFrame("bytTx", {5, 17, 0x12, 0x34, 0x56, 9, 0, 0xAB, 0xCD, 0x32, 4, 0}) +
                    ShownFrame("bytRx", Block1Reply(record)) + Shown("lngStatus", 0)});
}

TEST_F(DeviceFaults, ParseXpdrDataIsReportedWhole) {
  FailAtEntry();
  ExpectReport([this] { ZentrelAccess::ParseXpdrData(*zentrel, S_TIMEOUT, rx); },
               {kStackOverflow, kModule, kBeforeTheFirstLine,
                Shown("status", S_TIMEOUT) + ShownFrame("bytes", {7, 8}), ""});
}

TEST_F(DeviceFaults, ParseXpdrBlock2IsReportedWhole) {
  FailAtEntry();
  ExpectReport([this] { ZentrelAccess::ParseXpdrBlock2(*zentrel, S_BAD_SUM, rx); },
               {kStackOverflow, kModule, kBeforeTheFirstLine,
                Shown("status", S_BAD_SUM) + ShownFrame("bytes", {7, 8}), ""});
}

TEST_F(DeviceFaults, PLLWarmUpNameIsReportedWhole) {
  FailIn("FormatNumber", RunOutOfMemory);
  ExpectReport([this] { zentrel->PLLWarmUpName(); },
               {kOutOfMemory, kModule, "FormatNumber(record_.m_lngPLLWarmup / 5.0", "", ""});
}

TEST_F(DeviceFaults, VDelayIsReportedWhole) {
  zentrel->VDelay(std::numeric_limits<std::int32_t>::max());
  ExpectReport([this] { zentrel->VDelay(); },
               {kOverflow, kModule, "ToLong(static_cast<float>(m_sngVDelay", "", ""});
}

// --- The exchange ---

TEST_F(DeviceFaults, ZentrelTxRxIsReportedWhole) {
  OpenBox(true, kElectric);
  Port().StaySilent(2);
  Port().Answer({1});
  ExpectReport([this] { ZentrelAccess::TxRx(*zentrel, tx, 1, rx, 40, 1500); },
               {kSubscript, kModule, "m_PortCtrl.Read(bytRx, 1, RxExpected - 1",
                Shown("TxLength", 1) + Shown("RxExpected", 40) + Shown("Timeout", 1500),
                Shown("lngAttempt", 2) + Shown("lngRxCount", 1)});
}

class CommandFaults : public DeviceFaults {
 protected:
  void Command() { ZentrelAccess::Command(*zentrel, tx, 1, rx, 7, 500); }

  inline static const std::string kParameters = ShownFrame("bytTx", {0x80}) + Shown("TxLength", 1) +
                                                ShownFrame("bytRx", {7, 8}) +
                                                Shown("RxExpected", 7) + Shown("Timeout", 500);
};

TEST_F(CommandFaults, ZentrelCommandIsReportedWhole) {
  FailAtEntry();
  ExpectReport([this] { Command(); },
               {kStackOverflow, kModule, kBeforeTheFirstLine, kParameters, Shown("lngStatus", 0)});
}

TEST_F(DeviceFaults, CheckReplySumIsReportedWhole) {
  ExpectReport(
      [this] { ZentrelAccess::CheckReplySum(*zentrel, rx, 35); },
      {kSubscript, kModule, "lngSum += bytRx[i]",
       ShownFrame("bytRx", {7, 8}) + Shown("RxLength", 35), Shown("lngSum", 15) + Shown("i", 33)});
}

}  // namespace
}  // namespace qmzentrel::tests
