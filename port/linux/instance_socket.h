// SPDX-License-Identifier: GPL-3.0-or-later
// Local sockets between instances of one user. Paths may be longer than a socket address allows.
#pragma once

#include <string>
#include <string_view>

#include "port/linux/file_descriptor.h"

namespace quillet::port {

// A listening socket at that path, in place of whatever was there; invalid on failure.
FileDescriptor ListenAt(const std::string& path);

// A connection to the socket at that path, whose other end belongs to this user; else invalid.
FileDescriptor ConnectTo(const std::string& path);

// The next connection of this user; invalid when it was somebody else's or none waits.
FileDescriptor AcceptFrom(int listener);

// One line, without its line end, of at most 8,192 bytes; empty when none came within the limit.
std::string ReceiveLine(int socket, int limit_ms);
// Never blocks: a line is far smaller than the buffer of a new connection.
bool SendLine(int socket, std::string_view line);

}  // namespace quillet::port
