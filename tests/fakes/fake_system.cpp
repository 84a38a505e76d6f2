// The debugger channel, text files and per-thread slots.
#include "tests/fakes/fake_system.h"

#include <map>

#include "platform/apartment.h"
#include "platform/debugger.h"
#include "platform/text.h"
#include "platform/text_file.h"
#include "tests/fakes/fake_world.h"

namespace qmzentrel::platform {

using fakes::TheWorld;

void DebuggerOutput(const std::string& text) {
  TheWorld().Enter("DebuggerOutput");
  if (!TheWorld().keeps_journal) return;
  TheWorld().debugger_lines.push_back(ToAnsi(text));
  // The journal is about the order: it shows the text without time stamp and label.
  static const std::string kLabel = "  INFO   ";
  const std::size_t label = text.find(kLabel);
  TheWorld().Note("log " +
                  (label == std::string::npos ? text : text.substr(label + kLabel.size())));
}

struct TextFile::State {
  std::string path;
  bool open = false;
};

TextFile::TextFile() : state_(std::make_unique<State>()) {}
TextFile::~TextFile() {
  if (state_->open) TheWorld().open_files.erase(state_->path);
}

bool TextFile::Open(const std::string& path, bool truncate) {
  TheWorld().Enter("TextFile::Open");
  Close();
  if (TheWorld().unwritable.contains(path)) return false;
  std::string& content = TheWorld().files[path];
  if (truncate) content.clear();
  *state_ = {path, true};
  TheWorld().open_files.insert(path);
  return true;
}

bool TextFile::IsOpen() const {
  return state_->open;
}

std::uint64_t TextFile::Length() const {
  return state_->open ? TheWorld().files[state_->path].size() : 0;
}

bool TextFile::WriteLine(const std::string& text) {
  TheWorld().Enter("TextFile::WriteLine");
  if (!state_->open || TheWorld().unwritable.contains(state_->path)) return false;
  TheWorld().files[state_->path] += ToAnsi(text) + "\r\n";
  return true;
}

void TextFile::Close() {
  TheWorld().Enter("TextFile::Close");
  if (state_->open) TheWorld().open_files.erase(state_->path);
  state_->open = false;
}

namespace {

std::map<unsigned long, void*>& SlotsOfThisThread() {
  static thread_local std::map<unsigned long, void*> slots;
  return slots;
}

}  // namespace

ApartmentSlot::ApartmentSlot() {
  static unsigned long next = 0;
  index_ = ++next;
}

// Leaves its entries in the maps: the main thread's map has gone before the static slots do.
ApartmentSlot::~ApartmentSlot() = default;

void* ApartmentSlot::Get() const {
  return SlotsOfThisThread()[index_];
}

// NOLINTNEXTLINE(readability-make-member-function-const): the other side changes the slot itself.
void ApartmentSlot::Set(void* value) {
  SlotsOfThisThread()[index_] = value;
}

}  // namespace qmzentrel::platform
