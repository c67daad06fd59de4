// SPDX-License-Identifier: GPL-3.0-or-later
// The sockets of the demo server: listens on the loopback address and serves any number of clients
// from one thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "demo/nntp_session.h"

namespace quillet::demo {

struct Listener {
  int descriptor = -1;
  bool encrypted = false;  // its clients speak TLS from the start
};

// A listening socket on 127.0.0.1 (port 0: the system chooses). Returns its descriptor and sets
// `port` to the port really used; -1 with a reason in `problem`.
int ListenOnLoopback(std::uint16_t& port, std::string& problem);

// Serves until a byte can be read from `stop_descriptor` or it is closed.
void ServeClients(const std::vector<Listener>& listeners, int stop_descriptor, NewsStore& store,
                  const ServerSettings& settings);

}  // namespace quillet::demo
