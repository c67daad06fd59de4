// SPDX-License-Identifier: GPL-3.0-or-later
// A server that asks for a login in the middle of the session, at any command.
#include "nntp/connection.h"
#include "store/pending_posts.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

class LoginLaterTest : public NntpTest {
 protected:
  LoginLaterTest() {
    gPrefs->authusers = {u"ann"};
    gPrefs->authpasses = {u"secret"};
    OpenStore();
    ChooseGroups({0});
  }

  void Run() {
    Quits();
    end_ = RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(fake.sockets.open_sockets(), 0);
  }
  void Greets() { Server("200 welcome\r\n"); }
  // The command is answered with 480, and a login is given.
  void AsksForLogin(const std::string& command) {
    Exchange(command, "480 who are you");
    LogsIn();
  }
  void LogsIn() {
    Exchange("AUTHINFO USER ann", "381 go on");
    Exchange("AUTHINFO PASS secret", "281 welcome");
  }
  void Enters(const std::string& numbers) {
    Exchange("GROUP comp.lang.misc", "211 " + numbers + " comp.lang.misc");
  }
  void Queue(const std::string& key) {
    fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
    AsciiArticle post;
    post.messageId = key;
    post.headers = "Newsgroups: a.b\r\n";
    post.body = "text\r\n";
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
    ChooseGroups({});
  }

  RunEnd end_ = RunEnd::kGoOn;
};

constexpr char kPost[] =
    "Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n";

TEST_F(LoginLaterTest, EveryCommandOfADownloadIsRepeatedAfterTheLogin) {
  for (int asked = 0; asked < 5; ++asked) {
    SCOPED_TRACE(asked);
    const auto maybe = [&](int step, const std::string& command) {
      if (step == asked) AsksForLogin(command);
    };
    gPrefs->lastdownloaded = {0, 0};
    gPrefs->lastonserver = {0, 0};
    for (const char* id : {"<a@x>", "<b@x>"}) DeleteArticle(id);
    Greets();
    maybe(0, "GROUP comp.lang.misc");
    Enters("2 1 2");
    maybe(1, "STAT 1");
    Exchange("STAT 1", "223 1 <a@x>");
    maybe(2, "HEAD");
    FetchesHead(1, "<a@x>");
    maybe(3, "BODY");
    Client("BODY\r\n");
    Server("222 1 <a@x> body\r\ntext\r\n.\r\n");
    maybe(4, "NEXT");  // sent ahead
    Exchange("NEXT", "223 2 <b@x>");
    Fetches(2, "<b@x>");
    Run();
    EXPECT_EQ(end_, RunEnd::kGoOn);
    EXPECT_EQ(ErrorLog(), u"");
    EXPECT_EQ(FetchArticle("<a@x>")->body, "text");
    EXPECT_NE(FetchArticle("<b@x>"), nullptr);
    EXPECT_EQ(gPrefs->lastdownloaded[0], 2U);
  }
}

TEST_F(LoginLaterTest, ScanForAMissingArticleGoesOnAfterTheLogin) {
  gPrefs->lastdownloaded = {4, 0};
  gPrefs->lastonserver = {9, 0};
  Greets();
  Enters("3 1 9");
  Exchange("STAT 5", "423 no");
  AsksForLogin("STAT 1");
  Exchange("STAT 1", "223 1 <a@x>");
  AsksForLogin("NEXT");
  Exchange("NEXT", "223 9 <b@x>");
  Exchange("STAT 9", "223 9 <b@x>");
  Fetches(9, "<b@x>");
  Exchange("NEXT", "421 no next");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), std::vector<std::string>{"<b@x>"});
}

TEST_F(LoginLaterTest, PostIsOfferedAgain) {
  Queue("1");
  Greets();
  AsksForLogin("POST");
  Exchange("POST", "340 go");
  Client(kPost);
  Server("240 taken\r\n");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(CountPendingPosts(), 0U);
}

TEST_F(LoginLaterTest, SecondRefusalOfAPostIsToldAsEver) {
  Queue("1");
  Greets();
  AsksForLogin("POST");
  Exchange("POST", "480 still not");
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(CountPendingPosts(), 1U);
  EXPECT_EQ(ErrorLog(),
            u"An error occurred while posting articles. I send POST, and the server replied: 480 "
            u"still not\r\n\r\n");
}

TEST_F(LoginLaterTest, SecondRefusalOfAGroupIsToldAsEver) {
  Greets();
  AsksForLogin("GROUP comp.lang.misc");
  Exchange("GROUP comp.lang.misc", "480 still not");
  Run();
  EXPECT_EQ(ErrorLog(), u"comp.lang.misc: server reports error ('480 still not\r\n')");
}

TEST_F(LoginLaterTest, SecondRefusalOfAnArticleEndsTheDownloadAndKeepsTheArticle) {
  Greets();
  Enters("1 1 1");
  Exchange("STAT 1", "223 1 <a@x>");
  AsksForLogin("HEAD");
  Exchange("HEAD", "480 still not");
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(), u"The server ended the download: 480 still not\r\n");
  EXPECT_EQ(gPrefs->lastdownloaded[0], 0U);
}

// A server that has forgotten the group says nothing about the article.
TEST_F(LoginLaterTest, ServerThatHasLostItsPlaceEndsTheDownloadAndKeepsTheArticle) {
  for (const char* reply : {"412 no group", "420 no article"}) {
    Greets();
    Enters("1 1 1");
    Exchange("STAT 1", "223 1 <a@x>");
    AsksForLogin("HEAD");
    Exchange("HEAD", reply);
    Run();
    EXPECT_EQ(end_, RunEnd::kRefused);
    EXPECT_EQ(ErrorLog(), FormatWide(u"The server ended the download: %ls\r\n", reply));
    EXPECT_EQ(gPrefs->lastdownloaded[0], 0U);
  }
}

TEST_F(LoginLaterTest, WithoutALoginInBetweenTheseDropTheArticleAsEver) {
  Greets();
  Enters("1 1 1");
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("HEAD", "420 no article");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(gPrefs->lastdownloaded[0], 1U);
}

TEST_F(LoginLaterTest, LoginThatIsRefusedEndsTheRun) {
  Greets();
  Exchange("GROUP comp.lang.misc", "480 who are you");
  Exchange("AUTHINFO USER ann", "481 not you");
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(), u"I sent AUTHINFO, and the server responded '481 not you\r\n'.\r\n");
}

TEST_F(LoginLaterTest, LoginThatIsRefusedKeepsTheArticle) {
  Greets();
  Enters("1 1 1");
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("HEAD", "480 who are you");
  Exchange("AUTHINFO USER ann", "481 not you");
  Run();
  EXPECT_EQ(gPrefs->lastdownloaded[0], 0U);
}

TEST_F(LoginLaterTest, AlsoWhereALoginWasGivenAfterTheGreeting) {
  gPrefs->useauths = {1};
  Greets();
  LogsIn();
  AsksForLogin("GROUP comp.lang.misc");
  Enters("0 1 0");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(LoginLaterTest, EncryptedLoginIsGivenWhereItIsSet) {
  gPrefs->usentlms = {1};
  gPrefs->authusers = {u"ann\\home"};
  Greets();
  Exchange("GROUP comp.lang.misc", "480 who are you");
  Exchange("AUTHINFO GENERIC NTLM", "502 not here");
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(),
            u"While negotiating NTLM AUTHINFO, the server responded '502 not here\r\n'.\r\n");
}

TEST_F(LoginLaterTest, WithoutAUserNameItIsARefusalAsEver) {
  gPrefs->authusers = {u""};
  Greets();
  Exchange("GROUP comp.lang.misc", "480 who are you");
  Run();
  EXPECT_EQ(ErrorLog(), u"comp.lang.misc: server reports error ('480 who are you\r\n')");
}

TEST_F(LoginLaterTest, SwitchedOffItIsARefusalAsEver) {
  fake.registry.PutDword(kExtensionsPath, u"loginlater", 0);
  Greets();
  Exchange("GROUP comp.lang.misc", "480 who are you");
  Run();
  EXPECT_EQ(ErrorLog(), u"comp.lang.misc: server reports error ('480 who are you\r\n')");
}

TEST_F(LoginLaterTest, ServerThatWantsEncryptionFirstGetsNoLogin) {
  Greets();
  Exchange("GROUP comp.lang.misc", "483 TLS first");
  Run();
  EXPECT_EQ(ErrorLog(), u"comp.lang.misc: server reports error ('483 TLS first\r\n')");
}

TEST_F(LoginLaterTest, CancelInTheLoginEndsTheRunWithoutAWordOfALoss) {
  Greets();
  Exchange("GROUP comp.lang.misc", "480 who are you");
  Client("AUTHINFO USER ann\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  fake.sockets.Stalls();
  end_ = RunWithProgress(u"Preparing to download...", OpenConnection);
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(LoginLaterTest, LossInTheLoginIsALoss) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 1);
  Greets();
  Exchange("GROUP comp.lang.misc", "480 who are you");
  Client("AUTHINFO USER ann\r\n");
  fake.sockets.Closes();
  Greets();
  AsksForLogin("GROUP comp.lang.misc");
  Enters("0 1 0");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(LoginLaterTest, PasswordIsInTheLogAsEver) {
  Greets();
  AsksForLogin("GROUP comp.lang.misc");
  Enters("0 1 0");
  Run();
  EXPECT_NE(TransactionLog().find("AUTHINFO PASS secret\r\n"), std::string::npos);
}

}  // namespace
}  // namespace quillet
