// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/port/tls_server.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>
#include <signal.h>

#include <array>
#include <atomic>

namespace quillet::port {
namespace {

void AddExtension(X509* certificate, const X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, const_cast<X509*>(issuer), certificate, nullptr, nullptr, 0);
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  ASSERT_NE(extension, nullptr) << value;
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

void AddExtensions(X509* certificate, const X509* issuer, const CertificateWish& wish) {
  if (wish.authority) {
    AddExtension(certificate, issuer, NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(certificate, issuer, NID_key_usage, "critical,keyCertSign,cRLSign");
  }
  if (wish.for_clients) AddExtension(certificate, issuer, NID_ext_key_usage, "clientAuth");
  if (wish.alternative.empty()) return;
  AddExtension(certificate, issuer, NID_subject_alt_name, wish.alternative);
}

}  // namespace

std::string Identity::Der() const {
  unsigned char* bytes = nullptr;
  const int size = i2d_X509(certificate.get(), &bytes);
  EXPECT_GT(size, 0);
  std::string der(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
  OPENSSL_free(bytes);
  return der;
}

std::string Identity::Pem() const {
  const std::unique_ptr<BIO, FreedBy<BIO_free_all>> bio(BIO_new(BIO_s_mem()));
  EXPECT_EQ(PEM_write_bio_X509(bio.get(), certificate.get()), 1);
  char* text = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

Identity MakeIdentity(const CertificateWish& wish, const Identity* issuer) {
  static std::atomic<long> serial{1};
  Identity made;
  made.key.reset(wish.weak ? EVP_RSA_gen(1024) : EVP_EC_gen("P-256"));
  made.certificate.reset(X509_new());
  X509* const certificate = made.certificate.get();
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial++);
  EXPECT_EQ(ASN1_TIME_set_string_X509(X509_getm_notBefore(certificate), wish.from.c_str()), 1);
  EXPECT_EQ(ASN1_TIME_set_string_X509(X509_getm_notAfter(certificate), wish.to.c_str()), 1);
  X509_NAME* const name = X509_get_subject_name(certificate);
  EXPECT_EQ(
      X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                 reinterpret_cast<const unsigned char*>(wish.common_name.data()),
                                 static_cast<int>(wish.common_name.size()), -1, 0),
      1);
  const Identity& signer = issuer == nullptr ? made : *issuer;
  X509_set_issuer_name(certificate, X509_get_subject_name(signer.certificate.get()));
  X509_set_pubkey(certificate, made.key.get());
  AddExtensions(certificate, signer.certificate.get(), wish);
  EXPECT_GT(X509_sign(certificate, signer.key.get(), EVP_sha256()), 0);
  return made;
}

SslContext MakeServerContext(const ServerWish& wish) {
  SslContext context(SSL_CTX_new(TLS_server_method()));
  // Old versions and weak keys, which the library keeps back, are what some tests are about.
  SSL_CTX_set_security_level(context.get(), 0);
  SSL_CTX_set_cipher_list(context.get(), "ALL:@SECLEVEL=0");
  EXPECT_EQ(SSL_CTX_set_min_proto_version(context.get(), wish.lowest), 1);
  EXPECT_EQ(SSL_CTX_set_max_proto_version(context.get(), wish.highest), 1);
  EXPECT_EQ(SSL_CTX_use_certificate(context.get(), wish.identity->certificate.get()), 1);
  EXPECT_EQ(SSL_CTX_use_PrivateKey(context.get(), wish.identity->key.get()), 1);
  for (const Identity* link : wish.chain) {
    SSL_CTX_add1_chain_cert(context.get(), link->certificate.get());
  }
  if (wish.asks_for_certificate) SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
  return context;
}

TlsPeer::TlsPeer(SSL_CTX* context, int client) : ssl_(SSL_new(context)), client_(client) {
  SSL_set_fd(ssl_.get(), client);
}

bool TlsPeer::Accept() {
  return SSL_accept(ssl_.get()) == 1;
}

bool TlsPeer::Send(std::string_view data) {
  std::size_t sent = 0;
  return data.empty() || SSL_write_ex(ssl_.get(), data.data(), data.size(), &sent) == 1;
}

std::string TlsPeer::ReceiveExactly(std::size_t count) {
  std::string data(count, '\0');
  std::size_t have = 0;
  while (have < count) {
    std::size_t got = 0;
    if (SSL_read_ex(ssl_.get(), data.data() + have, count - have, &got) != 1) break;
    have += got;
  }
  data.resize(have);
  return data;
}

std::string TlsPeer::ReceiveAll() {
  std::string data;
  for (std::string part; !(part = ReceiveExactly(1)).empty();) data += part;
  return data;
}

bool TlsPeer::farewell() const {
  return (SSL_get_shutdown(ssl_.get()) & SSL_RECEIVED_SHUTDOWN) != 0;
}

std::string TlsPeer::sni() const {
  const char* const name = SSL_get_servername(ssl_.get(), TLSEXT_NAMETYPE_host_name);
  return name == nullptr ? "" : name;
}

TlsServer::TlsServer(const ServerWish& wish, std::function<void(TlsPeer&)> serve,
                     const Address& address)
    : context_(MakeServerContext(wish)) {
  server_ = std::make_unique<LoopbackServer>(
      [context = context_.get(), serve = std::move(serve)](int client) {
        // The library writes without caring for signals; those of the client still count.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        TlsPeer peer(context, client);
        if (peer.Accept()) serve(peer);
      },
      address);
}

}  // namespace quillet::port
