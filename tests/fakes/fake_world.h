// The operating system in memory, for tests: clocks that jump, a registry that can fail, serial
// ports with scripted devices behind them, and a journal of everything that the component did to
// the outside world, in order.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/desktop.h"
#include "platform/late_value.h"
#include "platform/serial_port.h"

namespace qmzentrel::fakes {

using Milliseconds = std::chrono::milliseconds;
using Microseconds = std::chrono::microseconds;
using Bytes = std::vector<std::uint8_t>;

/// "12 AB FF".
std::string Hex(std::span<const std::uint8_t> bytes);

/// Bytes that a device sends, `after` the command or the chunk before.
struct Chunk {
  Bytes bytes;
  Milliseconds after{0};
};

/// What a device does on one command: nothing, or one or more chunks.
using Reaction = std::vector<Chunk>;

/// One serial port of the machine, open or not.
struct FakePort {
  bool refuses_settings = false;
  bool vanished = false;           ///< pulled out: silent until the port is closed, then gone
  std::deque<Reaction> reactions;  ///< one per command, in order; none left is silence
  std::function<Reaction(std::span<const std::uint8_t>)> device;  ///< asked when none is queued

  bool open = false;
  platform::SerialSettings settings;
  platform::ModemLines lines;
  std::vector<platform::ModemLines> line_history;  ///< each setting since the port was there
  std::vector<Bytes> written;                      ///< what the driver was handed, write by write
  std::optional<std::size_t> driver_room;  ///< bytes of a write that the driver takes; unset: all
  /// Each byte with the moment at which its last bit has passed the wire. A line that goes off
  /// takes the supply from the box, and a closing empties the driver: either cuts what has not
  /// passed.
  std::vector<std::pair<Microseconds, std::uint8_t>> wire;
  int clears = 0;                                      ///< of the receive buffer
  std::multimap<Microseconds, std::uint8_t> incoming;  ///< by time of arrival

  /// What has reached the device by now.
  Bytes Received() const;

  /// Queues a reaction that is one chunk.
  void Answer(Bytes bytes, Milliseconds after = Milliseconds{0}) {
    reactions.push_back({{std::move(bytes), after}});
  }
  /// Queues the silence on `commands` commands.
  void StaySilent(int commands = 1) {
    for (int i = 0; i < commands; ++i) reactions.emplace_back();
  }
};

/// Names the calling thread: timers belong to the thread that started them.
const void* ThisThread();

struct StoredValue {
  std::uint32_t type = 0;
  std::string bytes;
};

/// Orders registry names as Windows does, without case.
struct NoCaseLess {
  bool operator()(const std::string& left, const std::string& right) const;
};

class FakeDialog;

class World {
 public:
  // --- The journal ---

  std::vector<std::string> journal;
  void Note(std::string line) { journal.push_back(std::move(line)); }
  /// The journal so far, and a fresh one from here on.
  std::vector<std::string> TakeJournal();

  // --- Time ---

  Microseconds now{0};
  /// Wall clock at `now` 0: 21 November 2026, 10:00.
  double wall_start_days = 46347.0 + 10.0 / 24.0;
  Microseconds wall_shift{0};

  /// Sets the wall clock of the present day, in seconds since midnight.
  void SetClock(double seconds_since_midnight);
  double WallDays() const;
  void Advance(Microseconds time) { now += time; }
  /// Somebody sets the wall clock forward at this moment; no message tells of it.
  std::optional<Microseconds> clock_set_at;
  Microseconds clock_set_by{0};

  // --- Message loop ---

  /// Runs `action` as a message that arrives after `time` from now.
  void Post(Milliseconds time, std::function<void()> action);
  void PostQuit(Milliseconds time, std::uintptr_t code = 0);
  /// The client's message loop for `time`: dispatches what falls due and lets the clock jump.
  void Pump(Milliseconds time);
  /// Lets the clock jump to what is due next, at most to `deadline`.
  void SleepUntilDue(Microseconds deadline);
  /// Dispatches what is due.
  void DispatchDue(const std::function<void(std::uintptr_t)>& on_quit);
  std::vector<std::uintptr_t> quits_reposted;

  struct Timer {
    std::int32_t interval_ms;
    Microseconds due;
    void (*callback)(std::int32_t, std::int32_t, std::int32_t, std::int32_t);
    const void* thread = ThisThread();
  };
  std::map<std::int32_t, Timer> timers;
  std::int32_t next_timer_id = 0x7F00;
  bool out_of_timers = false;

  // --- Ports ---

  std::map<std::int32_t, FakePort> ports;

  // --- Registry ---

  using Values = std::map<std::string, StoredValue, NoCaseLess>;
  std::map<std::string, Values, NoCaseLess> registry;  ///< path under HKEY_LOCAL_MACHINE
  void SetText(const std::string& path, const std::string& name, const std::string& text);
  void SetNumber(const std::string& path, const std::string& name, std::uint32_t number);
  void SetTexts(const std::string& path, const std::string& name,
                const std::vector<std::string>& texts);
  std::vector<std::string> opened_paths;  ///< as they reached the operating system
  std::vector<std::uint32_t> opened_access;
  std::map<std::uintptr_t, std::string> open_keys;
  std::uintptr_t next_key = 1;
  std::optional<std::int32_t> open_result;           ///< every open fails with this
  std::optional<std::int32_t> query_result;          ///< every query fails with this
  std::set<std::string, NoCaseLess> read_only_keys;  ///< opening one for writing is refused
  std::function<void()> before_query;  ///< another program at work ahead of each query
  /// Asked ahead of each call, by the name of the advapi32 call it stands for ("RegOpenKeyEx") and
  /// the key, value or index that it is about: a code makes the call fail with it.
  std::function<std::optional<std::int32_t>(const std::string& call, const std::string& subject)>
      registry_fault;
  /// Each call with its subject, in order: "RegOpenKeyEx SOFTWARE\\...".
  std::vector<std::string> registry_calls;
  /// Order in which a key's sub-keys or values are enumerated; by name unless told.
  std::map<std::string, std::vector<std::string>, NoCaseLess> key_order;
  std::map<std::string, std::vector<std::string>, NoCaseLess> value_order;

  // --- Files, debugger ---

  std::map<std::string, std::string> files;
  std::set<std::string> open_files;
  std::set<std::string> unwritable;
  std::vector<std::string> debugger_lines;

  // --- The simulator's dialog, pointer, screen ---

  bool has_desktop = true;
  platform::ScreenSize screen{1024, 768};
  /// What each screen leaves for windows; all of the primary one unless told.
  std::vector<platform::WindowPlace> work_areas;
  /// Size and position that the dialog is designed with.
  platform::WindowPlace designed_place{212, 184, 600, 400};
  /// What the user does at each dialog; one that is still up afterwards is closed by its close box.
  std::function<void(FakeDialog& dialog)> dialog_user;
  int dialogs_shown = 0;
  std::vector<platform::PointerShape> pointers;  ///< in the order in which they were set

  // --- The user's regional settings ---

  std::string decimal_separator = ".";

  // --- Error reports ---

  /// Classes that can be created, by programmatic identifier; null is a creation that fails.
  std::map<std::string, std::function<platform::HeldObject()>> classes;

  struct StopMessage {
    std::string title;
    std::string text;
  };
  std::vector<StopMessage> stop_messages;  ///< shown and closed again
  std::function<void()> at_stop_message;   ///< runs while one is up

  bool has_debug_session = false;
  struct ServiceNotice {
    std::int32_t message;
    std::string text;
    std::int16_t* instance;
    std::int32_t timeout_ms;
  };
  std::vector<ServiceNotice> service_notices;
  std::int16_t next_instance = 1;  ///< what the service stores next

  // --- Faults ---

  /// Platform calls by name, such as "KillTimer", in which memory runs out.
  std::set<std::string> out_of_memory_in;
  /// Runs ahead of each of these calls and may raise what it likes. The beginning of a procedure
  /// counts as one, "procedure": the stack can end there before the first statement has run.
  std::function<void(const std::string& call)> before_call;
  /// Stands first in each call that can be made to fail so.
  void Enter(const std::string& call) const;

 private:
  struct Message {
    std::function<void()> action;
    std::optional<std::uintptr_t> quit_code;
  };
  std::multimap<Microseconds, Message> messages_;

  std::optional<Microseconds> NextDue() const;
};

/// The world that the fakes act on.
World& TheWorld();

/// A fresh world, as every test starts with.
void ResetWorld();

}  // namespace qmzentrel::fakes
