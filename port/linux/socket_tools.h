// SPDX-License-Identifier: GPL-3.0-or-later
// What the parts of the socket service share: native addresses, options, waits that an event ends.
#pragma once

#include <sys/socket.h>

#include <cstdint>

#include "port/sockets.h"

namespace quillet::port {

constexpr int kForEver = -1;

// Before a connection: small packets go at once, and a peer that vanished is noticed.
void SetSocketOptions(int fd);
// How long a blocked receive lasts (milliseconds; 0: for ever), and what is sent without an
// acknowledgement: longer, so that a silent peer is told from a dead line.
void SetPatience(int fd, std::uint32_t stall_limit);

bool SetBlocking(int fd, bool blocking);

// Waits for any of `events` on the first descriptor. Interrupted when the second is readable.
enum class WaitEnd { kReady, kInterrupted, kTimedOut };
// A signal begins the time limit anew.
WaitEnd WaitFor(int fd, short events, int interrupt_fd, int milliseconds = kForEver);

struct NativeAddress {
  sockaddr_storage storage{};
  socklen_t size = 0;
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};
NativeAddress ToNative(const Address& address, std::uint16_t port);
// False when it is of neither family.
bool FromNative(const sockaddr& native, socklen_t size, Address& address);

}  // namespace quillet::port
