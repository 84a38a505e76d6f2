#include "tools/virtual_box/modem_line_file.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>

#include "tools/virtual_box/event_wait.h"

namespace qmzentrel::virtual_box {
namespace {

namespace fs = std::filesystem;

// "1 0 0000081236.412000123": DTR, RTS, seconds of CLOCK_MONOTONIC.
std::optional<LineChange> ParseRecord(const std::string& record) {
  const auto words = SplitWords(record);
  if (words.size() != 3) return std::nullopt;
  const auto dtr = ParseNumber(words[0], 1);
  const auto rts = ParseNumber(words[1], 1);
  const std::size_t point = words[2].find('.');
  if (!dtr || !rts || point == std::string::npos) return std::nullopt;
  const auto seconds = ParseNumber(words[2].substr(0, point), 0xFFFFFFFF);
  const auto nanoseconds = ParseNumber(words[2].substr(point + 1), 999'999'999);
  if (!seconds || !nanoseconds) return std::nullopt;
  return LineChange{std::chrono::seconds(*seconds) + Time(*nanoseconds), *dtr != 0, *rts != 0};
}

bool HasOpen(const std::string& process, const std::string& terminal) {
  std::error_code gone;
  for (fs::directory_iterator file(fs::path("/proc") / process / "fd", gone);
       file != fs::directory_iterator(); file.increment(gone)) {
    std::error_code unreadable;
    if (fs::read_symlink(file->path(), unreadable) == terminal) return true;
  }
  return false;
}

// The number of another process that has the terminal open, empty when there is none. Asked of the
// processes: the system tells openings that follow each other as one. That takes long where there
// are many, so the `likeliest` is asked first.
std::string WhoHasOpen(const std::string& terminal, const std::string& likeliest) {
  if (!likeliest.empty() && HasOpen(likeliest, terminal)) return likeliest;
  std::error_code error;
  const std::string own = std::to_string(getpid());
  for (fs::directory_iterator process("/proc", error), end; process != end;
       process.increment(error)) {
    std::string number = process->path().filename().string();
    if (number == own || number.find_first_not_of("0123456789") != std::string::npos) continue;
    if (HasOpen(number, terminal)) return number;
  }
  return {};
}

}  // namespace

std::string LineFileOf(const std::string& folder, const std::string& terminal) {
  return (fs::path(folder) / ("pts-" + fs::path(terminal).filename().string())).string();
}

std::string FormatLineRecord(const LineChange& change) {
  char record[40];
  std::snprintf(record, sizeof record, "%d %d %010lld.%09lld\n", change.dtr, change.rts,
                static_cast<long long>(change.time / std::chrono::seconds(1)),
                static_cast<long long>((change.time % std::chrono::seconds(1)).count()));
  return record;
}

std::string ModemLineFile::Create(const std::string& path, const std::string& terminal) {
  Remove();
  file_ =
      FileDescriptor(open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!file_.IsOpen()) return "cannot make " + path + ": " + std::strerror(errno);
  path_ = path;
  terminal_ = terminal;
  watch_ = FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!watch_.IsOpen() || inotify_add_watch(watch_.Get(), path.c_str(), IN_MODIFY) < 0 ||
      inotify_add_watch(watch_.Get(), terminal.c_str(), IN_CLOSE) < 0) {
    const std::string reason = std::strerror(errno);
    Remove();
    return "cannot watch " + path + ": " + reason;
  }
  return {};
}

void ModemLineFile::Remove() {
  watch_.Reset();
  file_.Reset();
  partial_.clear();
  holder_.clear();
  closed_ = false;
  are_off_ = true;
  if (!path_.empty()) unlink(path_.c_str());
  path_.clear();
}

std::vector<LineChange> ModemLineFile::TakeChanges() {
  char buffer[4096];
  ssize_t count = 0;
  while ((count = read(file_.Get(), buffer, sizeof buffer)) > 0) {
    partial_.append(buffer, static_cast<std::size_t>(count));
  }
  std::vector<LineChange> changes;
  std::size_t end = 0;
  while ((end = partial_.find('\n')) != std::string::npos) {
    if (const auto change = ParseRecord(partial_.substr(0, end))) changes.push_back(*change);
    partial_.erase(0, end + 1);
  }
  if (!changes.empty()) are_off_ = !changes.back().dtr && !changes.back().rts;
  // After the records: whoever has written one closes the terminal afterwards.
  TakeClosings();
  if (closed_ && !are_off_) {
    holder_ = WhoHasOpen(terminal_, holder_);
    // Somebody who has come meanwhile has switched the lines since.
    closed_ = holder_.empty() && HasNewRecords();
    if (holder_.empty() && !closed_) AppendOff();
  }
  return changes;
}

void ModemLineFile::TakeClosings() {
  alignas(inotify_event) char buffer[4096];
  ssize_t count = 0;
  while ((count = read(watch_.Get(), buffer, sizeof buffer)) > 0) {
    for (const char* at = buffer; at < buffer + count;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(at);
      if ((event->mask & IN_CLOSE) != 0) closed_ = true;
      at += sizeof *event + event->len;
    }
  }
}

bool ModemLineFile::HasNewRecords() const {
  struct stat status {};
  return fstat(file_.Get(), &status) == 0 && status.st_size > lseek(file_.Get(), 0, SEEK_CUR);
}

// Comes back as a change like those of a client.
void ModemLineFile::AppendOff() {
  const std::string record = FormatLineRecord({MonotonicNow(), false, false});
  // Not by write, which would move the place at which the next record is read.
  const ssize_t written = pwrite(file_.Get(), record.data(), record.size(), 0);
  if (written == static_cast<ssize_t>(record.size())) are_off_ = true;
}

}  // namespace qmzentrel::virtual_box
