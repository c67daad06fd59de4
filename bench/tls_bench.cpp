// SPDX-License-Identifier: GPL-3.0-or-later
// Small exchanges over an encrypted connection against the same ones in the clear, by the same
// client and the same server of this machine, taken in turns: what encryption costs a download.
//
// usage: tls_bench [EXCHANGES] [ROUNDS]; ends with 1 when the ratio misses its target.
#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench/child_server.h"
#include "bench/measure.h"
#include "port/linux/certificate.h"
#include "port/linux/linux_sockets.h"
#include "util/freed_by.h"

namespace quillet {
namespace {

// Nothing but the exchange is measured here: of the four records of an exchange each costs two
// microseconds in the library, on a line that costs twenty. A download has work of its own besides.
constexpr double kTarget = 0.6;
// A head with its status line, as an article of a text group has it.
constexpr std::size_t kReplySize = 700;
constexpr std::string_view kRequest = "HEAD\r\n";

// --- the server ---

struct Identity {
  std::unique_ptr<EVP_PKEY, FreedBy<EVP_PKEY_free>> key{EVP_EC_gen("P-256")};
  std::unique_ptr<X509, FreedBy<X509_free>> certificate{X509_new()};
  Identity() {
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86'400);
    X509_set_pubkey(certificate.get(), key.get());
    Require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0, "signing");
  }
  std::string Fingerprint() const {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(certificate.get(), &bytes);
    Require(size > 0, "a certificate");
    const auto facts = port::ReadCertificate(
        {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)});
    OPENSSL_free(bytes);
    Require(facts.has_value(), "reading the certificate");
    return facts->fingerprint;
  }
};

// Answers every request with the same reply; both by calls that block.
void ServePlain(int link, const std::string& reply) {
  std::array<char, 4096> buffer;
  while (recv(link, buffer.data(), buffer.size(), 0) > 0) {
    if (send(link, reply.data(), reply.size(), MSG_NOSIGNAL) <= 0) return;
  }
}

void ServeEncrypted(int link, SSL_CTX* context, const std::string& reply) {
  const std::unique_ptr<SSL, FreedBy<SSL_free>> ssl(SSL_new(context));
  SSL_set_fd(ssl.get(), link);
  std::array<char, 4096> buffer;
  if (SSL_accept(ssl.get()) != 1) return;
  while (SSL_read(ssl.get(), buffer.data(), static_cast<int>(buffer.size())) > 0) {
    if (SSL_write(ssl.get(), reply.data(), static_cast<int>(reply.size())) <= 0) return;
  }
}

[[noreturn]] void Serve(int listener, bool encrypted, const Identity& identity) {
  const std::unique_ptr<SSL_CTX, FreedBy<SSL_CTX_free>> context(SSL_CTX_new(TLS_server_method()));
  SSL_CTX_use_certificate(context.get(), identity.certificate.get());
  SSL_CTX_use_PrivateKey(context.get(), identity.key.get());
  const std::string reply = "221 1 <a@b>\r\n" + std::string(kReplySize - 18, 'x') + "\r\n.\r\n";
  for (;;) {
    const int link = accept(listener, nullptr, nullptr);
    if (link < 0) _exit(0);
    const int on = 1;
    setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    encrypted ? ServeEncrypted(link, context.get(), reply) : ServePlain(link, reply);
    close(link);
  }
}

// --- the client ---

// Milliseconds of the exchanges alone. `pinned` empty: in the clear.
double TimeExchanges(unsigned exchanges, std::uint16_t port, const std::string& pinned) {
  port::LinuxSockets sockets;
  const port::SocketHandle link = sockets.Open();
  Require(sockets.Connect(link, std::array{port::Ipv4(127, 0, 0, 1)}, port), "connecting");
  if (!pinned.empty()) {
    const port::TlsResult result = sockets.StartTls(link, {"localhost", pinned});
    Require(result.outcome == port::TlsOutcome::kDone, "the handshake");
  }
  std::array<char, 4096> buffer;
  const auto start = std::chrono::steady_clock::now();
  for (unsigned i = 0; i < exchanges; ++i) {
    Require(sockets.Send(link, kRequest), "sending");
    for (std::size_t have = 0; have < kReplySize;) {
      const std::int64_t got = sockets.Receive(link, buffer);
      Require(got > 0, "receiving");
      have += static_cast<std::size_t>(got);
    }
  }
  const auto time = std::chrono::steady_clock::now() - start;
  sockets.Close(link);
  return std::chrono::duration<double, std::milli>(time).count();
}

int Run(unsigned exchanges, unsigned rounds) {
  const Identity identity;
  const ChildServer plain([&](int listener) { Serve(listener, false, identity); });
  const ChildServer encrypted([&](int listener) { Serve(listener, true, identity); });
  std::vector<double> in_the_clear, behind_tls;
  for (unsigned i = 0; i < rounds; ++i) {
    in_the_clear.push_back(TimeExchanges(exchanges, plain.port(), ""));
    behind_tls.push_back(TimeExchanges(exchanges, encrypted.port(), identity.Fingerprint()));
  }
  // Two processes on a busy machine: what disturbs a round is not the encryption.
  const double ratio = Fastest(in_the_clear) / Fastest(behind_tls);
  std::printf("%u exchanges: plain %.1f ms, TLS %.1f ms: ratio %.2f (target %.1f)\n", exchanges,
              Fastest(in_the_clear), Fastest(behind_tls), ratio, kTarget);
  return ratio >= kTarget ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  return quillet::Run(quillet::Argument(argc, argv, 1, 20'000),
                      quillet::Argument(argc, argv, 2, 5));
}
