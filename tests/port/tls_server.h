// SPDX-License-Identifier: GPL-3.0-or-later
// Servers with TLS on loopback, and certificates of every kind by throw-away authorities, made in
// memory.
#pragma once

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/port/loopback_server.h"
#include "util/freed_by.h"

namespace quillet::port {

using X509Pointer = std::unique_ptr<X509, FreedBy<X509_free>>;
using KeyPointer = std::unique_ptr<EVP_PKEY, FreedBy<EVP_PKEY_free>>;

struct Identity {
  X509Pointer certificate;
  KeyPointer key;
  std::string Der() const;
  std::string Pem() const;
};

struct CertificateWish {
  std::string common_name = "Test";
  std::string alternative{};  // as the configuration has it: "DNS:a.example,IP:127.0.0.1"
  std::string from = "20200101000000Z";
  std::string to = "20991231235959Z";
  bool authority = false;
  bool weak = false;         // a key that is too short
  bool for_clients = false;  // and not for servers
};
// By that issuer; by itself when there is none.
Identity MakeIdentity(const CertificateWish& wish, const Identity* issuer = nullptr);

struct ServerWish {
  const Identity* identity = nullptr;
  std::vector<const Identity*> chain{};  // sent with it
  int lowest = 0;                        // of TLS1_VERSION and so on; 0: any
  int highest = 0;
  bool asks_for_certificate = false;
};
using SslContext = std::unique_ptr<SSL_CTX, FreedBy<SSL_CTX_free>>;
SslContext MakeServerContext(const ServerWish& wish);

// One encrypted connection as its server sees it.
class TlsPeer {
 public:
  TlsPeer(SSL_CTX* context, int client);
  // Without it nothing is encrypted.
  bool Accept();
  bool Send(std::string_view data);
  // Shorter when the client closed.
  std::string ReceiveExactly(std::size_t count);
  // Everything until the client closes.
  std::string ReceiveAll();
  // True when the client said that it closes.
  bool farewell() const;
  std::string sni() const;
  SSL* ssl() { return ssl_.get(); }
  int client() const { return client_; }

 private:
  std::unique_ptr<SSL, FreedBy<SSL_free>> ssl_;
  int client_;
};

// Does the handshake with every client and then that; tells it goodbye unless it is told not to.
class TlsServer {
 public:
  TlsServer(const ServerWish& wish, std::function<void(TlsPeer&)> serve,
            const Address& address = Ipv4(127, 0, 0, 1));
  std::uint16_t port() const { return server_->port(); }

 private:
  SslContext context_;
  std::unique_ptr<LoopbackServer> server_;
};

}  // namespace quillet::port
