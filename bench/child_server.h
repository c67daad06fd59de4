// SPDX-License-Identifier: GPL-3.0-or-later
// A server of a benchmark, in a child process: listens on the loopback address and serves one
// client after the other until it is killed.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <functional>

#include "bench/measure.h"

namespace quillet {

class ChildServer {
 public:
  // `serve` gets the listening socket in the child, and never returns.
  explicit ChildServer(const std::function<void(int listener)>& serve) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    Require(bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0, "bind");
    Require(listen(listener, 4) == 0, "listen");
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    child_ = fork();
    if (child_ == 0) {
      serve(listener);
      _exit(0);
    }
    close(listener);
  }
  ChildServer(const ChildServer&) = delete;
  ChildServer& operator=(const ChildServer&) = delete;
  ~ChildServer() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  std::uint16_t port() const { return port_; }

 private:
  std::uint16_t port_ = 0;
  pid_t child_ = 0;
};

}  // namespace quillet
