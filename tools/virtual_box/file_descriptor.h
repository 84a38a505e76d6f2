// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace qmzentrel::virtual_box {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int value) : value_(value) {}
  ~FileDescriptor() { Reset(); }
  FileDescriptor(FileDescriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      Reset();
      value_ = std::exchange(other.value_, -1);
    }
    return *this;
  }

  int Get() const { return value_; }
  bool IsOpen() const { return value_ >= 0; }
  void Reset() {
    if (value_ >= 0) close(std::exchange(value_, -1));
  }

 private:
  int value_ = -1;
};

}  // namespace qmzentrel::virtual_box
