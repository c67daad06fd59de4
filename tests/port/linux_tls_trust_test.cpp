// SPDX-License-Identifier: GPL-3.0-or-later
// Whom an encrypted connection trusts, and how it tells whom it does not.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <atomic>

#include "tests/port/linux_tls_fixture.h"

namespace quillet::port {
namespace {

// As the library prints it, without help of the sources under test.
std::string FingerprintOf(const Identity& identity) {
  unsigned char digest[32];
  unsigned size = sizeof digest;
  EXPECT_EQ(X509_digest(identity.certificate.get(), EVP_sha256(), digest, &size), 1);
  std::string text;
  for (const unsigned char byte : digest) {
    char part[4];
    std::snprintf(part, sizeof part, "%02X:", byte);
    text += part;
  }
  text.pop_back();
  return text;
}

TEST_F(LinuxTls, GoodServerIsTrusted) {
  const TlsResult result = TryIdentity({.identity = &GoodIdentity()});
  EXPECT_EQ(result.outcome, TlsOutcome::kDone);
  EXPECT_EQ(result.problem, u"");
  EXPECT_EQ(result.fingerprint, FingerprintOf(GoodIdentity()));
  EXPECT_EQ(result.fingerprint.size(), 95U);
}

TEST_F(LinuxTls, CertificateOfAnotherHostIsToldWithItsName) {
  const TlsResult result =
      TryCertificate({.common_name = "x", .alternative = "DNS:mail.example.org"});
  EXPECT_EQ(result.outcome, TlsOutcome::kUntrusted);
  EXPECT_EQ(result.problem, u"The certificate of news.example.org is for mail.example.org.");
  EXPECT_EQ(result.fingerprint.size(), 95U);
}

TEST_F(LinuxTls, ManyNamesAreCounted) {
  EXPECT_EQ(
      TryCertificate({.common_name = "x", .alternative = "DNS:a.example,DNS:b.example"}).problem,
      u"The certificate of news.example.org is for a.example, b.example.");
  EXPECT_EQ(TryCertificate({.common_name = "x",
                            .alternative = "DNS:a.example,DNS:b.example,IP:192.0.2.7,DNS:d.example,"
                                           "IP:2001:db8::7"})
                .problem,
            u"The certificate of news.example.org is for a.example, b.example, 192.0.2.7 and 2 "
            u"more.");
}

TEST_F(LinuxTls, CommonNameIsTheNameWhereThereIsNoOther) {
  EXPECT_EQ(TryCertificate({.common_name = "news.example.org", .alternative = ""}).outcome,
            TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate({.common_name = "mail.example.org", .alternative = ""}).problem,
            u"The certificate of news.example.org is for mail.example.org.");
  EXPECT_EQ(
      TryCertificate({.common_name = "news.example.org", .alternative = "DNS:a.example"}).outcome,
      TlsOutcome::kUntrusted);
}

TEST_F(LinuxTls, NamesAreHeldToTheHostAsItWasGiven) {
  const CertificateWish wild{.common_name = "x", .alternative = "DNS:*.example.org"};
  EXPECT_EQ(TryCertificate(wild).outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wild, "NEWS.Example.ORG").outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wild, "news.example.org.").outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wild, "a.news.example.org").outcome, TlsOutcome::kUntrusted);
  EXPECT_EQ(TryCertificate(wild, "example.org").outcome, TlsOutcome::kUntrusted);
  EXPECT_EQ(TryCertificate({.common_name = "x", .alternative = "DNS:n*.example.org"}).outcome,
            TlsOutcome::kUntrusted)
      << "half a label";
}

TEST_F(LinuxTls, AddressesAreHeldToAddresses) {
  const CertificateWish wish{.common_name = "x",
                             .alternative = "IP:127.0.0.1,IP:::1,DNS:a.example"};
  EXPECT_EQ(TryCertificate(wish, "127.0.0.1").outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wish, " 127.0.0.1 ").outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wish, "::1").outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wish, "::1%lo").outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryCertificate(wish, "127.0.0.2").problem,
            u"The certificate of 127.0.0.2 is for 127.0.0.1, ::1, a.example.");
  EXPECT_EQ(
      TryCertificate({.common_name = "x", .alternative = "DNS:127.0.0.1"}, "127.0.0.1").outcome,
      TlsOutcome::kUntrusted)
      << "the text of an address is no address";
}

TEST_F(LinuxTls, NameIsSentAndAnAddressIsNot) {
  std::string seen = "none";
  const Identity identity =
      MakeIdentity({.common_name = "x", .alternative = "DNS:news.example.org,IP:127.0.0.1"},
                   &TrustedAuthority());
  for (const auto& [host, sent] :
       {std::pair{"news.example.org.", "news.example.org"}, std::pair{"127.0.0.1", ""}}) {
    {
      const TlsServer server({.identity = &identity}, [&](TlsPeer& peer) { seen = peer.sni(); });
      EXPECT_EQ(Try(server.port(), host).outcome, TlsOutcome::kDone);
      EXPECT_EQ(Receive(1), "");
    }
    EXPECT_EQ(seen, sent);
  }
}

TEST_F(LinuxTls, ExpiredCertificateIsToldWithItsDay) {
  const TlsResult result = TryCertificate(
      {.common_name = "x", .alternative = "DNS:news.example.org", .to = "20260102030405Z"});
  EXPECT_EQ(result.outcome, TlsOutcome::kUntrusted);
  EXPECT_EQ(result.problem, u"The certificate of news.example.org has expired on 2026-01-02.");
}

TEST_F(LinuxTls, CertificateOfTheFutureIsToldWithItsDay) {
  EXPECT_EQ(
      TryCertificate(
          {.common_name = "x", .alternative = "DNS:news.example.org", .from = "20980203040506Z"})
          .problem,
      u"The certificate of news.example.org is not valid before 2098-02-03.");
}

TEST_F(LinuxTls, ExpiredAuthorityIsNotTakenForTheServer) {
  const Identity old = MakeIdentity(
      {.common_name = "Old", .to = "20250203040506Z", .authority = true}, &TrustedAuthority());
  const Identity identity =
      MakeIdentity({.common_name = "x", .alternative = "DNS:news.example.org"}, &old);
  EXPECT_EQ(TryIdentity({.identity = &identity, .chain = {&old}}).problem,
            u"A certificate that vouches for news.example.org has expired on 2025-02-03.");
}

TEST_F(LinuxTls, SelfSignedCertificateIsTold) {
  const TlsResult result = TryCertificate(
      {.common_name = "x", .alternative = "DNS:news.example.org"}, "news.example.org", nullptr);
  EXPECT_EQ(result.outcome, TlsOutcome::kUntrusted);
  EXPECT_EQ(result.problem,
            u"The certificate of news.example.org is signed by itself, by no authority.");
}

TEST_F(LinuxTls, UnknownAuthorityIsToldWithItsName) {
  const Identity unknown = MakeIdentity({.common_name = "Somebody \u202E", .authority = true});
  const Identity identity =
      MakeIdentity({.common_name = "x", .alternative = "DNS:news.example.org"}, &unknown);
  const std::u16string problem =
      u"The certificate of news.example.org is from an authority that this computer does not "
      u"know: Somebody ?.";
  EXPECT_EQ(TryIdentity({.identity = &identity}).problem, problem);
  EXPECT_EQ(TryIdentity({.identity = &identity, .chain = {&unknown}}).problem, problem);
}

TEST_F(LinuxTls, AuthorityBetweenIsFollowed) {
  const Identity between =
      MakeIdentity({.common_name = "Between", .authority = true}, &TrustedAuthority());
  const Identity identity =
      MakeIdentity({.common_name = "x", .alternative = "DNS:news.example.org"}, &between);
  EXPECT_EQ(TryIdentity({.identity = &identity, .chain = {&between}}).outcome, TlsOutcome::kDone);
  EXPECT_EQ(TryIdentity({.identity = &identity}).outcome, TlsOutcome::kUntrusted);
}

TEST_F(LinuxTls, ServerThatSignsForOthersIsNoAuthority) {
  const Identity identity =
      MakeIdentity({.common_name = "x", .alternative = "DNS:news.example.org"}, &GoodIdentity());
  EXPECT_EQ(TryIdentity({.identity = &identity, .chain = {&GoodIdentity()}}).outcome,
            TlsOutcome::kUntrusted);
}

TEST_F(LinuxTls, WeakKeysAndCertificatesOfClientsAreTold) {
  EXPECT_EQ(
      TryCertificate({.common_name = "x", .alternative = "DNS:news.example.org", .weak = true})
          .problem,
      u"The certificate of news.example.org has a key or a signature that is too weak.");
  EXPECT_EQ(TryCertificate(
                {.common_name = "x", .alternative = "DNS:news.example.org", .for_clients = true})
                .problem,
            u"The certificate of news.example.org is not meant for a server.");
}

TEST_F(LinuxTls, PinnedCertificateNeedsNobodyElse) {
  const Identity identity = MakeIdentity(
      {.common_name = "x", .alternative = "DNS:mail.example.org", .to = "20250102000000Z"});
  const TlsResult result =
      TryIdentity({.identity = &identity}, "news.example.org", FingerprintOf(identity));
  EXPECT_EQ(result.outcome, TlsOutcome::kDone);
  EXPECT_EQ(result.problem, u"");
  EXPECT_EQ(result.fingerprint, FingerprintOf(identity));
}

TEST_F(LinuxTls, AnotherCertificateThanThePinnedOneIsRefusedEvenWhenItIsGood) {
  const Identity pinned = MakeIdentity({.common_name = "x", .alternative = "DNS:news.example.org"});
  const TlsResult result =
      TryIdentity({.identity = &GoodIdentity()}, "news.example.org", FingerprintOf(pinned));
  EXPECT_EQ(result.outcome, TlsOutcome::kChangedPin);
  EXPECT_EQ(result.problem,
            u"The certificate of news.example.org is not the one that was trusted.");
  EXPECT_EQ(result.fingerprint, FingerprintOf(GoodIdentity()));
  EXPECT_EQ(TryIdentity({.identity = &GoodIdentity()}, "news.example.org", "nonsense").outcome,
            TlsOutcome::kChangedPin);
}

TEST_F(LinuxTls, OldVersionsAreRefused) {
  for (const int version : {TLS1_VERSION, TLS1_1_VERSION}) {
    const TlsResult result =
        TryIdentity({.identity = &GoodIdentity(), .lowest = TLS1_VERSION, .highest = version});
    EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
    EXPECT_EQ(result.problem,
              u"news.example.org offers no version of TLS that is safe enough (TLS 1.2 at least).");
    EXPECT_EQ(result.fingerprint, "");
  }
}

TEST_F(LinuxTls, NewerVersionsAreTaken) {
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    EXPECT_EQ(
        TryIdentity({.identity = &GoodIdentity(), .lowest = version, .highest = version}).outcome,
        TlsOutcome::kDone);
  }
}

TEST_F(LinuxTls, ServerThatAsksForACertificateGetsNone) {
  EXPECT_EQ(TryIdentity({.identity = &GoodIdentity(), .asks_for_certificate = true}).outcome,
            TlsOutcome::kDone);
}

TEST_F(LinuxTls, HostThatIsNoneGetsNotAByte) {
  std::atomic<int> bytes{0}, served{0};
  LoopbackServer server([&](int client) {
    bytes += static_cast<int>(ReceiveExactly(client, 10).size());
    ++served;
  });
  for (const std::string& host : {std::string(), std::string("  "), std::string("."),
                                  std::string("news\0.example.org", 17)}) {
    EXPECT_EQ(Try(server.port(), host).outcome, TlsOutcome::kFailed);
    ExpectDead();
    sockets_.Close(socket_);
  }
  EXPECT_TRUE(Eventually([&] { return served == 4; }));
  EXPECT_EQ(bytes, 0);
}

TEST_F(LinuxTls, WithoutAuthoritiesNobodyIsTrusted) {
  const Environment none("SSL_CERT_FILE", folder_ / "missing.pem");
  EXPECT_EQ(TryIdentity({.identity = &GoodIdentity()}).outcome, TlsOutcome::kUntrusted);
}

}  // namespace
}  // namespace quillet::port
