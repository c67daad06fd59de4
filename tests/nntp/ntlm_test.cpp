// SPDX-License-Identifier: GPL-3.0-or-later
// The encrypted login, word for word, with canned tokens.
#include "nntp/ntlm.h"

#include <gmock/gmock.h>

#include <string>

#include "nntp/auth.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

using port::SecurityStep;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t kContinue = 0x00090312;

class NtlmTest : public NntpTest {
 protected:
  NtlmTest() {
    gDownloadList.clear();
    gPrefs->useauths = {1};
    gPrefs->usentlms = {1};
    gPrefs->authusers = {u"ann\\NEWS"};
    gPrefs->authpasses = {u"s\u00E9cret"};
    fake.security.packages = {{u"NTLM", 3}};
    Server("201 welcome\r\n");
  }

  ~NtlmTest() override {
    EXPECT_THAT(fake.security.credentials, IsEmpty());
    EXPECT_THAT(fake.security.contexts, IsEmpty());
    EXPECT_EQ(fake.security.wrongly_freed, 0);
  }

  void Run() { end_ = RunWithProgress(u"Preparing to download...", OpenConnection); }

  void Steps(SecurityStep first, SecurityStep second) {
    fake.security.steps = {std::move(first), std::move(second)};
  }
  void UsualSteps() { Steps({kContinue, 0, "hello"}, {0, 0, "proof"}); }

  // Up to the first token's reply.
  void Challenges(const std::string& reply) {
    Exchange("AUTHINFO GENERIC NTLM", "381 go on");
    Exchange("AUTHINFO GENERIC aGVsbG8=", reply);
  }

  RunEnd end_ = RunEnd::kGoOn;
};

TEST_F(NtlmTest, WholeExchange) {
  UsualSteps();
  Challenges("381 d2hvIGFyZSB5b3U/");
  Exchange("AUTHINFO GENERIC cHJvb2Y=", "281 welcome ann");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_THAT(fake.security.calls, ElementsAre("AcquireCredentials NTLM ann|NEWS|s\xC3\xA9"
                                               "cret",
                                               "InitializeContext 1 0 InetSvcs ",
                                               "InitializeContext 1 2 InetSvcs who are you?",
                                               "FreeCredentials 1", "FreeContext 2"));
}

TEST_F(NtlmTest, CommandsAreNotLogged) {
  UsualSteps();
  Challenges("381 d2hv");
  Exchange("AUTHINFO GENERIC cHJvb2Y=", "281 ok");
  Quits();
  Run();
  EXPECT_EQ(TransactionLog(),
            "Quillet CE 1.14r3 transaction log\r\n201 welcome\r\n201 welcome\r\n381 go on\r\n"
            "381 d2hv\r\n281 ok\r\nQUIT\r\n");
}

TEST_F(NtlmTest, NoLoginIsMadeForAServerWithoutOne) {
  gPrefs->useauths = {0};
  Quits();
  Run();
  EXPECT_THAT(fake.security.calls, IsEmpty());
}

TEST_F(NtlmTest, ServerThatDoesNotKnowIt) {
  Exchange("AUTHINFO GENERIC NTLM", "501 what?");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"While negotiating NTLM AUTHINFO, the server responded '501 what?\r\n'.\r\n");
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_THAT(fake.security.calls, IsEmpty());
}

TEST_F(NtlmTest, WelcomeBeforeAnyTokenIsARefusal) {
  Exchange("AUTHINFO GENERIC NTLM", "281 fine");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"While negotiating NTLM AUTHINFO, the server responded '281 fine\r\n'.\r\n");
  EXPECT_EQ(end_, RunEnd::kRefused);
}

TEST_F(NtlmTest, CredentialsThatCannotBeAcquired) {
  fake.security.fail_acquire_in = 1;
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"AcquireCredentialsHandle failed; unable to send encrypted credentials.\r\n");
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_THAT(fake.security.calls, ::testing::SizeIs(1));
}

TEST_F(NtlmTest, SystemWithoutPackages) {
  fake.security.packages.clear();
  LoadSecurityInterface();
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"AcquireCredentialsHandle failed; unable to send encrypted credentials.\r\n");
}

TEST_F(NtlmTest, FirstStepThatDoesNotAskForMoreTellsTheServersReply) {
  for (const std::uint32_t result : {0U, 0x80090304U, 0x80090308U}) {
    for (const bool leaves_context : {false, true}) {
      SCOPED_TRACE(result);
      fake.security.calls.clear();
      fake.security.context_of_failed_step = leaves_context;
      Steps({result, 7, "hello"}, {0, 0, "proof"});
      Exchange("AUTHINFO GENERIC NTLM", "381 go on");
      Quits();
      Run();
      EXPECT_EQ(ErrorLog(),
                u"While negotiating NTLM AUTHINFO, the server responded '381 go on\r\n'.\r\n");
      EXPECT_EQ(end_, RunEnd::kRefused);
      EXPECT_THAT(fake.security.credentials, IsEmpty());
      EXPECT_THAT(fake.security.contexts, IsEmpty());
      Server("201 welcome\r\n");  // of the next round
    }
  }
  fake.sockets.Release();
}

TEST_F(NtlmTest, ServerThatRefusesTheFirstToken) {
  UsualSteps();
  Challenges("482 no");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"While negotiating NTLM AUTHINFO, the server responded '482 no\r\n'.\r\n");
  EXPECT_EQ(end_, RunEnd::kRefused);
}

TEST_F(NtlmTest, ChallengeBeginsBehindTheReplyCode) {
  for (const auto& [reply, challenge] :
       {std::pair("381 Zm9v", "foo"), std::pair("381Zm9v", "foo"),
        std::pair("381 \t Zm9v bar", "foo"), std::pair("381", ""), std::pair("381 ", ""),
        std::pair("381 *", ""), std::pair("381 Zg==", "f")}) {
    SCOPED_TRACE(reply);
    fake.security.calls.clear();
    UsualSteps();
    Challenges(reply);
    Exchange("AUTHINFO GENERIC cHJvb2Y=", "281 ok");
    Quits();
    Run();
    ASSERT_GE(fake.security.calls.size(), 3U);
    EXPECT_TRUE(EndsWith(fake.security.calls[2], std::string(" InetSvcs ") + challenge))
        << fake.security.calls[2];
    Server("201 welcome\r\n");  // of the next round
  }
  fake.sockets.Release();
}

TEST_F(NtlmTest, SecondStepThatFailsSaysTheNumbers) {
  const std::pair<SecurityStep, std::u16string> cases[] = {
      {{0x80090308, 1314127873, ""}, u"80090308; error is 1314127873"},
      {{0x8009030E, 0, ""}, u"8009030e; error is 0"},
      {{0x8009030C, -5, ""}, u"8009030c; error is -5"},
      {{0x80090305, 1, ""}, u"80090305; error is 1"},
      {{0x80090304, 22, "x"}, u"80090304; error is 22"},
      {{kContinue, 0, "more"}, u"90312; error is 0"},
  };
  for (const auto& [step, said] : cases) {
    Steps({kContinue, 0, "hello"}, step);
    Challenges("381 d2hv");
    Quits();
    Run();
    EXPECT_EQ(ErrorLog(), u"While negotiating NTLM AUTHINFO, ISC returned " + said);
    EXPECT_EQ(end_, RunEnd::kRefused);
    Server("201 welcome\r\n");  // of the next round
  }
  fake.sockets.Release();
}

TEST_F(NtlmTest, FinalReplyThatBeginsWithAFiveIsTheOnlyFailure) {
  for (const char* reply : {"281 ok", "400 later", "381 more", "482 no", "hello", "0"}) {
    UsualSteps();
    Challenges("381 d2hv");
    Exchange("AUTHINFO GENERIC cHJvb2Y=", reply);
    Quits();
    Run();
    EXPECT_EQ(end_, RunEnd::kGoOn) << reply;
    EXPECT_EQ(ErrorLog(), u"") << reply;
    Server("201 welcome\r\n");
  }
  UsualSteps();
  Challenges("381 d2hv");
  Exchange("AUTHINFO GENERIC cHJvb2Y=", "502 wrong password");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(),
            u"While negotiating NTLM AUTHINFO, the server responded '502 wrong password\r\n'.\r\n");
}

TEST_F(NtlmTest, LongestTokensGoOutWhole) {
  const std::string first(2048, 'a');
  const std::string second(2048, '\xFF');
  Steps({kContinue, 0, first}, {0, 0, second});
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  std::string coded;
  for (int i = 0; i < 682; ++i) coded += "YWFh";
  Exchange("AUTHINFO GENERIC " + coded + "YWE=", "381 d2hv");
  Exchange("AUTHINFO GENERIC " + std::string(2728, '/') + "//8=", "281 ok");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(NtlmTest, ChallengeLongerThanTheLineBufferIsALoss) {
  UsualSteps();
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Client("AUTHINFO GENERIC aGVsbG8=\r\n");
  Server("381 " + std::string(100'000, 'A') + "\r\n");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
  fake.sockets.Release();
}

TEST_F(NtlmTest, LongestReplyIsTaken) {
  UsualSteps();
  Challenges("381 " + std::string(2047 - 6, 'A'));
  Exchange("AUTHINFO GENERIC cHJvb2Y=", "281 ok");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_TRUE(EndsWith(fake.security.calls[2], std::string(2041 * 6 / 8, '\0')));
}

TEST_F(NtlmTest, LossOfEachReplyAndEachCommand) {
  const auto lay_down = [this](int until) {
    UsualSteps();
    Client("AUTHINFO GENERIC NTLM\r\n");
    if (until == 0) return fake.sockets.Closes();
    Server("381 go on\r\n");
    Client("AUTHINFO GENERIC aGVsbG8=\r\n");
    if (until == 1) return fake.sockets.Closes();
    Server("381 d2hv\r\n");
    Client("AUTHINFO GENERIC cHJvb2Y=\r\n");
    fake.sockets.Closes();
  };
  const std::u16string once = u"socket destroyed\r\n";
  for (int until = 0; until < 3; ++until) {
    lay_down(until);
    Run();
    // The first one is told by the reader and by the login.
    EXPECT_EQ(ErrorLog(), until == 0 ? once + once : once) << until;
    EXPECT_EQ(end_, RunEnd::kLost) << until;
    Server("201 welcome\r\n");
  }
  fake.sockets.Release();
}

class NtlmSendTest : public NtlmTest, public ::testing::WithParamInterface<int> {};

TEST_P(NtlmSendTest, CommandThatCannotBeSentIsALoss) {
  UsualSteps();
  const int sent = GetParam();
  if (sent > 1) Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  if (sent > 2) Exchange("AUTHINFO GENERIC aGVsbG8=", "381 d2hv");
  Quits();
  fake.sockets.FailSend(sent, 10054);
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
}

INSTANTIATE_TEST_SUITE_P(Each, NtlmSendTest, ::testing::Values(1, 2, 3));

TEST_F(NtlmTest, CancelDuringTheExchangeEndsItWithoutAWord) {
  UsualSteps();
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Client("AUTHINFO GENERIC aGVsbG8=\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  fake.sockets.Stalls();
  Run();
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_EQ(ErrorLog(), u"");
  fake.sockets.Release();
}

TEST_F(NtlmTest, EntryWithoutABackslashIsTheUserAndNoDomain) {
  gPrefs->authusers = {u"ann@news.example"};
  fake.security.fail_acquire_in = 1;
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Quits();
  Run();
  EXPECT_THAT(fake.security.calls, ElementsAre("AcquireCredentials NTLM ann@news.example||s\xC3\xA9"
                                               "cret"));
}

TEST_F(NtlmTest, EntriesOfTheSelectedServerAreUsed) {
  gPrefs->numservers = 2;
  gPrefs->selectedserver = 1;
  gPrefs->servers = {u"other.example.org", u"news.example.org"};
  gPrefs->port = {119, 119};
  gPrefs->useauths = {0, 1};
  gPrefs->usentlms = {0, 1};
  gPrefs->authusers = {u"first\\ONE", u"second\\TWO"};
  gPrefs->authpasses = {u"one", u"two"};
  fake.security.fail_acquire_in = 1;
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Quits();
  Run();
  EXPECT_THAT(fake.security.calls, ElementsAre("AcquireCredentials NTLM second|TWO|two"));
}

TEST_F(NtlmTest, ListsWithoutAnEntryGiveEmptyTexts) {
  gPrefs->authusers = {};
  gPrefs->authpasses = {};
  fake.security.fail_acquire_in = 1;
  Exchange("AUTHINFO GENERIC NTLM", "381 go on");
  Quits();
  Run();
  EXPECT_THAT(fake.security.calls, ElementsAre("AcquireCredentials NTLM ||"));
}

TEST(SplitUserNameTest, FirstBackslashParts) {
  const auto split = [](std::u16string_view text) {
    const SplitName name = SplitUserName(text);
    return std::pair(name.user, name.domain);
  };
  using Parts = std::pair<std::u16string, std::u16string>;
  EXPECT_EQ(split(u"ann"), Parts(u"ann", u""));
  EXPECT_EQ(split(u"ann\\NEWS"), Parts(u"ann", u"NEWS"));
  EXPECT_EQ(split(u"ann\\NEWS\\x"), Parts(u"ann", u"NEWS\\x"));
  EXPECT_EQ(split(u"\\NEWS"), Parts(u"", u"NEWS"));
  EXPECT_EQ(split(u"ann\\"), Parts(u"ann", u""));
  EXPECT_EQ(split(u""), Parts(u"", u""));
}

class SecurityInterfaceTest : public NntpTest {};

TEST_F(SecurityInterfaceTest, LastPackageWithIntegrityOrPrivacyIsKept) {
  fake.security.packages = {{u"Other", 1}, {u"NTLM", 0xFFFE}, {u"Third", 0xFFFC}, {u"Fourth", 0}};
  LoadSecurityInterface();
  EXPECT_EQ(gSecurityInterface.best_package, 1);
  ASSERT_EQ(gSecurityInterface.packages.size(), 4U);
  EXPECT_EQ(gSecurityInterface.packages[1].name, u"NTLM");
  EXPECT_THAT(fake.security.calls, ElementsAre("EnumeratePackages"));
}

TEST_F(SecurityInterfaceTest, NoSuchPackageIsMinusOne) {
  fake.security.packages = {{u"NTLM", 0xFFFFFFFC}};
  LoadSecurityInterface();
  EXPECT_EQ(gSecurityInterface.best_package, -1);
  fake.security.packages = {};
  LoadSecurityInterface();
  EXPECT_EQ(gSecurityInterface.best_package, -1);
  EXPECT_THAT(gSecurityInterface.packages, IsEmpty());
}

}  // namespace
}  // namespace quillet
