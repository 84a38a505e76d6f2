// What a contract test needs to do to the world around the platform, on either side of the seam:
// the operating system itself, or the in-memory world of the fakes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop.h"
#include "platform/late_bound.h"
#include "platform/serial_port.h"
#include "platform/simulator_dialog.h"

namespace qmzentrel::contract {

/// Called before each test: an empty message queue, and a fresh world where the world is ours.
void BeginTest();

/// Called after each test: removes what the test has left behind.
void EndTest();

// ---- time ----

/// Milliseconds on a clock that only runs forward: the virtual one of the fakes, or the system's.
double MonotonicMs();

/// How much too early the clock tick of the operating system may end a wait, in milliseconds.
inline constexpr double kTickMs = 20.0;

// ---- the message queue of the calling thread ----

/// Puts a call into the queue; dispatching it runs it.
void PostCall(std::function<void()> call);

/// The same from outside, `in_ms` milliseconds from now, while the calling thread waits.
void PostCallLater(std::int32_t in_ms, std::function<void()> call);

/// Puts the end of the program into the queue.
void PostQuit(int code);

/// Takes the end of the program out of the queue: its code, or nothing when there is none.
std::optional<int> TakeQuit();

/// Runs `body` on a thread of its own and waits for its end.
void RunOnAnotherThread(const std::function<void()>& body);

// ---- exceptions of the processor ----

/// Raises one. Returns only when nobody has taken it, with false.
bool RaiseFault(std::uint32_t code);

/// Runs `body`, and tells whether an exception of the client's language has left it and been
/// handled outside.
bool LeftByClientException(const std::function<void()>& body);

/// Raises one. Objects of the test between here and the component are not destroyed.
[[noreturn]] void RaiseClientException();

// ---- the registry ----

/// The key under the root that belongs to these tests.
inline constexpr std::string_view kTestKey = "SOFTWARE\\QuenmoorComms\\ContractTest";

/// Stores a value below kLocalMachine, with the keys on the way to it; `bytes` as they are stored.
void PutRegistryValue(const std::string& path, const std::string& name, std::uint32_t type,
                      std::string_view bytes);

/// Runs `body` while nobody may write to kTestKey, which is there.
void WithReadOnlyTestKey(const std::function<void()>& body);

/// Removes kTestKey with everything in it.
void RemoveTestKey();

// ---- objects of a client ----

/// Calls `body` with an object of the type "TestList", or of no type, that has
/// - a method "Note" that notes its arguments, "8, text" say;
/// - a property "Last" with what has been noted last as text, which can be let;
/// - a property "Item" with one index, which gives the index times ten and notes what it is let;
/// - a method "Refuse" that fails with automation error 380 of "TestList", "Not here".
/// `noted` grows as the object is used.
void WithTestObject(bool has_type,
                    const std::function<void(platform::ClientObject object,
                                             std::vector<std::string>& noted)>& body);

/// Calls `body` with an object whose default member and enumerated members are these; without them
/// it has none.
struct ShownObject {
  std::optional<std::string> default_text{};
  std::optional<std::vector<std::string>> members{};
  bool is_data_object = false;
};
void WithShownObject(const ShownObject& shown,
                     const std::function<void(platform::ClientObject object)>& body);

/// A class that CreateLateObject can make as long as `body` runs, by its programmatic identifier;
/// its objects have a method "Note".
void WithTestClass(const std::string& programmatic_identifier, const std::function<void()>& body);

// ---- files ----

/// Full path (UTF-8) for a file of these tests that does not exist yet.
std::string FreshFilePath(const std::string& name);

/// Full path for a file in a folder that does not exist.
std::string PathInMissingFolder();

/// The bytes of a file, nothing when there is none. Reads while another has it open for writing.
std::optional<std::string> FileBytes(const std::string& path);

// ---- the debugger ----

/// Every line that `body` sends to the debugger channel, as the bytes that arrive.
std::vector<std::string> DebuggerLinesOf(const std::function<void()>& body);

// ---- the simulator's dialog ----

/// The user at a dialog that is up. Acting on what is disabled, or when the dialog has gone, does
/// nothing.
class DialogUser {
 public:
  virtual ~DialogUser() = default;
  /// What the dialog shows.
  virtual platform::DialogContent Shown() = 0;
  virtual platform::WindowPlace Place() = 0;
  virtual bool SeesDialog() = 0;
  virtual void Choose(platform::DialogList list, std::int32_t index) = 0;
  virtual void Click(platform::DialogCheck check) = 0;
  virtual void Turn(platform::DialogSpin spin, std::int32_t value) = 0;
  /// Replaces what is in the box.
  virtual void Type(platform::DialogSpin spin, const std::string& typed) = 0;
  virtual void Type(platform::DialogText text, const std::string& typed) = 0;
  virtual void Press(platform::DialogButton button) = 0;
  virtual void CloseBox() = 0;
  virtual void Move(std::int32_t left, std::int32_t top) = 0;
  /// Waits until `come` is true, but not for ever; the dialog's thread is free meanwhile.
  virtual bool WaitFor(const std::function<bool()>& come) = 0;
};

/// Shows the dialog, while `user` is at it; uses its close box if it is still up in the end.
/// Returns what ShowSimulatorDialog does. `user` may run on another thread.
bool ShowToUser(const platform::DialogContent& content, platform::DialogPresenter& presenter,
                const std::function<void(DialogUser& user)>& user);

// ---- message boxes ----

/// Runs `body`, while a user reads and closes every message box with this title. Returns the texts.
std::vector<std::string> MessagesSeen(const std::string& title, const std::function<void()>& body);

// ---- the desktop ----

/// Runs `body` where no desktop is to be seen.
void WithoutDesktop(const std::function<void()>& body);

/// The shape that the mouse pointer has.
platform::PointerShape PointerNow();

// ---- a serial port with a device behind it ----

/// False when no port was made available to a run on the operating system.
bool HasSerialDevice();

/// The number of the device's port.
std::int32_t DevicePort();

/// Whether a port that is open is refused to anybody else; Wine leaves that to the device. To be
/// asked only while the device's port is closed.
bool SystemGuardsPorts();

/// A number that no port has.
std::int32_t MissingPort();

/// Brings the device back to its initial state: there, silent, nothing received, nothing promised.
/// Not while a port is open.
void ResetDevice();

/// Runs `body` with settings that the device's port refuses.
void WithRefusedSettings(const std::function<void(const platform::SerialSettings&)>& body);

/// Makes the device answer the next kDeviceCommand with `bytes`.
inline constexpr std::uint8_t kDeviceCommand = 0x80;
void DeviceAnswers(const std::vector<std::uint8_t>& bytes);

/// The device sends `bytes` at once, unasked; they have left it when this returns.
void DeviceSends(const std::vector<std::uint8_t>& bytes);

/// From now on the device takes each byte only when it has had its time on a wire at 9600 baud.
void DeviceTakesItsTime();

/// What has reached the device since ResetDevice; waits for `count` bytes, but not for ever.
std::vector<std::uint8_t> DeviceReceived(std::size_t count);

/// Waits, but not for ever, until the device sees the output lines so.
bool DeviceSeesLines(platform::ModemLines lines);

/// Every state that the output lines have had at the device since ResetDevice.
std::vector<platform::ModemLines> LineHistoryAtDevice();

/// Pulls the adapter out, and plugs it in again.
void DeviceVanishes();
void DeviceComesBack();

}  // namespace qmzentrel::contract
