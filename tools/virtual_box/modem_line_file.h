// The file in which a pseudo-terminal's modem lines are kept: the preloaded modem-lines library
// writes it in the client's process, the box reads it. A client that ends without closing its port
// leaves that to the box: the lines drop when nobody has the terminal open any more.
#pragma once

#include <string>
#include <vector>

#include "tools/virtual_box/file_descriptor.h"
#include "tools/virtual_box/supply_line.h"

namespace qmzentrel::virtual_box {

/// The file in that folder for the terminal "/dev/pts/3".
std::string LineFileOf(const std::string& folder, const std::string& terminal);

/// A record of the file, as a line: all have one length.
std::string FormatLineRecord(const LineChange& change);

class ModemLineFile {
 public:
  ModemLineFile() = default;
  ~ModemLineFile() { Remove(); }
  ModemLineFile(const ModemLineFile&) = delete;
  ModemLineFile& operator=(const ModemLineFile&) = delete;

  /// Makes an empty file (both lines off) and watches it, and whoever closes `terminal`; the
  /// reason when that fails, else empty.
  std::string Create(const std::string& path, const std::string& terminal);
  void Remove();

  /// Becomes readable when the file has changed.
  int WatchHandle() const { return watch_.Get(); }

  /// The records that have been added since the last call.
  std::vector<LineChange> TakeChanges();

 private:
  void TakeClosings();
  bool HasNewRecords() const;
  void AppendOff();

  std::string path_;
  FileDescriptor file_;
  FileDescriptor watch_;
  std::string partial_;
  std::string terminal_;
  std::string holder_;   // the process that had it open when that was looked into
  bool closed_ = false;  // by somebody, and not looked into yet
  bool are_off_ = true;  // as the last record says
};

}  // namespace qmzentrel::virtual_box
