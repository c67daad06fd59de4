// SPDX-License-Identifier: GPL-3.0-or-later
// One poll over the stop descriptor, the listener and the clients, all sockets non-blocking. A
// client is waited for either to be read from or to take what is still to be sent, never both, so
// that its answers cannot pile up here.
#include "demo/server_loop.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "demo/tls_layer.h"

namespace quillet::demo {
namespace {

constexpr std::size_t kReceiveSize = 4096;
constexpr std::size_t kMostClients = 64;

struct Client {
  Client(int descriptor, bool encrypted, NewsStore& store, const ServerSettings& settings)
      : socket(descriptor), authority(settings.authority), session(store, settings, encrypted) {
    if (encrypted) tls = std::make_unique<TlsLayer>(*authority);
    Say(session.Greeting());
  }
  ~Client() { ::close(socket); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void Say(const std::string& text) {
    if (!tls) {
      output += text;
      return;
    }
    tls->Send(text);
    if (session.finished()) tls->Close();
    output += tls->TakeOutput();
  }
  // False when nothing more is taken from the client.
  bool Take(std::string_view bytes) {
    std::string text;
    const bool sound = !tls || tls->Receive(bytes, text);
    Say(session.Receive(tls ? text : bytes));
    if (session.TakeTlsStart()) tls = std::make_unique<TlsLayer>(*authority);
    return sound;
  }

  int socket;
  const TlsAuthority* authority;
  NntpSession session;
  std::unique_ptr<TlsLayer> tls;  // null: in the clear
  std::string output;
  std::size_t sent = 0;
};

using Clients = std::vector<std::unique_ptr<Client>>;

bool WouldBlock() {
  return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

// Sends what it can; false when the client is gone or everything was said.
bool Flush(Client& client) {
  while (client.sent < client.output.size()) {
    const ssize_t n = ::send(client.socket, client.output.data() + client.sent,
                             client.output.size() - client.sent, MSG_NOSIGNAL);
    if (n < 0) return WouldBlock();
    client.sent += static_cast<std::size_t>(n);
  }
  client.output.clear();
  client.sent = 0;
  return !client.session.finished();
}

bool ReadFrom(Client& client) {
  std::array<char, kReceiveSize> buffer;
  const ssize_t n = ::recv(client.socket, buffer.data(), buffer.size(), 0);
  if (n == 0) return false;
  if (n < 0) return WouldBlock();
  const bool sound = client.Take({buffer.data(), static_cast<std::size_t>(n)});
  return Flush(client) && sound;
}

// A client whose answers it does not take is not read from, so that they cannot pile up.
bool ServeClient(Client& client, short events) {
  if ((events & (POLLERR | POLLNVAL)) != 0) return false;
  if ((events & POLLOUT) != 0) return Flush(client);
  if ((events & (POLLIN | POLLHUP)) != 0) return ReadFrom(client);
  return true;
}

void Accept(const Listener& listener, Clients& clients, NewsStore& store,
            const ServerSettings& settings) {
  const int descriptor =
      ::accept4(listener.descriptor, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (descriptor < 0) return;
  if (clients.size() >= kMostClients) {
    ::close(descriptor);
    return;
  }
  const int on = 1;
  ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  clients.push_back(std::make_unique<Client>(descriptor, listener.encrypted, store, settings));
  if (!Flush(*clients.back())) clients.pop_back();
}

std::vector<pollfd> WhatToWaitFor(const std::vector<Listener>& listeners, int stop_descriptor,
                                  const Clients& clients) {
  std::vector<pollfd> waits{{stop_descriptor, POLLIN, 0}};
  for (const Listener& listener : listeners) waits.push_back({listener.descriptor, POLLIN, 0});
  for (const auto& client : clients) {
    waits.push_back({client->socket, client->output.empty() ? short{POLLIN} : short{POLLOUT}, 0});
  }
  return waits;
}

// `waits` from the first client's on.
void ServeReadyClients(std::span<const pollfd> waits, Clients& clients) {
  Clients staying;
  for (std::size_t i = 0; i < clients.size(); ++i) {
    if (ServeClient(*clients[i], waits[i].revents)) staying.push_back(std::move(clients[i]));
  }
  clients.swap(staying);
}

}  // namespace

int ListenOnLoopback(std::uint16_t& port, std::string& problem) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int on = 1;
  ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (::bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
      ::listen(listener, 16) == 0 &&
      ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    port = ntohs(address.sin_port);
    return listener;
  }
  problem = std::strerror(errno);
  if (listener >= 0) ::close(listener);
  return -1;
}

void ServeClients(const std::vector<Listener>& listeners, int stop_descriptor, NewsStore& store,
                  const ServerSettings& settings) {
  Clients clients;
  while (true) {
    std::vector<pollfd> waits = WhatToWaitFor(listeners, stop_descriptor, clients);
    if (::poll(waits.data(), waits.size(), -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (waits[0].revents != 0) return;
    ServeReadyClients(std::span(waits).subspan(1 + listeners.size()), clients);
    for (std::size_t i = 0; i < listeners.size(); ++i) {
      if (waits[i + 1].revents != 0) Accept(listeners[i], clients, store, settings);
    }
  }
}

}  // namespace quillet::demo
