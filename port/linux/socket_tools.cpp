// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/socket_tools.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quillet::port {
namespace {

// A peer that vanished without a word ends a receive after about two minutes.
constexpr int kKeepAliveIdleSeconds = 60;
constexpr int kKeepAliveIntervalSeconds = 15;
constexpr int kKeepAliveProbes = 4;

// What was sent is acknowledged by then, or the connection is lost.
constexpr std::uint32_t kUserTimeout = 120'000;
constexpr std::uint32_t kBeyondStallLimit = 30'000;

void SetOption(int fd, int level, int option, int value) {
  // A kernel that lacks an option still gives a working connection.
  setsockopt(fd, level, option, &value, sizeof value);
}

}  // namespace

void SetSocketOptions(int fd) {
  SetOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  SetOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdleSeconds);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveIntervalSeconds);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveProbes);
  SetPatience(fd, 0);
}

void SetPatience(int fd, std::uint32_t stall_limit) {
  constexpr std::uint32_t kLongest = 0x7FFFFFFF - kBeyondStallLimit;
  stall_limit = std::min(stall_limit, kLongest);
  const timeval limit{stall_limit / 1000, static_cast<suseconds_t>(stall_limit % 1000) * 1000};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  const std::uint32_t unacknowledged = std::max(kUserTimeout, stall_limit + kBeyondStallLimit);
  SetOption(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, static_cast<int>(unacknowledged));
}

bool SetBlocking(int fd, bool blocking) {
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0) return false;
  return fcntl(fd, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK) == 0;
}

WaitEnd WaitFor(int fd, short events, int interrupt_fd, int milliseconds) {
  pollfd waiting[] = {{fd, events, 0}, {interrupt_fd, POLLIN, 0}};
  int ready = 0;
  do {
    ready = poll(waiting, 2, milliseconds);
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) return WaitEnd::kTimedOut;
  return ready > 0 && waiting[1].revents == 0 ? WaitEnd::kReady : WaitEnd::kInterrupted;
}

NativeAddress ToNative(const Address& address, std::uint16_t port) {
  NativeAddress native;
  if (address.v6) {
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(port);
    six.sin6_scope_id = address.scope;
    std::memcpy(&six.sin6_addr, address.bytes.data(), sizeof six.sin6_addr);
    std::memcpy(&native.storage, &six, sizeof six);
    native.size = sizeof six;
  } else {
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    std::memcpy(&four.sin_addr, address.bytes.data(), sizeof four.sin_addr);
    std::memcpy(&native.storage, &four, sizeof four);
    native.size = sizeof four;
  }
  return native;
}

bool FromNative(const sockaddr& native, socklen_t size, Address& address) {
  if (native.sa_family == AF_INET6 && size >= sizeof(sockaddr_in6)) {
    sockaddr_in6 six{};
    std::memcpy(&six, &native, sizeof six);
    address = {true, {}, six.sin6_scope_id};
    std::memcpy(address.bytes.data(), &six.sin6_addr, sizeof six.sin6_addr);
    return true;
  }
  if (native.sa_family != AF_INET || size < sizeof(sockaddr_in)) return false;
  sockaddr_in four{};
  std::memcpy(&four, &native, sizeof four);
  address = {};
  std::memcpy(address.bytes.data(), &four.sin_addr, sizeof four.sin_addr);
  return true;
}

}  // namespace quillet::port
