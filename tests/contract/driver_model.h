// A serial driver in memory, behind the serial functions that this program imports. It behaves as
// published drivers do, where the port of Wine is more forgiving.
#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/serial_port.h"
#include "tests/contract/driver_pace.h"

namespace qmzentrel::contract {

/// In what drivers differ; unchanged, it is what most of them do.
struct DriverHabits {
  bool cancelled_reads_give_nothing = true;  ///< though bytes had come in
  bool opens_with_lines_of_last_block = true;
  bool closing_drops_lines = true;
  bool keeps_its_limits = true;                  ///< else a request without its bytes never ends
  bool fails_at_its_limits = false;              ///< a request that it ends then, with an error
  bool reads_wait = true;                        ///< else a read ends at once, with what there is
  std::optional<DWORD> refuses_status{};         ///< ClearCommError, for this reason
  DWORD status_ms = 0;                           ///< that ClearCommError takes
  std::optional<std::uint8_t> arrives_then{};    ///< a byte, while the first one is at work
  DWORD reason_when_gone = ERROR_BAD_COMMAND;    ///< of every call, once its device has vanished
  bool purges = true;                            ///< else PurgeComm has no effect
  bool refuses_lines = false;                    ///< EscapeCommFunction has no effect
  std::optional<DWORD> refuses_settings{};       ///< for this reason, 0: without one
  bool takes_other_flow_limits = true;           ///< else XonLim and XoffLim are as they are
  int loses_cancels = 0;                         ///< so many cancels have no effect
  bool never_ends_cancelled = false;             ///< a cancelled request stays pending
  std::size_t most_held = SIZE_MAX;              ///< takes no more bytes than it then holds
  bool sends_nothing = false;                    ///< takes bytes, but the line stands still
  std::optional<std::size_t> most_of_a_write{};  ///< a write ends with so many bytes taken
  double byte_ms = 11 / 9.6;                     ///< a byte on the wire
  double on_the_way_ms = 0;                      ///< from a write to its first byte on the wire
  std::size_t uncounted = 0;                     ///< bytes still to be sent that it does not tell
};

/// The port \\.\COM1, the lowest that there is. One client at a time has it open. The device behind
/// it is silent but for what it was told to answer.
class DriverModel {
 public:
  using Bytes = std::vector<std::uint8_t>;

  static constexpr std::int32_t kPort = 1;

  /// There is one, from its first use on.
  static DriverModel& The();

  /// As new; not while the port is open. Ends the requests that were stuck, see EndStuckRequests.
  void Reset();
  void SetHabits(const DriverHabits& habits);

  // --- The device ---

  /// To the next kDeviceCommand.
  void AnswerNext(const Bytes& reply);
  /// To each byte that has passed the wire.
  void AnswerBy(std::function<Bytes(std::uint8_t)> device);
  void Send(const Bytes& bytes);
  /// What has passed the wire; waits for `count` bytes, but not for ever.
  Bytes Received(std::size_t count);
  void Vanish();
  /// Behind the next so many bytes that reads hand over.
  void VanishBehind(std::size_t count);
  void ComeBack();
  /// A framing error on the line: ends every request under way, and every new one until
  /// ClearCommError.
  void FailLine();
  platform::ModemLines Lines();
  /// As a driver does by itself: the adapter was asleep, or was reset.
  void DropLines();
  std::vector<platform::ModemLines> LineHistory();

  // --- What the client has done since the last Reset ---

  /// What it was opened with.
  struct Opening {
    DWORD access;
    DWORD share_mode;
    DWORD disposition;
    DWORD flags;
    bool operator==(const Opening&) const = default;
  };
  struct Calls {
    std::vector<Opening> openings;
    int reads = 0;
    int writes = 0;
    int clearings = 0;  ///< PurgeComm of what has come
    int cancels = 0;
    int limit_changes = 0;
    int status_questions = 0;  ///< ClearCommError
    std::vector<DCB> control_blocks;
    std::vector<DWORD> line_functions;  ///< of EscapeCommFunction
  };
  Calls Seen();
  COMMTIMEOUTS Limits();

  /// Ends the requests that were cancelled in vain, as a driver may at any time. False when the
  /// client had freed the memory of one, which a driver would have written to.
  bool EndStuckRequests();

 private:
  // One read or write of the client.
  struct Request {
    OVERLAPPED* overlapped;
    std::uint8_t* bytes;
    DWORD size;
    double due_ms;
    DWORD count = 0;

    // False when the client has freed its memory.
    bool End(DWORD status) const;
  };
  struct Imports;
  class Lock;

  DriverModel();
  ~DriverModel();

  // The functions that stand in for those of the operating system.
  static HANDLE WINAPI Open(LPCWSTR name, DWORD access, DWORD share_mode, SECURITY_ATTRIBUTES*,
                            DWORD disposition, DWORD flags, HANDLE pattern);
  static BOOL WINAPI Close(HANDLE handle);
  static BOOL WINAPI SetState(HANDLE handle, DCB* block);
  static BOOL WINAPI GetState(HANDLE handle, DCB* block);
  static BOOL WINAPI SetTimeouts(HANDLE handle, COMMTIMEOUTS* limits);
  static BOOL WINAPI Purge(HANDLE handle, DWORD flags);
  static BOOL WINAPI Escape(HANDLE handle, DWORD function);
  static BOOL WINAPI ClearError(HANDLE handle, DWORD* errors, COMSTAT* status);
  static BOOL WINAPI Cancel(HANDLE handle, OVERLAPPED* overlapped);
  static BOOL WINAPI Read(HANDLE handle, void* buffer, DWORD size, DWORD* count,
                          OVERLAPPED* overlapped);
  static BOOL WINAPI Write(HANDLE handle, const void* buffer, DWORD size, DWORD* count,
                           OVERLAPPED* overlapped);

  bool IsPort(HANDLE handle) const { return handle_ != nullptr && handle == handle_; }
  BOOL Begin(std::optional<Request>& place, const Request& request);
  void CancelRequest(std::optional<Request>& request);
  void SwitchLines(platform::ModemLines lines);
  void Advance();
  double NextDue() const;
  DWORD StatusAtLimit() const;
  void TakeItsTimeForTheStatus();

  CRITICAL_SECTION guard_{};
  std::unique_ptr<Imports> imports_;

  DriverHabits habits_;
  HANDLE handle_ = nullptr;  // what the client has open; an event, since a handle must be something
  bool gone_ = false;
  std::optional<std::size_t> left_until_gone_;
  bool dead_ = false;  // the port that is open has gone, whether or not it is back
  bool line_failed_ = false;
  platform::ModemLines lines_;
  std::vector<platform::ModemLines> line_history_;
  platform::ModemLines lines_of_last_block_;
  COMMTIMEOUTS limits_{};
  std::optional<Request> read_;
  std::optional<Request> write_;
  std::vector<Request> stuck_;
  std::deque<std::uint8_t> in_;
  std::deque<std::uint8_t> out_;
  double line_free_ms_ = 0;
  Bytes received_;
  std::optional<Bytes> answer_;
  std::function<Bytes(std::uint8_t)> device_;
  Calls calls_;
  std::unique_ptr<DriverPace> pace_;
};

}  // namespace qmzentrel::contract
