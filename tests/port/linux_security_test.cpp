// SPDX-License-Identifier: GPL-3.0-or-later
// The real mechanism on both sides.
#include "port/linux/linux_security.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "port/linux/gss_library.h"
#include "tests/port/ntlm_acceptor.h"

namespace quillet::port {
namespace {

constexpr SecurityResult kContinue = 0x00090312;

class LinuxSecurityTest : public ::testing::Test {
 protected:
  // The whole exchange; the name that the server has accepted, or "refused".
  std::string LogIn(const SecurityIdentity& identity) {
    const CredentialsHandle credentials = security_.AcquireCredentials(u"NTLM", identity);
    if (credentials == 0) return "no credentials";
    SecurityContextHandle context = 0;
    NtlmAcceptor server;
    std::string challenge;
    const SecurityStep first = security_.InitializeContext(credentials, context, u"InetSvcs", "");
    EXPECT_EQ(first.result, kContinue);
    EXPECT_EQ(server.Accept(first.token, challenge), NtlmAcceptor::Result::kGoesOn);
    const SecurityStep second =
        security_.InitializeContext(credentials, context, u"InetSvcs", challenge);
    EXPECT_EQ(second.result, 0U);
    EXPECT_EQ(second.error, 0);
    proof_ = ReadNtlmProof(second.token);
    std::string nothing;
    const auto result = server.Accept(second.token, nothing);
    security_.FreeCredentials(credentials);
    security_.FreeContext(context);
    return result == NtlmAcceptor::Result::kAccepted ? server.name() : "refused";
  }

  // The client's answer to these bytes in place of a challenge.
  SecurityStep AnswerTo(std::string_view challenge) {
    const CredentialsHandle credentials =
        security_.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"});
    SecurityContextHandle context = 0;
    EXPECT_EQ(security_.InitializeContext(credentials, context, u"InetSvcs", "").result, kContinue);
    SecurityStep step = security_.InitializeContext(credentials, context, u"InetSvcs", challenge);
    // Nothing may follow a step that was the last.
    EXPECT_EQ(security_.InitializeContext(credentials, context, u"InetSvcs", challenge).result,
              0x80090304U);
    security_.FreeContext(context);
    security_.FreeCredentials(credentials);
    return step;
  }

  std::string Challenge() {
    const CredentialsHandle credentials =
        security_.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"});
    SecurityContextHandle context = 0;
    NtlmAcceptor server;
    std::string challenge;
    server.Accept(security_.InitializeContext(credentials, context, u"InetSvcs", "").token,
                  challenge);
    security_.FreeContext(context);
    security_.FreeCredentials(credentials);
    return challenge;
  }

  NtlmUsers users_;
  LinuxSecurity security_;
  NtlmProof proof_;
};

TEST_F(LinuxSecurityTest, PackageIsListed) {
  const auto packages = security_.EnumeratePackages();
  ASSERT_EQ(packages.size(), 1U);
  EXPECT_EQ(packages[0].name, u"NTLM");
  EXPECT_EQ(packages[0].capabilities, 3U);
}

TEST_F(LinuxSecurityTest, RightPasswordIsProvedInTheSecondVersion) {
  EXPECT_EQ(LogIn({u"ann", u"NEWS", u"secret"}), "NEWS\\ann");
  EXPECT_GT(proof_.proof_length, 24U);
  EXPECT_EQ(proof_.domain, u"NEWS");
  EXPECT_EQ(proof_.user, u"ann");
}

TEST_F(LinuxSecurityTest, WrongPasswordOrDomainOrUser) {
  EXPECT_EQ(LogIn({u"ann", u"NEWS", u"Secret"}), "refused");
  EXPECT_EQ(LogIn({u"ann", u"OTHER", u"secret"}), "refused");
  EXPECT_EQ(LogIn({u"and", u"NEWS", u"secret"}), "refused");
}

TEST_F(LinuxSecurityTest, UserWithoutADomain) {
  EXPECT_EQ(LogIn({u"carl", u"", u"nodomain"}), "carl");
  EXPECT_EQ(proof_.domain, u"");
  EXPECT_EQ(proof_.user, u"carl");
}

TEST_F(LinuxSecurityTest, LettersBeyondAscii) {
  EXPECT_EQ(LogIn({u"bob", u"WORK", u"p\u00E4ss\u20AC"}), "WORK\\bob");
  EXPECT_EQ(LogIn({u"bob", u"WORK", u"pass\u20AC"}), "refused");
  // The server's own list of users knows no others than ASCII names.
  LogIn({u"b\u00F6b\u20AC", u"W\u00D6RK", u"secret"});
  EXPECT_EQ(proof_.user, u"b\u00F6b\u20AC");
  EXPECT_EQ(proof_.domain, u"W\u00D6RK");
}

TEST_F(LinuxSecurityTest, AtSignIsPartOfTheUser) {
  EXPECT_EQ(LogIn({u"d@e", u"NEWS", u"at"}), "NEWS\\d@e");
  LogIn({u"ann@NEWS", u"", u"secret"});
  EXPECT_EQ(proof_.user, u"ann@NEWS");
  EXPECT_EQ(proof_.domain, u"");
}

TEST_F(LinuxSecurityTest, NamesThatWouldBeReadOtherwiseAreNotTaken) {
  const SecurityIdentity names[] = {
      {u"", u"", u"secret"},           {u"", u"NEWS", u"secret"}, {u"a\\nn", u"NEWS", u"secret"},
      {u"a\\nn", u"", u"secret"},      {u"ann", u"NE\\WS", u"x"}, {u"ann", u"NE@WS", u"x"},
      {{u"ann\0x", 5}, u"NEWS", u"x"},
  };
  for (const SecurityIdentity& name : names) {
    EXPECT_EQ(security_.AcquireCredentials(u"NTLM", name), 0U);
  }
}

// All of it would be enough for a login of its own.
TEST_F(LinuxSecurityTest, LoginsThatTheUserHasElsewhereAreNotTaken) {
  const Environment user("NTLMUSER", "NEWS\\ann");
  const Environment login("USER", "ann");
  EXPECT_EQ(LogIn({u"ann", u"NEWS", u""}), "no credentials");
  EXPECT_EQ(LogIn({u"", u"", u""}), "no credentials");
  EXPECT_EQ(LogIn({u"", u"NEWS", u"wrong"}), "no credentials");
  EXPECT_EQ(LogIn({u"ann", u"NEWS", u"wrong"}), "refused");
}

TEST_F(LinuxSecurityTest, OtherPackagesAreNotThere) {
  EXPECT_EQ(security_.AcquireCredentials(u"Negotiate", {u"ann", u"NEWS", u"secret"}), 0U);
  EXPECT_EQ(security_.AcquireCredentials(u"", {u"ann", u"NEWS", u"secret"}), 0U);
}

TEST_F(LinuxSecurityTest, WithoutTheLibraryThereAreNoCredentials) {
  LinuxSecurity none("libquillet-no-such.so.2");
  EXPECT_EQ(none.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"}), 0U);
  LinuxSecurity other("libc.so.6");
  EXPECT_EQ(other.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"}), 0U);
}

// The library reads its list once in a process: this is for one of its own, below.
TEST(LinuxSecurityMechanismTest, DISABLED_FindsNoMechanism) {
  LinuxSecurity security;
  EXPECT_TRUE(security.EnumeratePackages().empty());
  EXPECT_EQ(security.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"}), 0U);
}

TEST(LinuxSecurityMechanismTest, WithoutTheMechanismThereAreNoCredentials) {
  const TempFolder folder;
  const std::string oid = "1.3.6.1.4.1.311.2.2.10";
  const std::string lists[] = {"", "# ntlm " + oid + " /bin/true\n",
                               "ntlm " + oid + " " + (folder / "missing.so") + "\n",
                               "other 1.2.3.4 /bin/true\n", oid + "\n"};
  for (const std::string& list : lists) {
    WriteAll(folder / "list", list);
    Child child([&] {
      setenv("GSS_MECH_CONFIG", (folder / "list").c_str(), 1);
      execl("/proc/self/exe", "test", "--gtest_also_run_disabled_tests", "--gtest_brief=1",
            "--gtest_filter=*.DISABLED_FindsNoMechanism", nullptr);
      _exit(127);
    });
    EXPECT_EQ(child.Wait(), 0) << list;
  }
}

TEST(GssResultTest, NumbersThatUsersSee) {
  EXPECT_EQ(SecurityResultOf(0), 0U);
  EXPECT_EQ(SecurityResultOf(1), 0x00090312U);          // continue needed
  EXPECT_EQ(SecurityResultOf(9U << 16), 0x80090308U);   // defective token
  EXPECT_EQ(SecurityResultOf(7U << 16), 0x8009030EU);   // no credentials
  EXPECT_EQ(SecurityResultOf(10U << 16), 0x8009030CU);  // defective credential
  EXPECT_EQ(SecurityResultOf(1U << 16), 0x80090305U);   // no such mechanism
  for (const unsigned routine : {2U, 3U, 4U, 5U, 6U, 8U, 11U, 12U, 13U, 14U, 15U, 16U, 17U, 18U}) {
    EXPECT_EQ(SecurityResultOf(routine << 16), 0x80090304U) << routine;
  }
  // With what went wrong in calling it, and with a hint beside it.
  EXPECT_EQ(SecurityResultOf(1U << 24 | 7U << 16 | 1), 0x8009030EU);
  EXPECT_EQ(SecurityResultOf(1U << 24), 0x80090304U);
}

TEST_F(LinuxSecurityTest, HandlesThatAreNotThere) {
  SecurityContextHandle context = 0;
  EXPECT_EQ(security_.InitializeContext(77, context, u"InetSvcs", "").result, 0x8009030EU);
  EXPECT_EQ(context, 0U);
  const CredentialsHandle credentials =
      security_.AcquireCredentials(u"NTLM", {u"ann", u"NEWS", u"secret"});
  context = 99;
  EXPECT_EQ(security_.InitializeContext(credentials, context, u"InetSvcs", "x").result,
            0x80090304U);
  security_.FreeContext(99);
  security_.FreeContext(0);
  security_.FreeCredentials(credentials);
  security_.FreeCredentials(credentials);
  security_.FreeCredentials(0);
}

TEST_F(LinuxSecurityTest, TokenLongerThanTheBufferIsAFailure) {
  const CredentialsHandle credentials =
      security_.AcquireCredentials(u"NTLM", {std::u16string(950, u'u'), u"NEWS", u"secret"});
  ASSERT_NE(credentials, 0U);
  SecurityContextHandle context = 0;
  security_.InitializeContext(credentials, context, u"InetSvcs", "");
  const SecurityStep step =
      security_.InitializeContext(credentials, context, u"InetSvcs", Challenge());
  EXPECT_EQ(step.result, 0x80090304U);
  EXPECT_EQ(step.token, "");
}

// --- challenges that a hostile server may send ---

TEST_F(LinuxSecurityTest, WhatIsNoChallengeIsAnInvalidToken) {
  for (const std::string_view token :
       {std::string_view(), std::string_view("hello"), std::string_view("NTLMSSP"),
        std::string_view("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 16)}) {
    const SecurityStep step = AnswerTo(token);
    EXPECT_EQ(step.result, 0x80090308U);
    EXPECT_EQ(step.error, 22);
    EXPECT_EQ(step.token, "");
  }
}

TEST_F(LinuxSecurityTest, ChallengeCutAnywhereIsRefused) {
  const std::string challenge = Challenge();
  ASSERT_GT(challenge.size(), 100U);
  // What stands behind the texts is not missed.
  for (std::size_t length = 0; length < 56; ++length) {
    const SecurityStep step = AnswerTo(challenge.substr(0, length));
    EXPECT_NE(step.result, 0U) << length;
    EXPECT_EQ(step.token, "") << length;
  }
  for (std::size_t length = 56; length < challenge.size(); ++length) {
    EXPECT_NE(AnswerTo(challenge.substr(0, length)).result, kContinue) << length;
  }
}

TEST_F(LinuxSecurityTest, HugeLengthsAndOffsetsAreRefused) {
  const std::string challenge = Challenge();
  // Length, room and offset of the target's name, and of the data about it.
  for (const std::size_t field : {12U, 40U}) {
    for (const char* bytes :
         {"\xFF\xFF\xFF\xFF\x38\x00\x00\x00", "\x10\x00\x10\x00\xFF\xFF\xFF\xFF",
          "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "\x10\x00\x10\x00\xF8\xFF\xFF\xFF",
          "\x10\x00\x10\x00\xFF\xFF\xFF\x7F"}) {
      std::string hostile = challenge;
      hostile.replace(field, 8, bytes, 8);
      const SecurityStep step = AnswerTo(hostile);
      EXPECT_EQ(step.token.find("NTLMSSP") == std::string::npos, step.result != 0) << field;
      EXPECT_NE(step.result, kContinue);
    }
  }
}

// This one has ended the process.
TEST_F(LinuxSecurityTest, TargetThatIsSaidToHaveANameButHasNoneIsRefused) {
  std::string challenge = Challenge();
  challenge.replace(12, 2, 2, '\0');
  challenge[22] = static_cast<char>(challenge[22] | 1);
  const SecurityStep step = AnswerTo(challenge);
  EXPECT_EQ(step.result, 0x80090308U);
  EXPECT_EQ(step.error, 22);
}

TEST_F(LinuxSecurityTest, AnyBytesAndAnyChangeOfAChallengeAreLivedWith) {
  std::mt19937 random(4711);  // NOLINT: the same inputs on every run are the point
  const std::string challenge = Challenge();
  for (int i = 0; i < 500; ++i) {
    std::string bytes = challenge;
    for (int changes = 1 + static_cast<int>(random() % 4); changes > 0; --changes) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    const SecurityStep step = AnswerTo(bytes);
    EXPECT_NE(step.result, kContinue);
    EXPECT_LE(step.token.size(), kLongestSecurityToken);
  }
  for (const std::size_t size : {std::size_t{1}, std::size_t{32}, std::size_t{100'000}}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    EXPECT_NE(AnswerTo(bytes).result, 0U);
    EXPECT_NE(AnswerTo(challenge.substr(0, 12) + bytes).result, kContinue);
  }
}

}  // namespace
}  // namespace quillet::port
