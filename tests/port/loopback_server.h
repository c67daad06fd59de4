// SPDX-License-Identifier: GPL-3.0-or-later
// A server on loopback that serves one connection after the other on a thread of its own.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "port/linux/file_descriptor.h"
#include "port/linux/socket_tools.h"

namespace quillet::port {

inline bool SendAll(int socket, std::string_view data) {
  while (!data.empty()) {
    const ssize_t sent = send(socket, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    data.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// Shorter when the client closed.
inline std::string ReceiveExactly(int socket, std::size_t count) {
  std::string data(count, '\0');
  std::size_t have = 0;
  while (have < count) {
    const ssize_t got = recv(socket, data.data() + have, count - have, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    have += static_cast<std::size_t>(got);
  }
  data.resize(have);
  return data;
}

inline std::uint16_t PortOf(int socket) {
  NativeAddress address;
  address.size = sizeof address.storage;
  EXPECT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&address.storage), &address.size), 0);
  return ntohs(reinterpret_cast<const sockaddr_in*>(&address.storage)->sin_port);
}

// A listening socket; port 0 is a free one.
inline FileDescriptor Listen(const Address& address, std::uint16_t port, int backlog) {
  const NativeAddress native = ToNative(address, port);
  FileDescriptor listener(socket(native.get()->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(bind(listener.get(), native.get(), native.size), 0);
  EXPECT_EQ(listen(listener.get(), backlog), 0);
  return listener;
}

// A listening socket on a free port of 127.0.0.1.
inline FileDescriptor ListenOnLoopback(int backlog) {
  return Listen(Ipv4(127, 0, 0, 1), 0, backlog);
}

// The descriptor that the next open will take.
inline int NextDescriptor() {
  const int probe = dup(STDERR_FILENO);
  close(probe);
  return probe;
}

class LoopbackServer {
 public:
  // The connection is closed when `serve` returns.
  explicit LoopbackServer(std::function<void(int client)> serve,
                          const Address& address = Ipv4(127, 0, 0, 1), std::uint16_t at_port = 0)
      : serve_(std::move(serve)),
        listener_(Listen(address, at_port, 8)),
        port_(PortOf(listener_.get())),
        end_(eventfd(0, EFD_CLOEXEC)),
        thread_([this] { Run(); }) {}
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  // Cuts off the connection that is being served.
  ~LoopbackServer() {
    eventfd_write(end_.get(), 1);
    {
      const std::lock_guard lock(mutex_);
      ending_ = true;
      if (client_.valid()) shutdown(client_.get(), SHUT_RDWR);
    }
    thread_.join();
  }
  std::uint16_t port() const { return port_; }

 private:
  void Run() {
    for (;;) {
      pollfd waiting[] = {{listener_.get(), POLLIN, 0}, {end_.get(), POLLIN, 0}};
      if (poll(waiting, 2, -1) < 0 && errno != EINTR) return;
      if (waiting[1].revents != 0) return;
      if (waiting[0].revents == 0) continue;
      FileDescriptor client(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (!client.valid()) continue;
      {
        const std::lock_guard lock(mutex_);
        if (ending_) return;
        client_ = std::move(client);
      }
      serve_(client_.get());
      const std::lock_guard lock(mutex_);
      client_.Close();
    }
  }

  const std::function<void(int)> serve_;
  FileDescriptor listener_;
  const std::uint16_t port_;
  FileDescriptor end_;
  std::mutex mutex_;
  bool ending_ = false;
  FileDescriptor client_;
  std::thread thread_;
};

}  // namespace quillet::port
