#include "bench/raw_port.h"

#include <numeric>
#include <string>

#include "bench/measure.h"

namespace qmzentrel::bench {

RawPort::RawPort(int number)
    : port_(CreateFileW((L"\\\\.\\COM" + std::to_wstring(number)).c_str(),
                        GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                        FILE_FLAG_OVERLAPPED, nullptr)),
      event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  Require(port_ != INVALID_HANDLE_VALUE && event_ != nullptr, "the port does not open");
  DCB block{};
  block.DCBlength = sizeof block;
  block.BaudRate = CBR_9600;
  block.fBinary = TRUE;
  block.ByteSize = 8;
  block.StopBits = TWOSTOPBITS;
  block.fDtrControl = DTR_CONTROL_ENABLE;  // the supply of the box
  block.XonChar = 0x11;
  block.XoffChar = 0x13;
  COMMTIMEOUTS none{};
  Require(SetCommState(port_, &block) && SetCommTimeouts(port_, &none),
          "the port refuses its settings");
}

RawPort::~RawPort() {
  CloseHandle(port_);
  CloseHandle(event_);
}

void RawPort::Purge() {
  PurgeComm(port_, PURGE_RXCLEAR);
}

void RawPort::Write(std::span<const std::uint8_t> bytes) {
  OVERLAPPED operation{};
  operation.hEvent = event_;
  const auto size = static_cast<DWORD>(bytes.size());
  DWORD sent = 0;
  const BOOL begun = WriteFile(port_, bytes.data(), size, nullptr, &operation);
  Require((begun || GetLastError() == ERROR_IO_PENDING) &&
              GetOverlappedResult(port_, &operation, &sent, TRUE) && sent == size,
          "the port does not write");
}

bool RawPort::Read(std::span<std::uint8_t> buffer, DWORD limit_ms) {
  const ULONGLONG end = GetTickCount64() + limit_ms;
  while (!buffer.empty()) {
    OVERLAPPED operation{};
    operation.hEvent = event_;
    const BOOL begun =
        ReadFile(port_, buffer.data(), static_cast<DWORD>(buffer.size()), nullptr, &operation);
    Require(begun || GetLastError() == ERROR_IO_PENDING, "the port does not read");
    const ULONGLONG now = GetTickCount64();
    const DWORD left = now < end ? static_cast<DWORD>(end - now) : 0;
    if (WaitForSingleObject(event_, left) == WAIT_TIMEOUT) CancelIo(port_);
    DWORD count = 0;
    if (!GetOverlappedResult(port_, &operation, &count, TRUE) && count == 0) return false;
    buffer = buffer.subspan(count);
  }
  return true;
}

bool HasRightSum(std::span<const std::uint8_t> reply) {
  const auto others = reply.first(reply.size() - 1);
  return static_cast<std::uint8_t>(std::accumulate(others.begin(), others.end(), 0)) ==
         reply.back();
}

}  // namespace qmzentrel::bench
