// SPDX-License-Identifier: GPL-3.0-or-later
// Everything below TellOfCutFiles runs in a signal handler: system calls and fixed memory only.
#include "port/linux/cut_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <string_view>

namespace quillet::port {
namespace {

constexpr std::size_t kLongestPath = 4096;
constexpr int kExitStatus = 1;

std::array<char, kLongestPath> gNote = {};

// The lines of the process's table of mapped memory, one after the other.
class Mappings {
 public:
  Mappings() : table_(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}
  Mappings(const Mappings&) = delete;
  Mappings& operator=(const Mappings&) = delete;
  ~Mappings() { close(table_); }

  // False at the end, and at a line that is too long.
  bool Next(std::string_view& line) {
    for (;;) {
      const std::string_view left(buffer_.data() + start_, end_ - start_);
      const std::size_t length = left.find('\n');
      if (length != left.npos) {
        line = left.substr(0, length);
        start_ += length + 1;
        return true;
      }
      std::copy(left.begin(), left.end(), buffer_.begin());
      end_ = left.size();
      start_ = 0;
      const ssize_t got = read(table_, buffer_.data() + end_, buffer_.size() - end_);
      if (got <= 0) return false;
      end_ += static_cast<std::size_t>(got);
    }
  }

 private:
  int table_;
  std::array<char, kLongestPath + 256> buffer_ = {};
  std::size_t start_ = 0;
  std::size_t end_ = 0;
};

// "7f00-7f10 rw-s 00000000 08:01 123    /path": the path when the address lies in it, else empty.
std::string_view PathOfLine(std::string_view line, std::uintptr_t address) {
  constexpr int kHexadecimal = 16;
  std::uintptr_t first = 0;
  std::uintptr_t last = 0;
  const char* const end = line.data() + line.size();
  const auto from = std::from_chars(line.data(), end, first, kHexadecimal);
  if (from.ptr == end || *from.ptr != '-') return {};
  std::from_chars(from.ptr + 1, end, last, kHexadecimal);
  if (address < first || address >= last) return {};
  const std::size_t path = line.find('/');
  return path == line.npos ? std::string_view() : line.substr(path);
}

void Write(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(fd, text.data(), text.size());
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void Tell(int fd, std::string_view path) {
  Write(fd, "Quillet CE had to end: the file \"");
  Write(fd, path);
  Write(fd, "\" was made shorter by another program or cannot be read any more.\n");
}

void OnBusError(int signal, siginfo_t* info, void* /*context*/) {
  const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
  Mappings mappings;
  for (std::string_view line; mappings.Next(line);) {
    const std::string_view path = PathOfLine(line, address);
    if (path.empty()) continue;
    Tell(STDERR_FILENO, path);
    const int note = open(gNote.data(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (note >= 0) Tell(note, path);
    _exit(kExitStatus);
  }
  // The handler is gone: the faulty instruction ends the process when it runs again, and a signal
  // that was sent does so here.
  if (info->si_code <= 0) raise(signal);
}

}  // namespace

void TellOfCutFiles(const std::string& note) {
  gNote.fill('\0');
  std::copy_n(note.begin(), std::min(note.size(), gNote.size() - 1), gNote.begin());
  struct sigaction action {};
  action.sa_sigaction = OnBusError;
  action.sa_flags = SA_SIGINFO | static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(SIGBUS, &action, nullptr);
}

}  // namespace quillet::port
