// SPDX-License-Identifier: GPL-3.0-or-later
// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace quillet::port {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      Close();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Close(); }

  bool valid() const { return fd_ >= 0; }
  int get() const { return fd_; }
  // False when the system reports a late write error.
  bool Close() {
    if (fd_ < 0) return true;
    return ::close(std::exchange(fd_, -1)) == 0;
  }

 private:
  int fd_ = -1;
};

}  // namespace quillet::port
