// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/descriptor_io.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace quillet::port {
namespace {

// What the call returns once no signal interrupts it.
template <class Call>
ssize_t Uninterrupted(const Call& call) {
  ssize_t done = 0;
  do {
    done = call();
  } while (done < 0 && errno == EINTR);
  return done;
}

}  // namespace

ssize_t ReadSome(int fd, char* buffer, std::size_t size) {
  return Uninterrupted([=] { return read(fd, buffer, size); });
}

bool WriteAll(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t written = Uninterrupted([=] { return write(fd, data.data(), data.size()); });
    if (written <= 0) return false;
    data.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool ReadAllAt(int fd, std::uint64_t offset, std::span<char> buffer) {
  while (!buffer.empty()) {
    const auto at = static_cast<off_t>(offset);
    const ssize_t got = Uninterrupted([=] { return pread(fd, buffer.data(), buffer.size(), at); });
    if (got <= 0) return false;
    buffer = buffer.subspan(static_cast<std::size_t>(got));
    offset += static_cast<std::uint64_t>(got);
  }
  return true;
}

bool WriteAllAt(int fd, std::uint64_t offset, std::string_view data) {
  while (!data.empty()) {
    const auto at = static_cast<off_t>(offset);
    const ssize_t put = Uninterrupted([=] { return pwrite(fd, data.data(), data.size(), at); });
    if (put <= 0) return false;
    data.remove_prefix(static_cast<std::size_t>(put));
    offset += static_cast<std::uint64_t>(put);
  }
  return true;
}

bool CopyContents(int from, int to) {
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t got = ReadSome(from, buffer.data(), buffer.size());
    if (got < 0) return false;
    if (got == 0) return true;
    if (!WriteAll(to, {buffer.data(), static_cast<std::size_t>(got)})) return false;
  }
}

}  // namespace quillet::port
