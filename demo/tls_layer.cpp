// SPDX-License-Identifier: GPL-3.0-or-later
// OpenSSL over memory: the network's bytes are written into one buffer and read from another, so
// that the poll loop stays the only place that waits.
#include "demo/tls_layer.h"
#include "util/freed_by.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace quillet::demo {
namespace {

using OwnedKey = std::unique_ptr<EVP_PKEY, FreedBy<EVP_PKEY_free>>;
using OwnedX509 = std::unique_ptr<X509, FreedBy<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, FreedBy<X509_EXTENSION_free>>;
using Context = std::unique_ptr<SSL_CTX, FreedBy<SSL_CTX_free>>;
using Connection = std::unique_ptr<SSL, FreedBy<SSL_free>>;
using Bio = std::unique_ptr<BIO, FreedBy<BIO_free>>;

constexpr long kDay = 24L * 60 * 60;
constexpr int kSerialBits = 63;
constexpr std::size_t kPiece = 16384;  // what one TLS record holds
// Answers that wait for a handshake; a client that never ends it gets no more.
constexpr std::size_t kMostWaiting = 65536;

bool AddExtension(X509& certificate, X509& issuer, int kind, const char* value) {
  X509V3_CTX context{};
  X509V3_set_ctx(&context, &issuer, &certificate, nullptr, nullptr, 0);
  const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
  return extension && X509_add_ext(&certificate, extension.get(), -1) == 1;
}

// With a day's margin for clocks that are behind, for the month that nobody keeps a demo running.
OwnedX509 NewCertificate(const char* name, EVP_PKEY& key) {
  OwnedX509 made(X509_new());
  const std::unique_ptr<BIGNUM, FreedBy<BN_free>> number(BN_new());
  if (!made || X509_set_version(made.get(), X509_VERSION_3) != 1) return nullptr;
  if (!number || BN_rand(number.get(), kSerialBits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) != 1 ||
      BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(made.get())) == nullptr) {
    return nullptr;
  }
  X509_gmtime_adj(X509_getm_notBefore(made.get()), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(made.get()), 30 * kDay);
  X509_NAME* const subject = X509_get_subject_name(made.get());
  const auto* const text = reinterpret_cast<const unsigned char*>(name);
  if (X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, text, -1, -1, 0) != 1 ||
      X509_set_pubkey(made.get(), &key) != 1) {
    return nullptr;
  }
  return made;
}

bool Sign(X509& certificate, X509& issuer, EVP_PKEY& key) {
  return X509_set_issuer_name(&certificate, X509_get_subject_name(&issuer)) == 1 &&
         X509_sign(&certificate, &key, EVP_sha256()) > 0;
}

OwnedX509 MakeAuthority(EVP_PKEY& key) {
  OwnedX509 made = NewCertificate("Quillet demo authority", key);
  const bool whole =
      made && AddExtension(*made, *made, NID_basic_constraints, "critical,CA:TRUE") &&
      AddExtension(*made, *made, NID_key_usage, "critical,keyCertSign") &&
      AddExtension(*made, *made, NID_subject_key_identifier, "hash") && Sign(*made, *made, key);
  return whole ? std::move(made) : nullptr;
}

OwnedX509 MakeServer(EVP_PKEY& key, X509& authority, EVP_PKEY& authority_key) {
  OwnedX509 made = NewCertificate("Quillet demo server", key);
  const bool whole =
      made && AddExtension(*made, authority, NID_basic_constraints, "critical,CA:FALSE") &&
      AddExtension(*made, authority, NID_ext_key_usage, "serverAuth") &&
      AddExtension(*made, authority, NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost") &&
      Sign(*made, authority, authority_key);
  return whole ? std::move(made) : nullptr;
}

std::string Pem(X509& certificate) {
  const Bio out(BIO_new(BIO_s_mem()));
  if (!out || PEM_write_bio_X509(out.get(), &certificate) != 1) return {};
  char* text = nullptr;
  const long size = BIO_get_mem_data(out.get(), &text);
  return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

std::string Reason() {
  std::array<char, 256> text{};
  ERR_error_string_n(ERR_get_error(), text.data(), text.size());
  return text.data();
}

}  // namespace

struct TlsAuthority::State {
  Context context;
  std::string certificate;
};

TlsAuthority::TlsAuthority(std::unique_ptr<State> state) : state_(std::move(state)) {}
TlsAuthority::~TlsAuthority() = default;

std::unique_ptr<TlsAuthority> TlsAuthority::Make(std::string& problem) {
  const OwnedKey authority_key(EVP_EC_gen("P-256"));
  const OwnedKey server_key(EVP_EC_gen("P-256"));
  const OwnedX509 authority = authority_key ? MakeAuthority(*authority_key) : nullptr;
  const OwnedX509 server =
      authority && server_key ? MakeServer(*server_key, *authority, *authority_key) : nullptr;
  auto state = std::make_unique<State>();
  state->context.reset(SSL_CTX_new(TLS_server_method()));
  if (!server || !state->context ||
      SSL_CTX_set_min_proto_version(state->context.get(), TLS1_2_VERSION) != 1 ||
      SSL_CTX_use_certificate(state->context.get(), server.get()) != 1 ||
      SSL_CTX_use_PrivateKey(state->context.get(), server_key.get()) != 1) {
    problem = "no certificate could be made: " + Reason();
    return nullptr;
  }
  state->certificate = Pem(*authority);
  return std::unique_ptr<TlsAuthority>(new TlsAuthority(std::move(state)));
}

const std::string& TlsAuthority::Certificate() const {
  return state_->certificate;
}

struct TlsLayer::State {
  Connection connection;
  BIO* from_client = nullptr;  // owned by the connection
  BIO* to_client = nullptr;    // the same
  std::string waiting;         // answers that are not encrypted yet
  std::vector<char> piece = std::vector<char>(kPiece);
  bool broken = false;
};

TlsLayer::TlsLayer(const TlsAuthority& authority) : state_(std::make_unique<State>()) {
  state_->connection.reset(SSL_new(authority.state_->context.get()));
  Bio in(BIO_new(BIO_s_mem())), out(BIO_new(BIO_s_mem()));
  if (!state_->connection || !in || !out) {
    state_->broken = true;
    return;
  }
  state_->from_client = in.get();
  state_->to_client = out.get();
  SSL_set_bio(state_->connection.get(), in.release(), out.release());
  SSL_set_accept_state(state_->connection.get());
}

TlsLayer::~TlsLayer() = default;

// True when the handshake is done or waits for more.
bool TlsLayer::Handshake() {
  SSL* const ssl = state_->connection.get();
  if (SSL_is_init_finished(ssl) == 1) return true;
  ERR_clear_error();
  const int result = SSL_do_handshake(ssl);
  return result == 1 || SSL_get_error(ssl, result) == SSL_ERROR_WANT_READ;
}

bool TlsLayer::Encrypt() {
  SSL* const ssl = state_->connection.get();
  if (state_->waiting.empty() || SSL_is_init_finished(ssl) != 1) {
    return state_->waiting.size() <= kMostWaiting;
  }
  std::size_t written = 0;
  const bool done =
      SSL_write_ex(ssl, state_->waiting.data(), state_->waiting.size(), &written) == 1 &&
      written == state_->waiting.size();
  state_->waiting.clear();
  return done;
}

bool TlsLayer::Receive(std::string_view bytes, std::string& text) {
  if (state_->broken) return false;
  SSL* const ssl = state_->connection.get();
  std::size_t taken = 0;
  bool sound =
      bytes.empty() || BIO_write_ex(state_->from_client, bytes.data(), bytes.size(), &taken) == 1;
  sound = sound && Handshake() && Encrypt();
  std::vector<char>& piece = state_->piece;
  while (sound && SSL_is_init_finished(ssl) == 1) {
    ERR_clear_error();
    std::size_t got = 0;
    if (SSL_read_ex(ssl, piece.data(), piece.size(), &got) != 1) {
      sound = SSL_get_error(ssl, 0) == SSL_ERROR_WANT_READ;
      break;
    }
    text.append(piece.data(), got);
  }
  state_->broken = !sound;
  return sound;
}

void TlsLayer::Send(std::string_view text) {
  if (state_->broken) return;
  state_->waiting += text;
  state_->broken = !Encrypt();
}

void TlsLayer::Close() {
  if (!state_->broken && SSL_is_init_finished(state_->connection.get()) == 1) {
    SSL_shutdown(state_->connection.get());
  }
  state_->broken = true;
}

std::string TlsLayer::TakeOutput() {
  std::string output;
  if (state_->to_client == nullptr) return output;
  std::vector<char>& piece = state_->piece;
  std::size_t got = 0;
  while (BIO_read_ex(state_->to_client, piece.data(), piece.size(), &got) == 1) {
    output.append(piece.data(), got);
  }
  return output;
}

}  // namespace quillet::demo
