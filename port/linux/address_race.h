// SPDX-License-Identifier: GPL-3.0-or-later
// Several addresses of one server, tried side by side where one is slow (RFC 8305, section 5). Pure
// but for the sockets it makes.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/linux/file_descriptor.h"
#include "port/sockets.h"

namespace quillet::port {

// An attempt that has not come through by then gets company.
constexpr int kAttemptDelay = 250;  // milliseconds

// The families by turns, that of the first address first; within a family as given.
std::vector<Address> Interleaved(std::span<const Address> addresses);

// The system error that tells the user most about why a server cannot be reached; the first of
// equals. 0 when there is none.
int MostTelling(std::span<const int> errors);

struct RaceResult {
  int error = 0;          // a system error number; ECANCELED when interrupted
  FileDescriptor winner;  // connected and not blocking; that of IPv4 handed in is used up
};

// Connects to the first address that lets it. `ipv4` is the socket for the first IPv4 address; for
// the others new ones are made. Every socket but the winner is closed. Ends with ECANCELED as soon
// as `interrupt_fd` is readable.
RaceResult ConnectToFirst(std::span<const Address> addresses, std::uint16_t port,
                          FileDescriptor ipv4, int interrupt_fd);

}  // namespace quillet::port
