#include "tools/virtual_box/com_channel.h"

namespace qmzentrel::virtual_box {
namespace {

std::string Failure(const std::string& what) {
  return what + ": error " + std::to_string(GetLastError());
}

// The same settings as the client's end.
bool SetUp(HANDLE port, bool lines_on) {
  DCB settings{};
  settings.DCBlength = sizeof settings;
  settings.BaudRate = CBR_9600;
  settings.fBinary = TRUE;
  settings.ByteSize = 8;
  settings.Parity = NOPARITY;
  settings.StopBits = TWOSTOPBITS;
  settings.fDtrControl = lines_on ? DTR_CONTROL_ENABLE : DTR_CONTROL_DISABLE;
  settings.fRtsControl = lines_on ? RTS_CONTROL_ENABLE : RTS_CONTROL_DISABLE;
  // Not one time-out: a pending read ends with its first bytes, see StartRead.
  COMMTIMEOUTS none{};
  return SetCommState(port, &settings) && SetCommTimeouts(port, &none) &&
         PurgeComm(port, PURGE_RXCLEAR | PURGE_TXCLEAR);
}

}  // namespace

ComChannel::~ComChannel() {
  if (port_ == INVALID_HANDLE_VALUE) return;
  CancelIo(port_);
  DWORD ignored = 0;
  // The system must be done with the buffer before it goes.
  if (read_.under_way) GetOverlappedResult(port_, &read_.overlapped, &ignored, TRUE);
  CloseHandle(port_);
}

std::string ComChannel::Open(const std::string& name, bool lines_on) {
  const std::string path = "\\\\.\\" + name;
  port_ = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                      FILE_FLAG_OVERLAPPED, nullptr);
  if (port_ == INVALID_HANDLE_VALUE) return Failure("cannot open " + path);
  if (!SetUp(port_, lines_on)) return Failure("cannot set up " + path);
  StartRead();
  return {};
}

void ComChannel::AddTo(EventWait& wait) const {
  if (read_.under_way) wait.Add(read_.overlapped.hEvent);
}

Bytes ComChannel::Read() {
  Bytes bytes;
  while (read_.under_way) {
    DWORD count = 0;
    if (!GetOverlappedResult(port_, &read_.overlapped, &count, FALSE)) {
      if (GetLastError() == ERROR_IO_INCOMPLETE) break;
      count = 0;
    }
    read_.under_way = false;
    if (count == 0) break;
    bytes.push_back(byte_);
    StartRead();
  }
  return bytes;
}

void ComChannel::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  Pending write;
  DWORD count = 0;
  if (!WriteFile(port_, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr,
                 &write.overlapped) &&
      GetLastError() == ERROR_IO_PENDING) {
    // A line that takes nothing for a second (the longest reply needs 40 ms) is dead.
    if (WaitForSingleObject(write.overlapped.hEvent, 1000) != WAIT_OBJECT_0) {
      CancelIoEx(port_, &write.overlapped);
    }
    GetOverlappedResult(port_, &write.overlapped, &count, TRUE);
  }
}

// Waits for one byte; the rest of what has arrived is fetched when it is there.
void ComChannel::StartRead() {
  ResetEvent(read_.overlapped.hEvent);
  read_.under_way =
      ReadFile(port_, &byte_, 1, nullptr, &read_.overlapped) || GetLastError() == ERROR_IO_PENDING;
}

}  // namespace qmzentrel::virtual_box
