// SPDX-License-Identifier: GPL-3.0-or-later
// The library reads and writes through a BIO of its own that leads to the carrier, which waits. A
// wait that was ended asks the library to try again, so that its state survives and a last word can
// still be sent; only an unfinished record cannot be continued, and nothing is written behind it.
//
// The peer is checked from within the handshake: before the client's last flight, so that one that
// is refused gets an alert and nothing else.
#include "port/linux/tls_stream.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "port/linux/certificate_text.h"
#include "port/linux/peer_check.h"
#include "util/format.h"
#include "util/freed_by.h"

namespace quillet::port {
namespace {

// Enough for four records: what has come takes one receive.
constexpr std::size_t kReadBuffer = 4 * (16384 + 512);

// The host as certificates name it: without the blanks around a typed address, without the dot of
// the root and without an interface.
std::string CertifiedName(std::string host) {
  host.erase(0, std::min(host.find_first_not_of(' '), host.size()));
  host.erase(host.find_last_not_of(' ') + 1);
  if (host.find(':') != std::string::npos) host = host.substr(0, host.find('%'));
  if (host.ends_with('.')) host.pop_back();
  return host;
}

bool IsAddress(const std::string& host) {
  in6_addr any{};
  return inet_pton(AF_INET, host.c_str(), &any) == 1 ||
         inet_pton(AF_INET6, host.c_str(), &any) == 1;
}

// A peer without a version that is safe says so, or answers with another.
bool IsAboutVersions(int reason) {
  return reason == SSL_R_UNSUPPORTED_PROTOCOL || reason == SSL_R_TLSV1_ALERT_PROTOCOL_VERSION ||
         reason == SSL_R_WRONG_VERSION_NUMBER || reason == SSL_R_WRONG_SSL_VERSION ||
         reason == SSL_R_VERSION_TOO_LOW;
}

}  // namespace

class TlsStream::State {
 public:
  explicit State(TlsCarrier carrier) : carrier_(std::move(carrier)) {}

  TlsResult Handshake(const TlsRequest& request);
  std::int64_t Receive(std::span<char> buffer);
  bool Send(std::string_view data);
  void SayFarewell();
  bool carrier_failed() const { return carrier_failed_; }

 private:
  bool SetUp(const std::string& host);
  bool NameHost(const std::string& host);
  BIO* MakeBio();
  std::u16string ExplainFailure(const std::u16string& host) const;

  static int ReadBio(BIO* bio, char* data, int size);
  static int WriteBio(BIO* bio, const char* data, int size);
  static long ControlBio(BIO* bio, int command, long number, void* pointer);
  static int VerifyPeer(X509_STORE_CTX* context, void* self);

  TlsCarrier carrier_;
  std::unique_ptr<BIO_METHOD, FreedBy<BIO_meth_free>> method_;
  std::unique_ptr<SSL_CTX, FreedBy<SSL_CTX_free>> context_;
  std::unique_ptr<SSL, FreedBy<SSL_free>> ssl_;  // before the two above it

  std::optional<char> first_byte_;  // of what the peer sent
  bool closed_ = false;             // by the peer
  bool carrier_failed_ = false;
  bool write_failed_ = false;  // part of a record may be on its way
  bool may_wait_ = true;

  std::optional<PeerCheck> peer_;
};

int TlsStream::State::ReadBio(BIO* bio, char* data, int size) {
  State& self = *static_cast<State*>(BIO_get_data(bio));
  BIO_clear_retry_flags(bio);
  if (size <= 0) return 0;
  const std::int64_t got = self.carrier_.receive({data, static_cast<std::size_t>(size)});
  if (got < 0) {
    self.carrier_failed_ = true;
    BIO_set_retry_read(bio);
    return -1;
  }
  if (got == 0) self.closed_ = true;
  if (got > 0 && !self.first_byte_) self.first_byte_ = *data;
  return static_cast<int>(got);
}

int TlsStream::State::WriteBio(BIO* bio, const char* data, int size) {
  State& self = *static_cast<State*>(BIO_get_data(bio));
  BIO_clear_retry_flags(bio);
  const std::string_view bytes(data, static_cast<std::size_t>(std::max(size, 0)));
  if (!self.write_failed_ && self.carrier_.send(bytes, self.may_wait_)) return size;
  self.carrier_failed_ = true;
  self.write_failed_ = true;
  BIO_set_retry_write(bio);
  return -1;
}

long TlsStream::State::ControlBio(BIO* bio, int command, long, void*) {
  if (command == BIO_CTRL_FLUSH) return 1;
  return command == BIO_CTRL_EOF && static_cast<State*>(BIO_get_data(bio))->closed_ ? 1 : 0;
}

BIO* TlsStream::State::MakeBio() {
  method_.reset(BIO_meth_new(BIO_TYPE_SOURCE_SINK, "connection"));
  if (!method_) return nullptr;
  BIO_meth_set_read(method_.get(), ReadBio);
  BIO_meth_set_write(method_.get(), WriteBio);
  BIO_meth_set_ctrl(method_.get(), ControlBio);
  BIO* const bio = BIO_new(method_.get());
  if (bio == nullptr) return nullptr;
  BIO_set_data(bio, this);
  BIO_set_init(bio, 1);
  return bio;
}

// Tells the peer whom the user wants, and the check whom to look for. False for what can be neither
// a name nor an address.
bool TlsStream::State::NameHost(const std::string& host) {
  if (host.empty() || host.find('\0') != std::string::npos) return false;
  X509_VERIFY_PARAM* const check = SSL_get0_param(ssl_.get());
  if (IsAddress(host)) return X509_VERIFY_PARAM_set1_ip_asc(check, host.c_str()) == 1;
  X509_VERIFY_PARAM_set_hostflags(check, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  return X509_VERIFY_PARAM_set1_host(check, host.data(), host.size()) == 1 &&
         SSL_set_tlsext_host_name(ssl_.get(), host.c_str()) == 1;
}

bool TlsStream::State::SetUp(const std::string& host) {
  context_.reset(SSL_CTX_new(TLS_client_method()));
  if (!context_) return false;
  SSL_CTX* const context = context_.get();
  if (SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION) != 1) return false;
  SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION | SSL_OP_IGNORE_UNEXPECTED_EOF);
  SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
  SSL_CTX_set_read_ahead(context, 1);
  SSL_CTX_set_default_read_buffer_len(context, kReadBuffer);
  SSL_CTX_set_default_verify_paths(context);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  SSL_CTX_set_cert_verify_callback(context, VerifyPeer, this);
  ssl_.reset(SSL_new(context));
  if (!ssl_ || !NameHost(host)) return false;
  BIO* const bio = MakeBio();
  if (bio == nullptr) return false;
  SSL_set_bio(ssl_.get(), bio, bio);
  return true;
}

// 1 lets the handshake go on.
int TlsStream::State::VerifyPeer(X509_STORE_CTX* context, void* self) {
  return static_cast<State*>(self)->peer_->Accepts(context) ? 1 : 0;
}

TlsResult TlsStream::State::Handshake(const TlsRequest& request) {
  peer_.emplace(request);
  ERR_clear_error();
  const bool shaken = SetUp(CertifiedName(request.host)) && SSL_connect(ssl_.get()) == 1;
  TlsResult result = peer_->result();
  if (shaken && peer_->accepted()) {
    result.outcome = TlsOutcome::kDone;
  } else if (result.outcome == TlsOutcome::kFailed) {
    result.problem = ExplainFailure(HostNameText(request.host));
  }
  ERR_clear_error();
  return result;
}

std::u16string TlsStream::State::ExplainFailure(const std::u16string& host) const {
  constexpr char kAlert = 0x15, kHandshake = 0x16;
  if (first_byte_ && *first_byte_ != kAlert && *first_byte_ != kHandshake) {
    return FormatWide(u"%ls does not speak TLS on this port.", host);
  }
  const unsigned long error = ERR_peek_error();
  const char* const reason = ERR_reason_error_string(error);
  if (ERR_GET_LIB(error) == ERR_LIB_SSL && IsAboutVersions(ERR_GET_REASON(error))) {
    return FormatWide(u"%ls offers no version of TLS that is safe enough (TLS 1.2 at least).",
                      host);
  }
  if (closed_ || carrier_failed_) {
    return FormatWide(u"The connection to %ls ended during the TLS handshake.", host);
  }
  return FormatWide(u"No encrypted connection to %ls is possible: %ls.", host,
                    AuthorityText(reason == nullptr ? "unknown error" : reason));
}

std::int64_t TlsStream::State::Receive(std::span<char> buffer) {
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<int>::max());
  ERR_clear_error();
  carrier_failed_ = false;
  const int got =
      SSL_read(ssl_.get(), buffer.data(), static_cast<int>(std::min(buffer.size(), kMost)));
  if (got > 0) return got;
  return SSL_get_error(ssl_.get(), got) == SSL_ERROR_ZERO_RETURN ? 0 : -1;
}

bool TlsStream::State::Send(std::string_view data) {
  carrier_failed_ = false;
  while (!data.empty()) {
    std::size_t sent = 0;
    ERR_clear_error();
    if (write_failed_ || SSL_write_ex(ssl_.get(), data.data(), data.size(), &sent) != 1) {
      write_failed_ = true;
      return false;
    }
    data.remove_prefix(sent);
  }
  return true;
}

void TlsStream::State::SayFarewell() {
  if (write_failed_ || !ssl_ || !SSL_is_init_finished(ssl_.get())) return;
  may_wait_ = false;
  SSL_shutdown(ssl_.get());
  ERR_clear_error();
}

TlsStream::TlsStream(TlsCarrier carrier) : state_(std::make_unique<State>(std::move(carrier))) {}

TlsStream::~TlsStream() = default;

TlsResult TlsStream::Handshake(const TlsRequest& request) {
  return state_->Handshake(request);
}

bool TlsStream::carrier_failed() const {
  return state_->carrier_failed();
}

std::int64_t TlsStream::Receive(std::span<char> buffer) {
  return state_->Receive(buffer);
}

bool TlsStream::Send(std::string_view data) {
  return state_->Send(data);
}

void TlsStream::SayFarewell() {
  state_->SayFarewell();
}

}  // namespace quillet::port
