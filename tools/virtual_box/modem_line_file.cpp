#include "tools/virtual_box/modem_line_file.h"

#include <fcntl.h>
#include <sys/inotify.h>

#include <cerrno>
#include <cstring>
#include <optional>

namespace qmzentrel::virtual_box {
namespace {

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

}  // namespace

std::string ModemLineFile::Create(const std::string& path) {
  Remove();
  file_ = FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!file_.IsOpen()) return "cannot make " + path + ": " + std::strerror(errno);
  path_ = path;
  watch_ = FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!watch_.IsOpen() || inotify_add_watch(watch_.Get(), path.c_str(), IN_MODIFY) < 0) {
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
  if (!path_.empty()) unlink(path_.c_str());
  path_.clear();
}

std::vector<LineChange> ModemLineFile::TakeChanges() {
  alignas(inotify_event) char buffer[4096];
  while (read(watch_.Get(), buffer, sizeof buffer) > 0) {
  }
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
  return changes;
}

}  // namespace qmzentrel::virtual_box
