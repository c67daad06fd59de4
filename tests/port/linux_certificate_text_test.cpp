// SPDX-License-Identifier: GPL-3.0-or-later
// Names of strangers as text that does no harm, and the sentences made of them.
#include <gtest/gtest.h>

#include "port/linux/certificate.h"
#include "tests/port/tls_server.h"

namespace quillet::port {
namespace {

using namespace std::string_literals;

TEST(HostNameText, PlainNamesStayAsTheyAre) {
  for (const std::string name : {"", "news.example.org", "*.Example-1.org", "a_b.c", "2001:db8::7",
                                 "fe80::1%eth0", "xn--bcher-kva.example"}) {
    EXPECT_EQ(HostNameText(name), std::u16string(name.begin(), name.end()));
  }
}

TEST(HostNameText, OtherBytesAreShownAsNumbers) {
  EXPECT_EQ(HostNameText("news.example.org\0.evil.example"s),
            u"news.example.org\\x00.evil.example");
  EXPECT_EQ(HostNameText("a b,c\"d\\"), u"a\\x20b\\x2cc\\x22d\\x5c");
  EXPECT_EQ(HostNameText("\r\n\x1B\x7F"), u"\\x0d\\x0a\\x1b\\x7f");
  EXPECT_EQ(HostNameText("b\xC3\xBC.example"), u"b\\xc3\\xbc.example");
  EXPECT_EQ(HostNameText("\xE2\x80\xAE"), u"\\xe2\\x80\\xae");
}

TEST(HostNameText, OfALongNameTheEndIsShown) {
  const std::string name = "news.example.org." + std::string(1000, 'a') + ".evil.example";
  const std::u16string text = HostNameText(name);
  EXPECT_EQ(text.size(), 64U);
  EXPECT_TRUE(text.starts_with(u"...aaa"));
  EXPECT_TRUE(text.ends_with(u"aaa.evil.example"));
  EXPECT_EQ(HostNameText(std::string(64, 'b')), std::u16string(64, u'b'));
  EXPECT_EQ(HostNameText(std::string(65, 'b')), u"..." + std::u16string(61, u'b'));
  EXPECT_EQ(HostNameText(std::string(30, '\0')).size(), 64U);
}

TEST(AuthorityText, LettersOfEveryScriptStay) {
  EXPECT_EQ(AuthorityText("\xC3\x9C"
                          "berwachung GmbH, \xE6\x97\xA5\xE6\x9C\xAC"),
            u"\u00DCberwachung GmbH, \u65E5\u672C");
}

TEST(AuthorityText, InvisibleAndTurningCharactersBecomeQuestionMarks) {
  EXPECT_EQ(AuthorityText("a\x07\r\n\0b"s), u"a????b");
  EXPECT_EQ(AuthorityText("a\xC2\x85"
                          "b"),
            u"a?b");
  EXPECT_EQ(AuthorityText("a\xE2\x80\xAE"
                          "b\xE2\x81\xA6"
                          "c\xE2\x80\x8F"),
            u"a?b?c?");
  EXPECT_EQ(AuthorityText("\xEF\xBB\xBF"
                          "a\xC2\xAD\xE2\x80\x8B"),
            u"?a??");
  EXPECT_EQ(AuthorityText("\xFF\xC0\x80").find_first_not_of(u'?'), std::u16string::npos);
  EXPECT_EQ(AuthorityText("\xF3\xA0\x81\x81"
                          "a"),
            u"??a")
      << "a tag character";
}

TEST(AuthorityText, LongNamesAreCutAtTheEnd) {
  EXPECT_EQ(AuthorityText(std::string(64, 'c')), std::u16string(64, u'c'));
  EXPECT_EQ(AuthorityText(std::string(65, 'c')), std::u16string(61, u'c') + u"...");
  EXPECT_EQ(AuthorityText(std::string(100'000, 'c')), std::u16string(61, u'c') + u"...");
}

TEST(HostNamesText, FewAreShownAndTheRestIsCounted) {
  CertificateFacts facts;
  EXPECT_EQ(HostNamesText(facts), u"");
  facts.names = {"a.example"};
  facts.name_count = 1;
  EXPECT_EQ(HostNamesText(facts), u"a.example");
  facts.names = {"a.example", "b.example", "c.example"};
  facts.name_count = 3;
  EXPECT_EQ(HostNamesText(facts), u"a.example, b.example, c.example");
  facts.name_count = 1003;
  EXPECT_EQ(HostNamesText(facts), u"a.example, b.example, c.example and 1000 more");
}

TEST(DescribeFault, EveryFaultIsOneSentence) {
  CertificateFacts facts;
  facts.names = {"mail.example.org"};
  facts.name_count = 1;
  facts.issuer = "Somebody";
  facts.begins = "2027-01-02";
  facts.ends = "2026-01-02";
  const auto text = [&](CertificateFault fault, bool own = true) {
    return DescribeFault(fault, "news.example.org", facts, own, "path length exceeded");
  };
  using enum CertificateFault;
  EXPECT_EQ(text(kOtherHost), u"The certificate of news.example.org is for mail.example.org.");
  EXPECT_EQ(text(kExpired), u"The certificate of news.example.org has expired on 2026-01-02.");
  EXPECT_EQ(text(kExpired, false),
            u"A certificate that vouches for news.example.org has expired on 2026-01-02.");
  EXPECT_EQ(text(kNotYetValid),
            u"The certificate of news.example.org is not valid before 2027-01-02.");
  EXPECT_EQ(text(kNotYetValid, false),
            u"A certificate that vouches for news.example.org is not valid before 2027-01-02.");
  EXPECT_EQ(text(kSelfSigned),
            u"The certificate of news.example.org is signed by itself, by no authority.");
  EXPECT_EQ(text(kUnknownAuthority),
            u"The certificate of news.example.org is from an authority that this computer does "
            u"not know: Somebody.");
  EXPECT_EQ(text(kRevoked), u"The certificate of news.example.org has been revoked.");
  EXPECT_EQ(text(kTooWeak, false),
            u"A certificate that vouches for news.example.org has a key or a signature that is "
            u"too weak.");
  EXPECT_EQ(text(kNotForServers),
            u"The certificate of news.example.org is not meant for a server.");
  EXPECT_EQ(text(kWrongSignature), u"The certificate of news.example.org has a wrong signature.");
  EXPECT_EQ(text(kOther),
            u"The certificate of news.example.org cannot be trusted: path length exceeded.");
}

TEST(DescribeFault, CertificateMayLackWhatTheSentenceNames) {
  const CertificateFacts facts;
  using enum CertificateFault;
  EXPECT_EQ(DescribeFault(kOtherHost, "a.example", facts, true, ""),
            u"The certificate of a.example names no host.");
  EXPECT_EQ(DescribeFault(kExpired, "a.example", facts, true, ""),
            u"The certificate of a.example has expired on an unknown day.");
  EXPECT_EQ(DescribeFault(kUnknownAuthority, "a.example", facts, true, ""),
            u"The certificate of a.example is from an authority that this computer does not know: "
            u"without a name.");
}

TEST(ReadCertificate, FactsAreThoseOfTheCertificate) {
  const Identity identity = MakeIdentity({.common_name = "R\u00FCbe",
                                          .alternative = "DNS:a.example,email:x@y.example,IP:::1,"
                                                         "DNS:c.example,DNS:d.example",
                                          .from = "20210304050607Z",
                                          .to = "20991231235959Z"});
  const auto facts = ReadCertificate(identity.Der());
  ASSERT_TRUE(facts.has_value());
  EXPECT_EQ(facts->names, (std::vector<std::string>{"a.example", "::1", "c.example"}));
  EXPECT_EQ(facts->name_count, 4U);
  EXPECT_EQ(facts->issuer,
            "R\xC3\xBC"
            "be");
  EXPECT_EQ(facts->begins, "2021-03-04");
  EXPECT_EQ(facts->ends, "2099-12-31");
  EXPECT_EQ(facts->fingerprint.size(), 95U);
}

TEST(ReadCertificate, CutAndForeignBytesAreNone) {
  const std::string der = MakeIdentity({}).Der();
  EXPECT_FALSE(ReadCertificate(""));
  EXPECT_FALSE(ReadCertificate("no certificate"));
  EXPECT_FALSE(ReadCertificate(der + "x"));
  for (std::size_t size = 0; size < der.size(); ++size) {
    EXPECT_FALSE(ReadCertificate(std::string_view(der).substr(0, size))) << size;
  }
}

}  // namespace
}  // namespace quillet::port
