// SPDX-License-Identifier: GPL-3.0-or-later
// TLS in the session: when it starts, what goes out before it, and what becomes of certificates
// that prove nothing.
#include "nntp/secure.h"

#include <gmock/gmock.h>

#include "base/server_security.h"
#include "nntp/connection.h"
#include "store/pending_posts.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

using port::TlsOutcome;

constexpr std::u16string_view kSecurity = u"Software\\Brindle\\Quillet\\Extensions\\ServerSecurity";
constexpr char kFingerprint[] = "AB:CD:EF";

class SecureTest : public NntpTest {
 protected:
  SecureTest() { ChooseGroups({}); }

  void Secure(ServerSecurity security) {
    fake.registry.PutDword(kSecurity, u"news.example.org", static_cast<std::uint32_t>(security));
    if (security == ServerSecurity::kTls) gPrefs->port = {563};
  }
  void Run() {
    end_ = RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(gConnection.wire.socket(), 0U);
    EXPECT_EQ(fake.sockets.open_sockets(), 0);
  }
  void Tls(TlsOutcome outcome = TlsOutcome::kDone) {
    fake.sockets.Tls(outcome == TlsOutcome::kDone
                         ? port::TlsResult{outcome, u"", kFingerprint}
                         : port::TlsResult{outcome, u"It is bad.", kFingerprint});
  }
  // Everything up to TLS that STARTTLS brings.
  void StartsTls(const std::string& greeting = "200 welcome") {
    Server(greeting + "\r\n");
    Exchange("STARTTLS", "382 go");
  }
  void LearnsAboutPosting(const std::string& reply = "200 reader") {
    Exchange("MODE READER", reply);
  }
  void Queue() {
    OpenStore();
    fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
    AsciiArticle post;
    post.messageId = "1";
    post.headers = "Newsgroups: a.b\r\n";
    post.body = "text\r\n";
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  void Posts() {
    Exchange("POST", "340 go");
    Client("Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
    Server("240 taken\r\n");
  }

  static constexpr const char16_t* kQuestion =
      u"It is bad.\r\n\r\nSHA-256 fingerprint:\r\nAB:CD:EF\r\n\r\nTrust this certificate from now "
      u"on?";
  static constexpr const char16_t* kLogged =
      u"It is bad.\r\n\r\nSHA-256 fingerprint:\r\nAB:CD:EF\r\n";
  static constexpr const char16_t* kChanged =
      u"It is bad.\r\n\r\nSHA-256 fingerprint:\r\nAB:CD:EF\r\n\r\nNothing was sent. If the server "
      u"has got a new certificate, choose its security anew on the page \"Server\" of the "
      u"preferences and press OK: at the next connection you are asked about it.";

  RunEnd end_ = RunEnd::kGoOn;
};

// --- When ----------------------------------------------------------------------------------------

TEST_F(SecureTest, WithoutSecurityTheSessionIsAsEver) {
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_TRUE(fake.sockets.tls_requests().empty());
  EXPECT_EQ(TransactionLog(),
            "Quillet CE 1.14r3 transaction log\r\n200 welcome\r\n200 welcome\r\nQUIT\r\n");
}

TEST_F(SecureTest, TlsFromTheStartComesBeforeTheGreeting) {
  Secure(ServerSecurity::kTls);
  Tls();
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  ASSERT_EQ(fake.sockets.tls_requests().size(), 1U);
  EXPECT_EQ(fake.sockets.tls_requests()[0].host, "news.example.org");
  EXPECT_EQ(fake.sockets.tls_requests()[0].pinned, "");
  EXPECT_EQ(fake.sockets.connections()[0].port, 563);
  EXPECT_EQ(TransactionLog(),
            "Quillet CE 1.14r3 transaction log\r\n#(the connection is encrypted)\r\n"
            "200 welcome\r\n200 welcome\r\nQUIT\r\n");
  EXPECT_THAT(Details(), ::testing::Contains(u"Securing the connection..."));
}

TEST_F(SecureTest, StartTlsComesRightAfterTheGreeting) {
  Secure(ServerSecurity::kStartTls);
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  StartsTls();
  Tls();
  LearnsAboutPosting();
  Exchange("AUTHINFO USER ann", "281 welcome");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(TransactionLog(),
            "Quillet CE 1.14r3 transaction log\r\n200 welcome\r\n200 welcome\r\nSTARTTLS\r\n"
            "382 go\r\n#(the connection is encrypted)\r\nMODE READER\r\n200 reader\r\n"
            "AUTHINFO USER ann\r\n281 welcome\r\nQUIT\r\n");
}

TEST_F(SecureTest, OtherServersAreNotConcerned) {
  fake.registry.PutDword(kSecurity, u"other.example.org", 1);
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_TRUE(fake.sockets.tls_requests().empty());
}

TEST_F(SecureTest, SettingsThatCannotBeReadSendNothing) {
  fake.registry.obstacle = u"it is damaged";
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  EXPECT_TRUE(fake.sockets.connections().empty());
  EXPECT_EQ(ErrorLog(), u"The security of the news server could not be read.\r\n");
}

// --- No way back into the clear ------------------------------------------------------------------

TEST_F(SecureTest, ServerWithoutStartTlsGetsNothingButAQuit) {
  Secure(ServerSecurity::kStartTls);
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  ChooseGroups({0});
  for (const char* reply :
       {"580 no", "502 no", "500 what", "480 log in", "483 no", "200 yes", "38", "282 go"}) {
    Server("200 welcome\r\n");
    Exchange("STARTTLS", reply);
    Quits();
    Run();
    EXPECT_EQ(end_, RunEnd::kRefused);
    EXPECT_EQ(ErrorLog(), FormatWide(u"The news server offers no STARTTLS: %ls\r\n", reply));
  }
  EXPECT_TRUE(fake.sockets.tls_requests().empty());
}

// Whoever is on the way can put replies behind the server's: they came in the clear.
TEST_F(SecureTest, WhatComesWithTheReplyToStartTlsIsDropped) {
  Secure(ServerSecurity::kStartTls);
  Server("200 welcome\r\n");
  Client("STARTTLS\r\n");
  Server("382 go\r\n201 no posting, and a line without an end");
  Tls();
  LearnsAboutPosting();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(TransactionLog().find("no posting"), std::string::npos);
}

TEST_F(SecureTest, PermissionToPostIsLearntAnewAfterStartTls) {
  Secure(ServerSecurity::kStartTls);
  Queue();
  StartsTls("200 posting allowed");
  Tls();
  LearnsAboutPosting("201 posting not allowed");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"The news server does not allow posting. Skipping queued posts.\r\n");
  StartsTls("201 posting not allowed");
  Tls();
  LearnsAboutPosting("200 posting allowed");
  Posts();
  Quits();
  Run();
  EXPECT_EQ(CountPendingPosts(), 0U);
}

// It says nothing about posting: POST itself will be answered.
TEST_F(SecureTest, ServerThatDoesNotKnowModeReaderIsAskedByPost) {
  Secure(ServerSecurity::kStartTls);
  Queue();
  StartsTls("201 posting not allowed");
  Tls();
  LearnsAboutPosting("500 what");
  Posts();
  Quits();
  Run();
  EXPECT_EQ(CountPendingPosts(), 0U);
}

TEST_F(SecureTest, LoginThatModeReaderAsksForIsGivenOnce) {
  Secure(ServerSecurity::kStartTls);
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  StartsTls();
  Tls();
  Exchange("MODE READER", "480 log in");
  Exchange("AUTHINFO USER ann", "281 welcome");
  LearnsAboutPosting();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(SecureTest, HandshakeThatFailsEndsTheRunWithoutAQuit) {
  for (const ServerSecurity security : {ServerSecurity::kTls, ServerSecurity::kStartTls}) {
    Secure(security);
    fake.display.ForgetBoxes();
    if (security == ServerSecurity::kStartTls) StartsTls();
    Tls(TlsOutcome::kFailed);
    Run();
    EXPECT_EQ(end_, RunEnd::kUnreachable);
    EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{u"It is bad.\r\n"});
    EXPECT_EQ(TransactionLog().find("QUIT"), std::string::npos);
  }
}

TEST_F(SecureTest, FirstHandshakeThatFailsIsNotTriedAgain) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 3);
  Secure(ServerSecurity::kTls);
  fake.sockets.Stalls();
  fake.sockets.FailNth(port::SocketCall::kStartTls, 1, 10054);
  fake.sockets.Release();
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  EXPECT_EQ(fake.sockets.connections().size(), 1U);
  EXPECT_EQ(ErrorLog(), u"The connection ended during the handshake.\r\n");
}

TEST_F(SecureTest, HandshakeOfARetryThatIsLostIsTriedAgain) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 3);
  Secure(ServerSecurity::kTls);
  ChooseGroups({0});
  OpenStore();
  Tls();
  Server("200 welcome\r\n");
  Client("GROUP comp.lang.misc\r\n");
  fake.sockets.Closes();
  Tls(TlsOutcome::kFailed);
  Tls();
  Server("200 welcome\r\n");
  Exchange("GROUP comp.lang.misc", "211 0 1 0 comp.lang.misc");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\nIt is bad.\r\n");
}

TEST_F(SecureTest, ServerThatIsSilentInTheHandshakeIsSaidToBe) {
  Secure(ServerSecurity::kTls);
  fake.sockets.StallsForGood();
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  EXPECT_EQ(ErrorLog(), u"The news server has not answered for 90 seconds.\r\n");
}

TEST_F(SecureTest, CancelInTheHandshakeLeavesWithoutAWord) {
  Secure(ServerSecurity::kTls);
  fake.sockets.on_call = [](port::SocketCall call, int) {
    if (call == port::SocketCall::kStartTls) RequestAbort();
  };
  fake.sockets.Stalls();
  Run();
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_TRUE(fake.display.boxes().empty());
  EXPECT_EQ(ErrorLog(), u"");
}

// --- Certificates that prove nothing -------------------------------------------------------------

TEST_F(SecureTest, UntrustedCertificateIsAskedAboutAndNoIsTheDefault) {
  Secure(ServerSecurity::kTls);
  gPrefs->skipverifications = 1;
  fake.display.Expect(kQuestion, port::kIdNo);
  Tls(TlsOutcome::kUntrusted);
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  // Once is enough.
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet confirmation");
  EXPECT_EQ(fake.display.boxes()[0].style.default_button, port::kIdNo);
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(TrustedCertificate(u"news.example.org", 563), "");
  EXPECT_EQ(fake.sockets.sent(), "");
}

TEST_F(SecureTest, TrustedCertificateIsPinnedAndTheRunGoesOnWithANewConnection) {
  for (const ServerSecurity security : {ServerSecurity::kTls, ServerSecurity::kStartTls}) {
    Secure(security);
    const bool later = security == ServerSecurity::kStartTls;
    gPrefs->port = {later ? 119U : 563U};
    const std::size_t before = fake.sockets.tls_requests().size();
    fake.display.Expect(kQuestion, port::kIdYes);
    if (later) StartsTls();
    Tls(TlsOutcome::kUntrusted);
    if (later) StartsTls();
    Tls();
    if (later) {
      LearnsAboutPosting();
    } else {
      Server("200 welcome\r\n");
    }
    Quits();
    Run();
    EXPECT_EQ(end_, RunEnd::kGoOn);
    ASSERT_EQ(fake.sockets.tls_requests().size(), before + 2);
    EXPECT_EQ(fake.sockets.tls_requests()[before + 1].pinned, "AB:CD:EF");
    EXPECT_EQ(TrustedCertificate(u"news.example.org", later ? 119 : 563), "AB:CD:EF");
    EXPECT_EQ(ErrorLog(), u"");
  }
}

TEST_F(SecureTest, TrustThatCannotBeStoredIsTold) {
  Secure(ServerSecurity::kTls);
  fake.registry.SetReadOnly(true);
  fake.display.Expect(kQuestion, port::kIdYes);
  Tls(TlsOutcome::kUntrusted);
  Tls();
  Server("200 welcome\r\n");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"That this certificate is trusted could not be saved.\r\n");
}

TEST_F(SecureTest, ScheduledRunAsksNobody) {
  gConnection.nobody_waits = true;
  Secure(ServerSecurity::kTls);
  Tls(TlsOutcome::kUntrusted);
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  EXPECT_EQ(ErrorLog(), kLogged);
  EXPECT_TRUE(fake.display.boxes().empty());
  Tls(TlsOutcome::kChangedPin);
  Run();
  EXPECT_EQ(ErrorLog(), std::u16string(kChanged) + u"\r\n");
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(SecureTest, ChangedCertificateIsRefusedWithAWarning) {
  Secure(ServerSecurity::kTls);
  TrustCertificate(u"news.example.org", 563, "01:02");
  fake.display.Expect(kChanged, port::kIdOk);
  Tls(TlsOutcome::kChangedPin);
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].style.icon, port::BoxIcon::kExclamation);
  EXPECT_EQ(fake.sockets.tls_requests()[0].pinned, "01:02");
  EXPECT_EQ(TrustedCertificate(u"news.example.org", 563), "01:02");
  EXPECT_EQ(fake.sockets.sent(), "");
}

TEST_F(SecureTest, RetryAsksNobodyAndEndsAtACertificate) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 3);
  Secure(ServerSecurity::kTls);
  ChooseGroups({0});
  OpenStore();
  Tls();
  Server("200 welcome\r\n");
  Client("GROUP comp.lang.misc\r\n");
  fake.sockets.Closes();
  Tls(TlsOutcome::kUntrusted);
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{std::u16string(u"socket destroyed\r\n") + kLogged});
}

}  // namespace
}  // namespace quillet
