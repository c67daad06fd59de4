// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/server_security.h"

#include <gtest/gtest.h>

#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "port/fake/gtest_failures.h"

namespace quillet {
namespace {

constexpr std::u16string_view kSecurity = u"Software\\Brindle\\Quillet\\Extensions\\ServerSecurity";
constexpr std::u16string_view kCertificates =
    u"Software\\Brindle\\Quillet\\Extensions\\TrustedCertificates";

class ServerSecurityTest : public ::testing::Test {
 protected:
  ~ServerSecurityTest() override { ResetProgram(); }

  bool Write(std::vector<SecuredServer> servers) { return WriteServerSecurities(servers); }

  port::FakePlatform fake;
};

TEST_F(ServerSecurityTest, ServerWithoutAValueHasNone) {
  EXPECT_EQ(ReadServerSecurity(u"news.example.org"), ServerSecurity::kNone);
  fake.registry.PutDword(kSecurity, u"another", 1);
  EXPECT_EQ(ReadServerSecurity(u"news.example.org"), ServerSecurity::kNone);
}

TEST_F(ServerSecurityTest, ValuesAreReadByNameWhateverItsCase) {
  fake.registry.PutDword(kSecurity, u"News.Example.org", 1);
  fake.registry.PutDword(kSecurity, u"two", 2);
  EXPECT_EQ(ReadServerSecurity(u"news.example.ORG"), ServerSecurity::kTls);
  EXPECT_EQ(ReadServerSecurity(u"two"), ServerSecurity::kStartTls);
}

// What was secured once must not go out in the clear because of a damaged value.
TEST_F(ServerSecurityTest, ValueThatIsNoneOfTheThreeIsTls) {
  for (const std::uint32_t number : {3U, 256U, 0xFFFFFFFFU, 0x01000000U}) {
    fake.registry.PutDword(kSecurity, u"one", number);
    EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kTls) << number;
  }
  fake.registry.PutString(kSecurity, u"one", u"0");
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kTls);
  fake.registry.Put(kSecurity, u"one", port::RegistryType::kDword, "");
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kTls);
}

TEST_F(ServerSecurityTest, SettingsThatCannotBeReadSayNothing) {
  fake.registry.obstacle = u"it is damaged";
  EXPECT_EQ(ReadServerSecurity(u"one"), std::nullopt);
}

TEST_F(ServerSecurityTest, WritesOnlyWhatDiffers) {
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kNone}}));
  EXPECT_FALSE(fake.registry.KeyExists(kSecurity));
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kNone}, {u"two", ServerSecurity::kTls}}));
  EXPECT_EQ(fake.registry.FindDword(kSecurity, u"one"), std::nullopt);
  EXPECT_EQ(fake.registry.FindDword(kSecurity, u"two"), 1U);
  const int sets = fake.registry.sets();
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kNone}, {u"TWO", ServerSecurity::kTls}}));
  EXPECT_EQ(fake.registry.sets(), sets);
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kStartTls}, {u"two", ServerSecurity::kTls}}));
  EXPECT_EQ(fake.registry.sets(), sets + 1);
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kStartTls);
}

TEST_F(ServerSecurityTest, ServersThatHaveGoneAreForgotten) {
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kTls}, {u"two", ServerSecurity::kStartTls}}));
  EXPECT_TRUE(Write({{u"two", ServerSecurity::kStartTls}}));
  EXPECT_EQ(fake.registry.FindDword(kSecurity, u"one"), 0U);
  EXPECT_EQ(fake.registry.FindDword(kSecurity, u"two"), 2U);
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kNone);
}

TEST_F(ServerSecurityTest, AreWrittenInOneStepOrNotAtAll) {
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kTls}, {u"two", ServerSecurity::kTls}}));
  fake.registry.FailCommit(1);
  EXPECT_FALSE(Write({{u"one", ServerSecurity::kStartTls}, {u"two", ServerSecurity::kNone}}));
  EXPECT_EQ(fake.registry.FindDword(kSecurity, u"one"), 1U);
  EXPECT_EQ(fake.registry.FindDword(kSecurity, u"two"), 1U);
}

TEST_F(ServerSecurityTest, WhatCouldNotBeStoredIsInForceUntilTheEnd) {
  fake.registry.PutDword(kSecurity, u"two", 2);
  fake.registry.SetReadOnly(true);
  EXPECT_FALSE(Write({{u"One", ServerSecurity::kTls}, {u"two", ServerSecurity::kNone}}));
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kTls);
  EXPECT_EQ(ReadServerSecurity(u"two"), ServerSecurity::kNone);
  fake.registry.SetReadOnly(false);
  EXPECT_TRUE(Write({{u"one", ServerSecurity::kStartTls}}));
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kStartTls);
  fake.registry.SetReadOnly(true);
  EXPECT_FALSE(Write({{u"one", ServerSecurity::kNone}}));
  ResetProgram();
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kStartTls);
}

TEST_F(ServerSecurityTest, OnlyAUsualPortFollowsTheChoice) {
  EXPECT_EQ(PortFor(ServerSecurity::kTls, 119), 563U);
  EXPECT_EQ(PortFor(ServerSecurity::kTls, 563), 563U);
  EXPECT_EQ(PortFor(ServerSecurity::kTls, 8119), 8119U);
  EXPECT_EQ(PortFor(ServerSecurity::kNone, 563), 119U);
  EXPECT_EQ(PortFor(ServerSecurity::kStartTls, 563), 119U);
  EXPECT_EQ(PortFor(ServerSecurity::kStartTls, 119), 119U);
  EXPECT_EQ(PortFor(ServerSecurity::kNone, 8119), 8119U);
}

TEST_F(ServerSecurityTest, CertificatesAreTrustedByServerAndPort) {
  EXPECT_EQ(TrustedCertificate(u"one", 563), "");
  EXPECT_TRUE(TrustCertificate(u"one", 563, "AB:CD"));
  EXPECT_EQ(fake.registry.FindString(kCertificates, u"one:563"), u"AB:CD");
  EXPECT_EQ(TrustedCertificate(u"ONE", 563), "AB:CD");
  EXPECT_EQ(TrustedCertificate(u"one", 119), "");
  EXPECT_EQ(TrustedCertificate(u"on", 563), "");
}

TEST_F(ServerSecurityTest, CertificatesOfAServerAreForgottenForEveryPort) {
  TrustCertificate(u"one", 563, "AB");
  TrustCertificate(u"one", 119, "CD");
  TrustCertificate(u"one:1", 563, "EF");
  TrustCertificate(u"one.org", 563, "01");
  EXPECT_TRUE(ForgetTrustedCertificates(u"ONE"));
  EXPECT_EQ(TrustedCertificate(u"one", 563), "");
  EXPECT_EQ(TrustedCertificate(u"one", 119), "");
  EXPECT_EQ(TrustedCertificate(u"one:1", 563), "EF");
  EXPECT_EQ(TrustedCertificate(u"one.org", 563), "01");
}

TEST_F(ServerSecurityTest, TrustThatCouldNotBeStoredLastsUntilTheEnd) {
  fake.registry.SetReadOnly(true);
  EXPECT_FALSE(TrustCertificate(u"one", 563, "AB"));
  EXPECT_EQ(TrustedCertificate(u"one", 563), "AB");
  EXPECT_FALSE(ForgetTrustedCertificates(u"one"));
  EXPECT_EQ(TrustedCertificate(u"one", 563), "");
  fake.registry.SetReadOnly(false);
  EXPECT_TRUE(TrustCertificate(u"one", 563, "CD"));
  ResetProgram();
  EXPECT_EQ(TrustedCertificate(u"one", 563), "CD");
}

}  // namespace
}  // namespace quillet
