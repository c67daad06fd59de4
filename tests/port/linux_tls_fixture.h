// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of encrypted connections share: an authority that the machine trusts, one that it
// does not, and a client.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "port/linux/linux_sockets.h"
#include "tests/port/linux_test_tools.h"
#include "tests/port/tls_server.h"

namespace quillet::port {

inline const Identity& TrustedAuthority() {
  static const Identity made =
      MakeIdentity({.common_name = "Trusted Authority", .authority = true});
  return made;
}

inline const Identity& GoodIdentity() {
  static const Identity made = MakeIdentity(
      {.common_name = "News", .alternative = "DNS:news.example.org"}, &TrustedAuthority());
  return made;
}

class LinuxTls : public testing::Test {
 protected:
  LinuxTls() { WriteAll(folder_ / "authorities.pem", TrustedAuthority().Pem()); }

  SocketHandle ConnectedTo(std::uint16_t port, const Address& address = Ipv4(127, 0, 0, 1)) {
    const SocketHandle socket = sockets_.Open();
    EXPECT_TRUE(sockets_.Connect(socket, std::array{address}, port));
    return socket;
  }
  TlsResult Try(std::uint16_t port, const std::string& host = "news.example.org",
                const std::string& pinned = "") {
    socket_ = ConnectedTo(port);
    return sockets_.StartTls(socket_, {host, pinned});
  }
  // Against a server with that certificate, which must not get anything but the handshake.
  TlsResult TryIdentity(const ServerWish& wish, const std::string& host = "news.example.org",
                        const std::string& pinned = "") {
    const TlsServer server(wish, [](TlsPeer& peer) { EXPECT_EQ(peer.ReceiveAll(), ""); });
    TlsResult result = Try(server.port(), host, pinned);
    if (result.outcome != TlsOutcome::kDone) ExpectDead();
    sockets_.Close(socket_);
    return result;
  }
  TlsResult TryCertificate(const CertificateWish& wish,
                           const std::string& host = "news.example.org",
                           const Identity* issuer = &TrustedAuthority()) {
    const Identity identity = MakeIdentity(wish, issuer);
    return TryIdentity({.identity = &identity}, host);
  }
  void ExpectDead() {
    EXPECT_FALSE(sockets_.Send(socket_, "AUTHINFO USER ann\r\n"));
    char buffer[10];
    EXPECT_EQ(sockets_.Receive(socket_, buffer), -1);
  }
  // At least `count` bytes, with a buffer of that size.
  std::string Receive(std::size_t count, std::size_t buffer_size = 4096) {
    std::string all, buffer(buffer_size, '\0');
    while (all.size() < count) {
      const std::int64_t got = sockets_.Receive(socket_, buffer);
      if (got <= 0) break;
      all.append(buffer, 0, static_cast<std::size_t>(got));
    }
    return all;
  }

  TempFolder folder_;
  Environment file_{"SSL_CERT_FILE", folder_ / "authorities.pem"};
  Environment dir_{"SSL_CERT_DIR", folder_ / "none"};
  LinuxSockets sockets_;
  SocketHandle socket_ = 0;
};

}  // namespace quillet::port
