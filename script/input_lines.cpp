// SPDX-License-Identifier: GPL-3.0-or-later
#include "script/input_lines.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace quillet {

InputLines::InputLines(int descriptor)
    : descriptor_(descriptor), stop_event_(eventfd(0, EFD_CLOEXEC)) {}

void InputLines::Stop() {
  eventfd_write(stop_event_.get(), 1);
}

bool InputLines::ReadMore() {
  std::array<pollfd, 2> waiting{{{descriptor_, POLLIN, 0}, {stop_event_.get(), POLLIN, 0}}};
  while (poll(waiting.data(), waiting.size(), -1) < 0) {
    if (errno != EINTR) return false;
  }
  if (waiting[1].revents != 0) {
    pending_.clear();
    return false;
  }
  std::array<char, 4096> buffer{};
  const ssize_t count = read(descriptor_, buffer.data(), buffer.size());
  if (count < 0) return errno == EINTR;
  pending_.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0;
}

std::optional<std::string> InputLines::Next() {
  for (;;) {
    const std::size_t end = pending_.find('\n', searched_);
    if (end != std::string::npos) {
      std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      searched_ = 0;
      return line;
    }
    searched_ = pending_.size();
    if (!ended_ && ReadMore()) continue;
    ended_ = true;
    if (pending_.empty()) return std::nullopt;
    searched_ = 0;
    return std::exchange(pending_, {});
  }
}

}  // namespace quillet
