#include "tools/virtual_box/tty.h"

#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qmzentrel::virtual_box {

std::string Failure(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

bool MakeRaw(int terminal) {
  termios settings{};
  if (tcgetattr(terminal, &settings) != 0) return false;
  cfmakeraw(&settings);
  cfsetspeed(&settings, B9600);
  // A program that had the port before may have left it waiting for lines that nobody sets.
  settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY);
  settings.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
  // Both lines drop when the last one to have it open is gone, however it ended.
  settings.c_cflag |= CSTOPB | CLOCAL | CREAD | HUPCL;
  return tcsetattr(terminal, TCSANOW, &settings) == 0;
}

bool ReadArrived(int terminal, Bytes& bytes) {
  while (true) {
    std::uint8_t buffer[256];
    const ssize_t count = read(terminal, buffer, sizeof buffer);
    if (count > 0) {
      bytes.insert(bytes.end(), buffer, buffer + count);
    } else if (count == 0 || errno != EINTR) {
      return count < 0 && errno == EAGAIN;
    }
  }
}

void WriteAtOnce(int terminal, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(terminal, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

}  // namespace qmzentrel::virtual_box
