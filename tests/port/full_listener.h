// SPDX-License-Identifier: GPL-3.0-or-later
// A listener that lets nobody in: its queue is full, so that a connect waits.
#pragma once

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include "tests/port/loopback_server.h"

namespace quillet::port {

class FullListener {
 public:
  explicit FullListener(const Address& address = Ipv4(127, 0, 0, 1), std::uint16_t at_port = 0)
      : listener_(Listen(address, at_port, 0)) {
    const NativeAddress native = ToNative(address, port());
    for (int i = 0; i < 4; ++i) {
      FileDescriptor client(
          socket(native.get()->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
      // Whether it gets in or waits outside, it takes a place.
      const int result = connect(client.get(), native.get(), native.size);
      EXPECT_TRUE(result == 0 || errno == EINPROGRESS);
      clients_.push_back(std::move(client));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  std::uint16_t port() const { return PortOf(listener_.get()); }
  // Makes room, and goes on doing so: whoever waits outside knocks again only now and then.
  void LetAllInUntil(const std::atomic<bool>& done) {
    clients_.clear();
    while (!done) {
      pollfd waiting{listener_.get(), POLLIN, 0};
      if (poll(&waiting, 1, 20) > 0) close(accept(listener_.get(), nullptr, nullptr));
    }
  }

 private:
  FileDescriptor listener_;
  std::vector<FileDescriptor> clients_;
};

}  // namespace quillet::port
