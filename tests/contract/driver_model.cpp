#include "tests/contract/driver_model.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "tests/automation/replaced_import.h"
#include "tests/contract/harness.h"

namespace qmzentrel::contract {
namespace {

using platform::ModemLines;

constexpr double kNever = std::numeric_limits<double>::max();
// How long a closing may wait for what is still to be sent.
constexpr double kClosingMs = 5000;
// For what passes the wire.
constexpr double kPatienceMs = 5000;

// How full the driver lets its buffer become before it asks the device to pause, and to go on.
constexpr WORD kFlowLimit = 128;

// As the operating system numbers them.
constexpr DWORD kSuccess = 0;
constexpr DWORD kTimeout = 0x00000102;
constexpr DWORD kPending = 0x00000103;
constexpr DWORD kTimeoutError = 0xC00000B5;
constexpr DWORD kCancelled = 0xC0000120;
constexpr DWORD kDeviceGone = 0xC00000C0;

BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// What another program left behind: reads return at once.
COMMTIMEOUTS InheritedLimits() {
  COMMTIMEOUTS limits{};
  limits.ReadIntervalTimeout = MAXDWORD;
  return limits;
}

double DueAfter(DWORD limit_ms) {
  return limit_ms == 0 ? kNever : MonotonicMs() + limit_ms;
}

}  // namespace

bool DriverModel::Request::End(DWORD status) const {
  overlapped->InternalHigh = count;
  overlapped->Internal = status;
  return SetEvent(overlapped->hEvent) != FALSE;
}

struct DriverModel::Imports {
  template <class Function>
  using Import = automation::ReplacedImport<Function>;

  HMODULE program = GetModuleHandleW(nullptr);
  Import<decltype(&CreateFileW)> open{program, L"kernel32", "CreateFileW", &DriverModel::Open};
  Import<decltype(&CloseHandle)> close{program, L"kernel32", "CloseHandle", &DriverModel::Close};
  Import<decltype(&SetCommState)> state{program, L"kernel32", "SetCommState",
                                        &DriverModel::SetState};
  Import<decltype(&GetCommState)> own_state{program, L"kernel32", "GetCommState",
                                            &DriverModel::GetState};
  Import<decltype(&SetCommTimeouts)> limits{program, L"kernel32", "SetCommTimeouts",
                                            &DriverModel::SetTimeouts};
  Import<decltype(&PurgeComm)> purge{program, L"kernel32", "PurgeComm", &DriverModel::Purge};
  Import<decltype(&EscapeCommFunction)> escape{program, L"kernel32", "EscapeCommFunction",
                                               &DriverModel::Escape};
  Import<decltype(&ClearCommError)> error{program, L"kernel32", "ClearCommError",
                                          &DriverModel::ClearError};
  Import<decltype(&CancelIoEx)> cancel{program, L"kernel32", "CancelIoEx", &DriverModel::Cancel};
  Import<decltype(&ReadFile)> read{program, L"kernel32", "ReadFile", &DriverModel::Read};
  Import<decltype(&WriteFile)> write{program, L"kernel32", "WriteFile", &DriverModel::Write};
};

class DriverModel::Lock {
 public:
  Lock() { EnterCriticalSection(&The().guard_); }
  ~Lock() { LeaveCriticalSection(&The().guard_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

DriverModel& DriverModel::The() {
  static DriverModel model;
  return model;
}

DriverModel::DriverModel() {
  InitializeCriticalSection(&guard_);
  limits_ = InheritedLimits();
  imports_ = std::make_unique<Imports>();
  // NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer): it finds the model whole.
  pace_ = std::make_unique<DriverPace>([this] {
    const Lock lock;
    Advance();
    return NextDue();
  });
}

DriverModel::~DriverModel() {
  pace_.reset();
  imports_.reset();
  DeleteCriticalSection(&guard_);
}

void DriverModel::Reset() {
  EndStuckRequests();
  const Lock lock;
  habits_ = {};
  gone_ = dead_ = line_failed_ = false;
  left_until_gone_.reset();
  lines_ = lines_of_last_block_ = {};
  line_history_.clear();
  limits_ = InheritedLimits();
  in_.clear();
  out_.clear();
  line_free_ms_ = 0;
  received_.clear();
  answer_.reset();
  device_ = {};
  calls_ = {};
}

void DriverModel::SetHabits(const DriverHabits& habits) {
  const Lock lock;
  habits_ = habits;
  pace_->Hurry();
}

// --- The device ---

void DriverModel::AnswerNext(const Bytes& reply) {
  const Lock lock;
  answer_ = reply;
}

void DriverModel::AnswerBy(std::function<Bytes(std::uint8_t)> device) {
  const Lock lock;
  device_ = std::move(device);
}

void DriverModel::Send(const Bytes& bytes) {
  const Lock lock;
  in_.insert(in_.end(), bytes.begin(), bytes.end());
  Advance();
  pace_->Hurry();
}

DriverModel::Bytes DriverModel::Received(std::size_t count) {
  for (const double begin = MonotonicMs();; Sleep(1)) {
    const Lock lock;
    Advance();
    if (received_.size() >= count || MonotonicMs() - begin > kPatienceMs) return received_;
  }
}

void DriverModel::Vanish() {
  const Lock lock;
  gone_ = dead_ = true;
  for (auto* const request : {&read_, &write_}) {
    if (*request) (*request)->End(kDeviceGone);
    request->reset();
  }
  out_.clear();
}

void DriverModel::VanishBehind(std::size_t count) {
  const Lock lock;
  left_until_gone_ = count;
}

void DriverModel::ComeBack() {
  const Lock lock;
  gone_ = false;
}

void DriverModel::FailLine() {
  const Lock lock;
  line_failed_ = true;
  CancelRequest(read_);
  CancelRequest(write_);
}

void DriverModel::DropLines() {
  const Lock lock;
  SwitchLines({});
}

ModemLines DriverModel::Lines() {
  const Lock lock;
  return lines_;
}

std::vector<ModemLines> DriverModel::LineHistory() {
  const Lock lock;
  return line_history_;
}

// --- What the client has done ---

DriverModel::Calls DriverModel::Seen() {
  const Lock lock;
  return calls_;
}

void DriverModel::TakeItsTimeForTheStatus() {
  DWORD ms = 0;
  std::optional<std::uint8_t> arriving;
  {
    const Lock lock;
    ms = habits_.status_ms;
    arriving = std::exchange(habits_.arrives_then, std::nullopt);
  }
  Sleep(ms);
  if (arriving) Send({*arriving});
}

COMMTIMEOUTS DriverModel::Limits() {
  const Lock lock;
  return limits_;
}

bool DriverModel::EndStuckRequests() {
  const Lock lock;
  bool all = true;
  for (const Request& request : stuck_) {
    std::fill_n(request.bytes, request.size, std::uint8_t{0xEE});
    all = request.End(kCancelled) && all;
  }
  stuck_.clear();
  return all;
}

// --- The driver at work ---

double DriverModel::NextDue() const {
  double next = kNever;
  if (!out_.empty() && !habits_.sends_nothing) next = line_free_ms_ + habits_.byte_ms;
  for (const auto* const request : {&read_, &write_}) {
    if (*request) next = std::min(next, (*request)->due_ms);
  }
  return next;
}

DWORD DriverModel::StatusAtLimit() const {
  return habits_.fails_at_its_limits ? kTimeoutError : kTimeout;
}

void DriverModel::Advance() {
  const double now = MonotonicMs();
  while (!out_.empty() && !habits_.sends_nothing && line_free_ms_ + habits_.byte_ms <= now) {
    line_free_ms_ += habits_.byte_ms;
    received_.push_back(out_.front());
    out_.pop_front();
    if (device_) {
      const Bytes reply = device_(received_.back());
      in_.insert(in_.end(), reply.begin(), reply.end());
    }
    if (received_.back() == kDeviceCommand && answer_) {
      in_.insert(in_.end(), answer_->begin(), answer_->end());
      answer_.reset();
    }
  }
  if (read_) {
    while (read_->count < read_->size && !in_.empty() && left_until_gone_ != 0) {
      read_->bytes[read_->count++] = in_.front();
      in_.pop_front();
      if (left_until_gone_) --*left_until_gone_;
    }
    const bool full = read_->count == read_->size;
    if (full || read_->due_ms <= now) {
      read_->End(full ? kSuccess : StatusAtLimit());
      read_.reset();
    }
  }
  if (write_) {
    const std::size_t room = habits_.most_held - std::min(habits_.most_held, out_.size());
    if (room > 0) {
      write_->count = static_cast<DWORD>(std::min(
          {std::size_t{write_->size}, room, habits_.most_of_a_write.value_or(write_->size)}));
      if (out_.empty()) line_free_ms_ = std::max(line_free_ms_, now + habits_.on_the_way_ms);
      out_.insert(out_.end(), write_->bytes, write_->bytes + write_->count);
    }
    if (room > 0 || write_->due_ms <= now) {
      write_->End(room > 0 ? kSuccess : StatusAtLimit());
      write_.reset();
    }
  }
  if (left_until_gone_ == 0) {
    left_until_gone_.reset();
    Vanish();
  }
}

void DriverModel::SwitchLines(ModemLines lines) {
  if (lines_ == lines) return;
  Advance();  // with the lines as they were
  lines_ = lines;
  line_history_.push_back(lines);
}

BOOL DriverModel::Begin(std::optional<Request>& place, const Request& request) {
  if (dead_) return Fail(habits_.reason_when_gone);
  if (line_failed_) return Fail(ERROR_OPERATION_ABORTED);
  ResetEvent(request.overlapped->hEvent);
  request.overlapped->Internal = kPending;
  place = request;
  if (!habits_.keeps_its_limits) place->due_ms = kNever;
  Advance();
  pace_->Hurry();
  return Fail(ERROR_IO_PENDING);
}

void DriverModel::CancelRequest(std::optional<Request>& request) {
  if (!request) return;
  if (habits_.never_ends_cancelled) {
    stuck_.push_back(*request);
  } else {
    if (habits_.cancelled_reads_give_nothing) request->count = 0;
    request->End(kCancelled);
  }
  request.reset();
}

// --- In place of the operating system ---

HANDLE WINAPI DriverModel::Open(LPCWSTR name, DWORD access, DWORD share_mode,
                                SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                HANDLE pattern) {
  DriverModel& self = The();
  if (name != L"\\\\.\\COM" + std::to_wstring(kPort)) {
    return self.imports_->open.System()(name, access, share_mode, security, disposition, flags,
                                        pattern);
  }
  const Lock lock;
  self.calls_.openings.push_back({access, share_mode, disposition, flags});
  if (self.gone_ || self.handle_ != nullptr) {
    SetLastError(self.gone_ ? ERROR_FILE_NOT_FOUND : ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  self.dead_ = false;
  self.handle_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (self.habits_.opens_with_lines_of_last_block) self.SwitchLines(self.lines_of_last_block_);
  return self.handle_;
}

BOOL WINAPI DriverModel::Close(HANDLE handle) {
  DriverModel& self = The();
  if (self.IsPort(handle)) {
    for (const double begin = MonotonicMs(); MonotonicMs() - begin < kClosingMs; Sleep(1)) {
      const Lock lock;
      if (self.out_.empty() && !self.write_) break;
    }
    const Lock lock;
    if (self.habits_.closing_drops_lines) self.SwitchLines({});
    self.CancelRequest(self.read_);
    self.CancelRequest(self.write_);
    self.in_.clear();
    self.out_.clear();
    self.line_failed_ = false;
    self.handle_ = nullptr;
  }
  return self.imports_->close.System()(handle);
}

BOOL WINAPI DriverModel::SetState(HANDLE handle, DCB* block) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->state.System()(handle, block);
  const Lock lock;
  if (self.dead_) return Fail(self.habits_.reason_when_gone);
  if (self.habits_.refuses_settings) return Fail(*self.habits_.refuses_settings);
  const bool has_flow_characters = block->XonChar != block->XoffChar;
  if (!block->fBinary || !has_flow_characters || block->ByteSize < 5 || block->ByteSize > 8) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const bool other_limits = block->XonLim != kFlowLimit || block->XoffLim != kFlowLimit;
  if (other_limits && !self.habits_.takes_other_flow_limits) return Fail(ERROR_NOT_SUPPORTED);
  self.calls_.control_blocks.push_back(*block);
  self.lines_of_last_block_ = {.dtr = block->fDtrControl == DTR_CONTROL_ENABLE,
                               .rts = block->fRtsControl == RTS_CONTROL_ENABLE};
  self.SwitchLines(self.lines_of_last_block_);
  return TRUE;
}

BOOL WINAPI DriverModel::GetState(HANDLE handle, DCB* block) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->own_state.System()(handle, block);
  const Lock lock;
  if (self.dead_) return Fail(self.habits_.reason_when_gone);
  if (block->DCBlength != sizeof *block) return Fail(ERROR_INVALID_PARAMETER);
  block->XonLim = block->XoffLim = kFlowLimit;
  return TRUE;
}

BOOL WINAPI DriverModel::SetTimeouts(HANDLE handle, COMMTIMEOUTS* limits) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->limits.System()(handle, limits);
  const Lock lock;
  if (self.dead_) return Fail(self.habits_.reason_when_gone);
  ++self.calls_.limit_changes;
  self.limits_ = *limits;
  return TRUE;
}

BOOL WINAPI DriverModel::Purge(HANDLE handle, DWORD flags) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->purge.System()(handle, flags);
  const Lock lock;
  if (flags == PURGE_RXCLEAR) ++self.calls_.clearings;
  if (self.dead_) return Fail(self.habits_.reason_when_gone);
  self.Advance();
  if (!self.habits_.purges) return Fail(ERROR_INVALID_FUNCTION);
  if ((flags & PURGE_RXCLEAR) != 0) self.in_.clear();
  if ((flags & PURGE_TXCLEAR) != 0) self.out_.clear();
  if ((flags & PURGE_RXABORT) != 0) self.CancelRequest(self.read_);
  if ((flags & PURGE_TXABORT) != 0) self.CancelRequest(self.write_);
  return TRUE;
}

BOOL WINAPI DriverModel::Escape(HANDLE handle, DWORD function) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->escape.System()(handle, function);
  const Lock lock;
  if (self.dead_) return Fail(self.habits_.reason_when_gone);
  self.calls_.line_functions.push_back(function);
  if (self.habits_.refuses_lines) return Fail(ERROR_INVALID_FUNCTION);
  ModemLines lines = self.lines_;
  if (function == SETDTR || function == CLRDTR) lines.dtr = function == SETDTR;
  if (function == SETRTS || function == CLRRTS) lines.rts = function == SETRTS;
  self.SwitchLines(lines);
  return TRUE;
}

BOOL WINAPI DriverModel::ClearError(HANDLE handle, DWORD* errors, COMSTAT* status) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->error.System()(handle, errors, status);
  self.TakeItsTimeForTheStatus();
  const Lock lock;
  ++self.calls_.status_questions;
  if (self.dead_) return Fail(self.habits_.reason_when_gone);
  if (self.habits_.refuses_status) return Fail(*self.habits_.refuses_status);
  self.Advance();
  self.line_failed_ = false;
  if (errors != nullptr) *errors = 0;
  *status = {};
  status->cbInQue = static_cast<DWORD>(self.in_.size());
  const std::size_t held = self.out_.size();
  status->cbOutQue = static_cast<DWORD>(held - std::min(held, self.habits_.uncounted));
  return TRUE;
}

BOOL WINAPI DriverModel::Cancel(HANDLE handle, OVERLAPPED* overlapped) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) return self.imports_->cancel.System()(handle, overlapped);
  const Lock lock;
  ++self.calls_.cancels;
  bool found = false;
  for (auto* const request : {&self.read_, &self.write_}) {
    if (!*request || (overlapped != nullptr && (*request)->overlapped != overlapped)) continue;
    found = true;
    if (self.habits_.loses_cancels > 0) {
      --self.habits_.loses_cancels;
    } else {
      self.CancelRequest(*request);
    }
  }
  return found ? TRUE : Fail(ERROR_NOT_FOUND);
}

BOOL WINAPI DriverModel::Read(HANDLE handle, void* buffer, DWORD size, DWORD* count,
                              OVERLAPPED* overlapped) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) {
    return self.imports_->read.System()(handle, buffer, size, count, overlapped);
  }
  const Lock lock;
  ++self.calls_.reads;
  const COMMTIMEOUTS& limits = self.limits_;
  const bool at_once = !self.habits_.reads_wait || (limits.ReadIntervalTimeout == MAXDWORD &&
                                                    limits.ReadTotalTimeoutConstant == 0);
  const double due =
      at_once
          ? 0
          : DueAfter(limits.ReadTotalTimeoutConstant + limits.ReadTotalTimeoutMultiplier * size);
  return self.Begin(self.read_, {overlapped, static_cast<std::uint8_t*>(buffer), size, due});
}

BOOL WINAPI DriverModel::Write(HANDLE handle, const void* buffer, DWORD size, DWORD* count,
                               OVERLAPPED* overlapped) {
  DriverModel& self = The();
  if (!self.IsPort(handle)) {
    return self.imports_->write.System()(handle, buffer, size, count, overlapped);
  }
  const Lock lock;
  ++self.calls_.writes;
  const COMMTIMEOUTS& limits = self.limits_;
  const double due =
      DueAfter(limits.WriteTotalTimeoutConstant + limits.WriteTotalTimeoutMultiplier * size);
  auto* const bytes = static_cast<std::uint8_t*>(const_cast<void*>(buffer));
  return self.Begin(self.write_, {overlapped, bytes, size, due});
}

}  // namespace qmzentrel::contract
