// The harness over the in-memory world.
#include <utility>

#include "tests/contract/harness.h"
#include "tests/fakes/fake_dialog.h"
#include "tests/fakes/fake_object.h"
#include "tests/fakes/fake_world.h"
#include "tests/fakes/hardware_fault.h"

namespace qmzentrel::contract {
namespace {

constexpr std::int32_t kDevicePort = 7;
constexpr std::int32_t kMissingPort = 8;

fakes::FakePort& Device() {
  return fakes::TheWorld().ports.at(kDevicePort);
}

}  // namespace

void BeginTest() {
  fakes::ResetWorld();
}
void EndTest() {}

double MonotonicMs() {
  return std::chrono::duration<double, std::milli>(fakes::TheWorld().now).count();
}

void PostCall(std::function<void()> call) {
  PostCallLater(0, std::move(call));
}

void PostCallLater(std::int32_t in_ms, std::function<void()> call) {
  fakes::TheWorld().Post(fakes::Milliseconds(in_ms), std::move(call));
}

void PostQuit(int code) {
  fakes::TheWorld().PostQuit(fakes::Milliseconds(0), static_cast<std::uintptr_t>(code));
}

// Other messages that are due would be dispatched as well; the tests ask when there are none.
std::optional<int> TakeQuit() {
  std::vector<std::uintptr_t> codes;
  fakes::TheWorld().DispatchDue([&codes](std::uintptr_t code) { codes.push_back(code); });
  if (codes.empty()) return std::nullopt;
  for (auto code = codes.begin() + 1; code != codes.end(); ++code) {
    fakes::TheWorld().PostQuit(fakes::Milliseconds(0), *code);
  }
  return static_cast<int>(codes.front());
}

void PutRegistryValue(const std::string& path, const std::string& name, std::uint32_t type,
                      std::string_view bytes) {
  fakes::TheWorld().registry[path][name] = {type, std::string(bytes)};
}

void WithReadOnlyTestKey(const std::function<void()>& body) {
  auto& read_only = fakes::TheWorld().read_only_keys;
  read_only.emplace(kTestKey);
  body();
  read_only.clear();
}

void RemoveTestKey() {
  std::erase_if(fakes::TheWorld().registry,
                [](const auto& key) { return key.first.starts_with(kTestKey); });
}

void WithTestObject(bool has_type,
                    const std::function<void(platform::ClientObject object,
                                             std::vector<std::string>& noted)>& body) {
  using Arguments = fakes::FakeObject::Arguments;
  std::vector<std::string> noted;
  const auto note = [&noted](const Arguments& arguments) -> platform::LateArgument {
    std::string line;
    for (const platform::LateArgument& argument : arguments) {
      if (!line.empty()) line += ", ";
      const auto* const number = std::get_if<std::int32_t>(&argument);
      line += number != nullptr ? std::to_string(*number) : std::get<std::string>(argument);
    }
    noted.push_back(line);
    return 0;
  };
  fakes::FakeObject object;
  if (has_type) object.type_name = "TestList";
  object.methods["Note"] = note;
  object.methods["Refuse"] = [](const Arguments&) -> platform::LateArgument {
    throw platform::LateFailure{380, "TestList", "Not here"};
  };
  object.gets["Last"] = [&noted](const Arguments&) { return noted.back(); };
  object.lets["Last"] = note;
  object.gets["Item"] = [](const Arguments& arguments) {
    return std::get<std::int32_t>(arguments.at(0)) * 10;
  };
  object.lets["Item"] = note;
  body(object.Handle(), noted);
}

void WithShownObject(const ShownObject& shown,
                     const std::function<void(platform::ClientObject object)>& body) {
  fakes::FakeObject object;
  if (shown.default_text) {
    object.default_value = [&shown] { return platform::LateValue(*shown.default_text); };
  }
  if (shown.members) {
    object.members.emplace(shown.members->begin(), shown.members->end());
  }
  object.is_data_object = shown.is_data_object;
  body(object.Handle());
}

void WithTestClass(const std::string& programmatic_identifier, const std::function<void()>& body) {
  fakes::FakeObject object;
  object.methods["Note"] = [](const auto&) { return 0; };
  auto& classes = fakes::TheWorld().classes;
  classes[programmatic_identifier] = [&object] {
    return platform::HeldObject(platform::HeldObject(), &object);
  };
  body();
  classes.erase(programmatic_identifier);
}

bool RaiseFault(std::uint32_t code) {
  return fakes::RaiseHardwareFault(code);
}

bool LeftByClientException(const std::function<void()>& body) {
  try {
    body();
  } catch (const fakes::ClientException&) {
    return true;
  }
  return false;
}

void RaiseClientException() {
  fakes::RaiseClientException();
}

std::string FreshFilePath(const std::string& name) {
  std::string path = "C:\\logs\\" + name;
  fakes::TheWorld().files.erase(path);
  return path;
}

std::string PathInMissingFolder() {
  std::string path = "C:\\missing\\file.log";
  fakes::TheWorld().unwritable.insert(path);
  return path;
}

std::optional<std::string> FileBytes(const std::string& path) {
  const auto& files = fakes::TheWorld().files;
  const auto file = files.find(path);
  return file == files.end() ? std::nullopt : std::optional(file->second);
}

std::vector<std::string> DebuggerLinesOf(const std::function<void()>& body) {
  fakes::TheWorld().debugger_lines.clear();
  body();
  return fakes::TheWorld().debugger_lines;
}

namespace {

class FakeUser final : public DialogUser {
 public:
  explicit FakeUser(fakes::FakeDialog& dialog) : dialog_(dialog) {}

  platform::DialogContent Shown() override { return dialog_.Shown(); }
  platform::WindowPlace Place() override { return dialog_.Place(); }
  bool SeesDialog() override { return dialog_.IsUp(); }
  void Choose(platform::DialogList list, std::int32_t index) override {
    dialog_.Choose(list, index);
  }
  void Click(platform::DialogCheck check) override { dialog_.Click(check); }
  void Turn(platform::DialogSpin spin, std::int32_t value) override { dialog_.Turn(spin, value); }
  void Type(platform::DialogSpin spin, const std::string& typed) override {
    dialog_.Type(spin, typed);
  }
  void Type(platform::DialogText text, const std::string& typed) override {
    dialog_.Type(text, typed);
  }
  void Press(platform::DialogButton button) override { dialog_.Press(button); }
  void CloseBox() override { dialog_.CloseBox(); }
  void Move(std::int32_t left, std::int32_t top) override { dialog_.Move(left, top); }
  bool WaitFor(const std::function<bool()>& come) override {
    dialog_.Wait(kPatience);
    return come();
  }

 private:
  static constexpr fakes::Milliseconds kPatience{5000};

  fakes::FakeDialog& dialog_;
};

}  // namespace

bool ShowToUser(const platform::DialogContent& content, platform::DialogPresenter& presenter,
                const std::function<void(DialogUser& user)>& user) {
  fakes::TheWorld().dialog_user = [user](fakes::FakeDialog& dialog) {
    FakeUser fake_user(dialog);
    user(fake_user);
  };
  return platform::ShowSimulatorDialog(content, presenter);
}

std::vector<std::string> MessagesSeen(const std::string& title, const std::function<void()>& body) {
  auto& messages = fakes::TheWorld().stop_messages;
  messages.clear();
  body();
  std::vector<std::string> texts;
  for (const auto& message : std::exchange(messages, {})) {
    if (message.title == title) texts.push_back(message.text);
  }
  return texts;
}

void WithoutDesktop(const std::function<void()>& body) {
  fakes::TheWorld().has_desktop = false;
  body();
  fakes::TheWorld().has_desktop = true;
}

platform::PointerShape PointerNow() {
  return fakes::TheWorld().pointers.back();
}

bool HasSerialDevice() {
  return true;
}
std::int32_t DevicePort() {
  return kDevicePort;
}
std::int32_t MissingPort() {
  return kMissingPort;
}
bool SystemGuardsPorts() {
  return true;
}

void ResetDevice() {
  fakes::TheWorld().ports[kDevicePort] = {};
}

void WithRefusedSettings(const std::function<void(const platform::SerialSettings&)>& body) {
  Device().refuses_settings = true;
  body({});
  Device().refuses_settings = false;
}

void DeviceAnswers(const std::vector<std::uint8_t>& bytes) {
  Device().Answer(bytes);
}

void DeviceSends(const std::vector<std::uint8_t>& bytes) {
  for (const std::uint8_t byte : bytes) Device().incoming.emplace(fakes::TheWorld().now, byte);
}

std::vector<std::uint8_t> DeviceReceived(std::size_t count) {
  auto& now = fakes::TheWorld().now;
  const auto& wire = Device().wire;
  if (wire.size() >= count && count > 0) now = std::max(now, wire[count - 1].first);
  return Device().Received();
}

// The fake's wire takes its time anyway.
void DeviceTakesItsTime() {}

bool DeviceSeesLines(platform::ModemLines lines) {
  return Device().lines == lines;
}

std::vector<platform::ModemLines> LineHistoryAtDevice() {
  return Device().line_history;
}

void DeviceVanishes() {
  Device().vanished = true;
}
void DeviceComesBack() {
  Device().vanished = false;
}

}  // namespace qmzentrel::contract
