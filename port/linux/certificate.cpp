// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/certificate.h"
#include "util/freed_by.h"

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

namespace quillet::port {
namespace {

using Certificate = std::unique_ptr<X509, FreedBy<X509_free>>;
using Names = std::unique_ptr<GENERAL_NAMES, FreedBy<GENERAL_NAMES_free>>;

std::string_view BytesOf(const ASN1_STRING* text) {
  const int length = ASN1_STRING_length(text);
  if (length <= 0) return {};
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
          static_cast<std::size_t>(length)};
}

// The text of an address of four or sixteen bytes; empty for anything else.
std::string AddressText(std::string_view bytes) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (bytes.size() != 4 && bytes.size() != 16) return {};
  const int family = bytes.size() == 4 ? AF_INET : AF_INET6;
  const char* const written = inet_ntop(family, bytes.data(), text.data(), text.size());
  return written == nullptr ? "" : written;
}

// The last, most special entry of that kind.
std::string EntryOf(const X509_NAME* name, int kind) {
  int last = -1;
  for (int i = -1; (i = X509_NAME_get_index_by_NID(name, kind, i)) >= 0;) last = i;
  if (last < 0) return {};
  unsigned char* utf8 = nullptr;
  const ASN1_STRING* const text = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, last));
  const int length = ASN1_STRING_to_UTF8(&utf8, text);
  if (length < 0) return {};
  std::string entry(reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(length));
  OPENSSL_free(utf8);
  return entry;
}

void AddName(CertificateFacts& facts, std::string name) {
  if (name.empty()) return;
  ++facts.name_count;
  if (facts.names.size() < kShownNames) facts.names.push_back(std::move(name));
}

void ReadNames(const X509* certificate, CertificateFacts& facts) {
  const Names names(static_cast<GENERAL_NAMES*>(
      X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
  const int count = names ? sk_GENERAL_NAME_num(names.get()) : 0;
  for (int i = 0; i < count; ++i) {
    int kind = 0;
    const void* const value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &kind);
    if (kind == GEN_DNS) {
      AddName(facts, std::string(BytesOf(static_cast<const ASN1_STRING*>(value))));
    } else if (kind == GEN_IPADD) {
      AddName(facts, AddressText(BytesOf(static_cast<const ASN1_STRING*>(value))));
    }
  }
  // As the check has it: the common name counts where no other name does.
  if (facts.name_count == 0) {
    AddName(facts, EntryOf(X509_get_subject_name(certificate), NID_commonName));
  }
}

std::string ReadIssuer(const X509* certificate) {
  const X509_NAME* const issuer = X509_get_issuer_name(certificate);
  for (const int kind : {NID_commonName, NID_organizationName, NID_organizationalUnitName}) {
    std::string entry = EntryOf(issuer, kind);
    if (!entry.empty()) return entry;
  }
  return {};
}

std::string DateOf(const ASN1_TIME* time) {
  std::tm parts{};
  if (ASN1_TIME_to_tm(time, &parts) != 1) return {};
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", parts.tm_year + 1900, parts.tm_mon + 1,
                parts.tm_mday);
  return text.data();
}

std::string FingerprintOf(std::string_view der) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  if (EVP_Digest(der.data(), der.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) {
    return {};
  }
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    if (i > 0) text += ':';
    text += kDigits[digest[i] >> 4U];
    text += kDigits[digest[i] & 15U];
  }
  return text;
}

}  // namespace

std::optional<CertificateFacts> ReadCertificate(std::string_view der) {
  const auto* next = reinterpret_cast<const unsigned char*>(der.data());
  const unsigned char* const end = next + der.size();
  const Certificate certificate(d2i_X509(nullptr, &next, static_cast<long>(der.size())));
  if (!certificate || next != end) return std::nullopt;
  CertificateFacts facts;
  ReadNames(certificate.get(), facts);
  facts.issuer = ReadIssuer(certificate.get());
  facts.begins = DateOf(X509_get0_notBefore(certificate.get()));
  facts.ends = DateOf(X509_get0_notAfter(certificate.get()));
  facts.fingerprint = FingerprintOf(der);
  return facts;
}

CertificateFault FaultOf(int verify_error) {
  switch (verify_error) {
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
      return CertificateFault::kOtherHost;
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return CertificateFault::kExpired;
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return CertificateFault::kNotYetValid;
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
      return CertificateFault::kSelfSigned;
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_CERT_UNTRUSTED:
      return CertificateFault::kUnknownAuthority;
    case X509_V_ERR_CERT_REVOKED:
      return CertificateFault::kRevoked;
    case X509_V_ERR_EE_KEY_TOO_SMALL:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
    case X509_V_ERR_CA_MD_TOO_WEAK:
      return CertificateFault::kTooWeak;
    case X509_V_ERR_INVALID_PURPOSE:
      return CertificateFault::kNotForServers;
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
      return CertificateFault::kWrongSignature;
    default:
      return CertificateFault::kOther;
  }
}

}  // namespace quillet::port
