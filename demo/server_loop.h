// The sockets of the demo server: listens on the loopback address and serves any number of clients
// from one thread.
#pragma once

#include <cstdint>
#include <string>

#include "demo/nntp_session.h"

namespace quillet::demo {

// A listening socket on 127.0.0.1 (port 0: the system chooses). Returns its descriptor and sets
// `port` to the port really used; -1 with a reason in `problem`.
int ListenOnLoopback(std::uint16_t& port, std::string& problem);

// Serves until a byte can be read from `stop_descriptor` or it is closed.
void ServeClients(int listener, int stop_descriptor, NewsStore& store,
                  const ServerSettings& settings);

}  // namespace quillet::demo
