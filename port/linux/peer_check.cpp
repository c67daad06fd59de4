// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/peer_check.h"

#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <utility>

#include "port/linux/certificate.h"
#include "util/format.h"

namespace quillet::port {
namespace {

std::string DerOf(const X509* certificate) {
  if (certificate == nullptr) return {};
  unsigned char* bytes = nullptr;
  const int size = i2d_X509(certificate, &bytes);
  if (size <= 0) return {};
  std::string der(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
  OPENSSL_free(bytes);
  return der;
}

}  // namespace

PeerCheck::PeerCheck(const TlsRequest& request) : host_(request.host), pinned_(request.pinned) {}

bool PeerCheck::Refuse(TlsOutcome outcome, std::u16string problem) {
  result_.outcome = outcome;
  result_.problem = std::move(problem);
  return false;
}

// A pinned certificate stands for itself: neither its name nor its age nor who signed it matters,
// and no other one will do.
bool PeerCheck::Accepts(X509_STORE_CTX* context) {
  const auto leaf = ReadCertificate(DerOf(X509_STORE_CTX_get0_cert(context)));
  if (!leaf || leaf->fingerprint.empty()) {
    X509_STORE_CTX_set_error(context, X509_V_ERR_UNSPECIFIED);
    return false;
  }
  result_.fingerprint = leaf->fingerprint;
  accepted_ = pinned_.empty() ? X509_verify_cert(context) == 1 : pinned_ == leaf->fingerprint;
  if (accepted_) return true;
  if (!pinned_.empty()) {
    X509_STORE_CTX_set_error(context, X509_V_ERR_CERT_REJECTED);
    return Refuse(TlsOutcome::kChangedPin,
                  FormatWide(u"The certificate of %ls is not the one that was trusted.",
                             HostNameText(host_)));
  }
  const int error = X509_STORE_CTX_get_error(context);
  const auto failed = ReadCertificate(DerOf(X509_STORE_CTX_get_current_cert(context)));
  const bool own = X509_STORE_CTX_get_error_depth(context) == 0;
  return Refuse(TlsOutcome::kUntrusted, DescribeFault(FaultOf(error), host_, failed.value_or(*leaf),
                                                      own, X509_verify_cert_error_string(error)));
}

}  // namespace quillet::port
