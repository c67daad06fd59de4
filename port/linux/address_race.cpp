// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/address_race.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <utility>

#include "port/linux/socket_tools.h"

namespace quillet::port {
namespace {

using std::chrono::steady_clock;

// What an error tells about the server, from little to much: a machine without IPv6 says so for
// every server, a refusal comes from the server itself.
int Telling(int error) {
  constexpr std::array kFromLittleToMuch = {EAFNOSUPPORT, EADDRNOTAVAIL, ENETUNREACH};
  constexpr std::array kMuch = {EHOSTUNREACH, ETIMEDOUT, ECONNREFUSED};
  const auto little = std::ranges::find(kFromLittleToMuch, error);
  if (little != kFromLittleToMuch.end()) return static_cast<int>(little - kFromLittleToMuch.end());
  const auto much = std::ranges::find(kMuch, error);
  return much == kMuch.end() ? 0 : static_cast<int>(much - kMuch.begin()) + 1;
}

class Race {
 public:
  Race(std::span<const Address> addresses, std::uint16_t port, FileDescriptor ipv4,
       int interrupt_fd)
      : addresses_(Interleaved(addresses)),
        port_(port),
        ipv4_(std::move(ipv4)),
        interrupt_fd_(interrupt_fd) {}

  RaceResult Run() {
    while (!winner_.valid()) {
      const bool more = next_ < addresses_.size();
      if (more && (running_.empty() || steady_clock::now() >= next_start_)) {
        Start(addresses_[next_++]);
        continue;
      }
      if (running_.empty()) return {MostTelling(errors_), {}};
      if (!AwaitAttempts(more ? UntilNextStart() : kForEver)) return {ECANCELED, {}};
    }
    return {0, std::move(winner_)};
  }

 private:
  int UntilNextStart() const {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(next_start_ - steady_clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
  }

  void Start(const Address& address) {
    next_start_ = steady_clock::now() + std::chrono::milliseconds(kAttemptDelay);
    FileDescriptor fd = SocketFor(address);
    if (!fd.valid() || !SetBlocking(fd.get(), false)) return Lost(errno);
    const NativeAddress peer = ToNative(address, port_);
    if (connect(fd.get(), peer.get(), peer.size) == 0) {
      winner_ = std::move(fd);
    } else if (errno == EINPROGRESS || errno == EINTR) {
      // An interrupted connect goes on by itself, as one that would block.
      running_.push_back(std::move(fd));
    } else {
      Lost(errno);
    }
  }

  FileDescriptor SocketFor(const Address& address) {
    if (!address.v6 && ipv4_.valid()) return std::move(ipv4_);
    FileDescriptor fd(socket(address.v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (fd.valid()) SetSocketOptions(fd.get());
    return fd;
  }

  // The next attempt starts at once.
  void Lost(int error) {
    errors_.push_back(error);
    next_start_ = steady_clock::now();
  }

  // False when interrupted.
  bool AwaitAttempts(int milliseconds) {
    std::vector<pollfd> waiting;
    for (const FileDescriptor& fd : running_) waiting.push_back({fd.get(), POLLOUT, 0});
    waiting.push_back({interrupt_fd_, POLLIN, 0});
    const int ready = poll(waiting.data(), waiting.size(), milliseconds);
    if (ready < 0) return errno == EINTR;
    if (waiting.back().revents != 0) return false;
    std::vector<FileDescriptor> attempts = std::exchange(running_, {});
    for (std::size_t i = 0; i < attempts.size() && !winner_.valid(); ++i) {
      if (waiting[i].revents != 0) {
        Finish(std::move(attempts[i]));
      } else {
        running_.push_back(std::move(attempts[i]));
      }
    }
    return true;
  }

  // An attempt has come to its end.
  void Finish(FileDescriptor fd) {
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(fd.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    if (error != 0) return Lost(error);
    winner_ = std::move(fd);
  }

  const std::vector<Address> addresses_;
  const std::uint16_t port_;
  FileDescriptor ipv4_;
  const int interrupt_fd_;
  std::size_t next_ = 0;
  steady_clock::time_point next_start_{};
  std::vector<FileDescriptor> running_;
  std::vector<int> errors_;
  FileDescriptor winner_;
};

}  // namespace

std::vector<Address> Interleaved(std::span<const Address> addresses) {
  std::vector<Address> first, second, result;
  for (const Address& address : addresses) {
    (address.v6 == addresses.front().v6 ? first : second).push_back(address);
  }
  for (std::size_t i = 0; i < std::max(first.size(), second.size()); ++i) {
    if (i < first.size()) result.push_back(first[i]);
    if (i < second.size()) result.push_back(second[i]);
  }
  return result;
}

int MostTelling(std::span<const int> errors) {
  const auto best = std::ranges::max_element(errors, {}, Telling);
  return best == errors.end() ? 0 : *best;
}

RaceResult ConnectToFirst(std::span<const Address> addresses, std::uint16_t port,
                          FileDescriptor ipv4, int interrupt_fd) {
  return Race(addresses, port, std::move(ipv4), interrupt_fd).Run();
}

}  // namespace quillet::port
