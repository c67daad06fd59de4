// SPDX-License-Identifier: GPL-3.0-or-later
// The way to the news server: its name and port, a socket, its addresses, the connection. Program
// thread only, inside the connection transaction.
#pragma once

#include <string>
#include <vector>

#include "base/run_end.h"
#include "port/sockets.h"

namespace quillet {

// The steps of the transaction, in their order. What makes the first connection impossible is a box
// of its own; for those that follow it goes to the error log.
RunEnd TakeSelectedServer();
RunEnd OpenSocket();
RunEnd BindSocket();
RunEnd ConnectSocket();

// What a host name (8-bit text) stands for, a dotted quad without asking anybody; empty when it is
// unknown. With `alladdresses` off the first IPv4 address.
std::vector<port::Address> FindAddresses(const std::string& host);

}  // namespace quillet
