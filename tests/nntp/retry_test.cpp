// SPDX-License-Identifier: GPL-3.0-or-later
// Lost connections that are made again: the wait, and that each goes on where the last one was.
#include "nntp/retry.h"

#include "base/multi_string.h"
#include "nntp/connection.h"
#include "nntp/under_way.h"
#include "store/lost_articles.h"
#include "store/pending_posts.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

class RetryTest : public NntpTest {
 protected:
  RetryTest() {
    fake.registry.PutDword(kExtensionsPath, u"retries", 3);
    OpenStore();
    ChooseGroups({});
  }

  void Run() {
    end_ = RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(gConnection.wire.socket(), 0U);
    EXPECT_EQ(fake.sockets.open_sockets(), 0);
    EXPECT_FALSE(gConnection.server_name.has_value());
  }

  void Greets() { Server("200 welcome\r\n"); }
  void Closes() { fake.sockets.Closes(); }
  // The first connection ends before its greeting.
  void LosesTheFirst() { fake.sockets.FailReceive(1, 10054); }
  void Enters(const std::string& group, const std::string& numbers) {
    Exchange("GROUP " + group, "211 " + numbers + " " + group);
  }
  void Queue(const std::string& key, const std::string& subject = "s") {
    AsciiArticle post;
    post.messageId = key;
    post.subject = subject;
    post.headers = "Newsgroups: a.b\r\n";
    post.body = "text " + key + "\r\n";
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  static std::string TextOf(const std::string& key) {
    return "Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext " + key +
           "\r\n\r\n.\r\n";
  }
  // How long the run slept.
  std::uint64_t Slept() {
    std::uint64_t all = 0;
    for (const std::uint32_t nap : fake.clock.sleeps()) all += nap;
    return all;
  }
  std::vector<std::uint32_t> Downloaded() { return gPrefs->lastdownloaded; }

  RunEnd end_ = RunEnd::kGoOn;
};

// --- The wait ------------------------------------------------------------------------------------

TEST_F(RetryTest, LostConnectionIsMadeAgainAfterFiveSeconds) {
  LosesTheFirst();
  Greets();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Slept(), 5000U);
  EXPECT_EQ(fake.sockets.connections().size(), 2U);
  EXPECT_EQ(Details(),
            (std::vector<std::u16string>{u"", u"Connecting to host news.example.org...",
                                         u"Waiting for response...",
                                         u"The connection was lost. Trying again in 5 seconds...",
                                         u"The connection was lost. Trying again in 4 seconds...",
                                         u"The connection was lost. Trying again in 3 seconds...",
                                         u"The connection was lost. Trying again in 2 seconds...",
                                         u"The connection was lost. Trying again in 1 second...",
                                         u"", u"Connecting to host news.example.org...",
                                         u"Waiting for response...", u"200 welcome\r\n"}));
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(RetryTest, WaitsGrowAndTheRunEndsAfterTheLastAttempt) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 4);
  for (int i = 0; i < 5; ++i) {
    Greets();
    Client("QUIT\r\n");
  }
  fake.sockets.Release();
  int connects = 0;
  std::vector<std::uint64_t> waits;
  fake.sockets.on_call = [&](port::SocketCall call, int) {
    if (call != port::SocketCall::kConnect) return;
    waits.push_back(Slept());
    fake.sockets.FailReceive(1, 10054);
    ++connects;
  };
  Run();
  EXPECT_EQ(connects, 5);
  EXPECT_EQ(waits, (std::vector<std::uint64_t>{0, 5000, 20000, 65000, 110000}));
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_EQ(ErrorLog(),
            u"socket destroyed\r\nsocket destroyed\r\nsocket destroyed\r\n"
            u"socket destroyed\r\nsocket destroyed\r\n");
}

TEST_F(RetryTest, WaitIsSleptInPiecesThatACancelNeedNotWaitFor) {
  EXPECT_EQ(WaitBeforeRetry(1), RunEnd::kGoOn);
  ASSERT_EQ(fake.clock.sleeps().size(), 50U);
  for (const std::uint32_t nap : fake.clock.sleeps()) EXPECT_EQ(nap, 100U);
}

TEST_F(RetryTest, CancelEndsTheWaitAndTheRun) {
  LosesTheFirst();
  fake.clock.on_move = [this] {
    if (Slept() == 1200) RequestAbort();
  };
  Run();
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_EQ(Slept(), 1200U);
  EXPECT_EQ(fake.sockets.connections().size(), 1U);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{u"socket destroyed\r\n"});
}

TEST_F(RetryTest, EndOfTheSessionEndsTheWait) {
  LosesTheFirst();
  fake.clock.on_move = [this] {
    if (Slept() == 1000) {
      BeginSessionEnd();
      RequestAbort();
    }
  };
  Run();
  EXPECT_EQ(end_, RunEnd::kSessionEnds);
  EXPECT_EQ(Slept(), 1000U);
}

// --- What is tried again -------------------------------------------------------------------------

TEST_F(RetryTest, ZeroRetriesEndTheRunAsEver) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 0);
  LosesTheFirst();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_EQ(Slept(), 0U);
  EXPECT_EQ(TransactionLog(), "Quillet CE 1.14r3 transaction log\r\nQUIT\r\n");
}

TEST_F(RetryTest, FirstConnectionThatCannotBeMadeIsNotTriedAgain) {
  fake.sockets.FailConnect(10061);
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  EXPECT_EQ(Slept(), 0U);
  ASSERT_EQ(BoxTexts().size(), 1U);
  EXPECT_EQ(BoxTexts()[0],
            u"An unexpected error (connect: the news server refused the connection) occurred in "
            u"OpenConnection.");
}

TEST_F(RetryTest, AttemptThatCannotConnectCountsAndShowsNoBoxOfItsOwn) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 2);
  LosesTheFirst();
  fake.sockets.on_call = [&](port::SocketCall call, int n) {
    if (call == port::SocketCall::kConnect && n > 1) fake.sockets.FailConnect(10061);
    if (call == port::SocketCall::kBind && n > 2) fake.sockets.FailBind(10048);
  };
  Run();
  EXPECT_EQ(end_, RunEnd::kUnreachable);
  EXPECT_EQ(Slept(), 20000U);
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{u"socket destroyed\r\nconnect: the news server refused the "
                                        u"connection\r\nbind: the address is already in use\r\n"});
}

TEST_F(RetryTest, HostThatIsUnknownMeanwhileIsLoggedAndTriedAgain) {
  LosesTheFirst();
  fake.sockets.on_call = [&](port::SocketCall call, int n) {
    if (call == port::SocketCall::kResolve && n == 2) {
      fake.sockets.FailNth(port::SocketCall::kResolve, 1, 11001);
    }
  };
  Greets();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\nUnable to find host news.example.org.\r\n");
}

TEST_F(RetryTest, RefusalIsNotTriedAgain) {
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  Greets();
  Exchange("AUTHINFO USER ann", "482 no");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kRefused);
  EXPECT_EQ(Slept(), 0U);
}

TEST_F(RetryTest, StoreThatFailsIsNotTriedAgain) {
  ChooseGroups({0});
  fake.registry.FailCreate(1);
  fake.display.Allow(u"", port::kIdOk);
  Greets();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kStoreFailed);
  EXPECT_EQ(Slept(), 0U);
}

TEST_F(RetryTest, ScheduledRunTriesAgainToo) {
  gConnection.nobody_waits = true;
  LosesTheFirst();
  Greets();
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(fake.sockets.connections().size(), 2U);
  EXPECT_TRUE(fake.display.boxes().empty());
}

// --- Where it goes on ----------------------------------------------------------------------------

TEST_F(RetryTest, GroupsThatAreDoneAreNotVisitedAgain) {
  ChooseGroups({0, 1});
  Greets();
  Enters("comp.lang.misc", "1 1 1");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Client("GROUP alt.test\r\n");
  Closes();
  Greets();
  Enters("alt.test", "1 5 5");
  Exchange("STAT 5", "223 5 <b@x>");
  Fetches(5, "<b@x>");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Chain(u"comp.lang.misc"), std::vector<std::string>{"<a@x>"});
  EXPECT_EQ(Chain(u"alt.test"), std::vector<std::string>{"<b@x>"});
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{u"socket destroyed\r\n"});
}

TEST_F(RetryTest, ArticleWhoseTextWasCutIsFetchedAnew) {
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "3 1 3");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  FetchesHead(2, "<b@x>");
  Client("BODY\r\n");
  Server("222 2 <b@x> body\r\nhalf of");
  Closes();
  Greets();
  Enters("comp.lang.misc", "3 1 3");
  Exchange("STAT 2", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Quits();
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<c@x>", "<b@x>", "<a@x>"}));
  EXPECT_EQ(Downloaded()[0], 3U);
  EXPECT_EQ(gReadInfo[0]->totalCount, 3U);
}

// The reply to NEXT was lost: the server is led to the last article that is there, and NEXT goes on
// from it. Asking for the following number could mean a way through the whole group.
TEST_F(RetryTest, WalkGoesOnBehindTheArticleItIsDoneWith) {
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "2 1 100");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Client("NEXT\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "2 1 100");
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("NEXT", "223 90 <b@x>");
  Fetches(90, "<b@x>");
  Exchange("NEXT", "421 no next");
  Quits();
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
}

TEST_F(RetryTest, WalkGoesOnWithTheNextNumberWhenThatArticleHasGone) {
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "2 1 2");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Client("NEXT\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "1 1 2");
  Exchange("STAT 1", "423 gone");
  Exchange("STAT 2", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Quits();
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
}

// Articles that the killfile took count as got, though the group holds fewer.
TEST_F(RetryTest, WalkGoesOnWithWhatWasLeftOfItsCount) {
  gPrefs->maxarticles = 3;
  gPrefs->killfilecount = 1;
  gPrefs->killfiletexts = {"spam"};
  gPrefs->killfilegroups = {1};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "9 1 9");
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>", "spam");
  Exchange("NEXT", "223 2 <b@x>");
  Client("HEAD\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "9 1 9");
  Exchange("STAT 2", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Quits();
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<c@x>", "<b@x>"}));
  EXPECT_EQ(Downloaded()[0], 3U);
}

// With the newest first, articles that came meanwhile must not push the start beyond what is left.
TEST_F(RetryTest, WalkThroughTheNewestGoesOnWhereItWas) {
  gPrefs->downloadnewest = 1;
  gPrefs->maxarticles = 2;
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "10 1 10");
  Client("STAT 9\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "14 1 14");
  Exchange("STAT 9", "223 9 <a@x>");
  Fetches(9, "<a@x>");
  Exchange("NEXT", "223 10 <b@x>");
  Fetches(10, "<b@x>");
  Quits();
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
}

TEST_F(RetryTest, GroupNumberedAnewMeanwhileIsPlannedAnewWithWhatWasLeft) {
  gPrefs->maxarticles = 3;
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "9 101 109");
  Exchange("STAT 101", "223 101 <a@x>");
  Fetches(101, "<a@x>");
  Client("NEXT\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "9 1 9");
  Exchange("STAT 2", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Quits();
  Run();
  EXPECT_EQ(Downloaded()[0], 3U);
}

TEST_F(RetryTest, LossesInARowKeepWhatWasLeft) {
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "2 1 2");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Client("NEXT\r\n");
  Closes();
  Greets();
  Client("GROUP comp.lang.misc\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "2 1 2");
  Client("STAT 1\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "2 1 2");
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
  EXPECT_EQ(Slept(), 65000U);
}

TEST_F(RetryTest, LostArticlesThatAreBackAreNotAskedForAgain) {
  ASSERT_TRUE(AddLostArticles({{"<a@x>", {"alt.test"}}, {"<b@x>", {"alt.test"}}}));
  const auto serves = [this](const std::string& id) {
    Client("HEAD " + id + "\r\n");
    Server("221 0 " + id + "\r\n" + HeadOf(id, "s") + ".\r\n");
    Client("BODY " + id + "\r\n");
    Server("222 0 " + id + "\r\ntext\r\n.\r\n");
  };
  Greets();
  serves("<a@x>");
  Client("HEAD <b@x>\r\n");
  Closes();
  Greets();
  serves("<b@x>");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Chain(u"alt.test"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
}

// The number that a killed process left is tried once, not again by the next connection.
TEST_F(RetryTest, NumberThatAKilledProcessLeftIsTriedOnceMoreInARun) {
  fake.registry.Create(kUnderWayPath)
      ->Set(u"groupsunderway", port::RegistryType::kMultiString,
            CreateMultiString(std::vector<std::u16string>{u"news.example.org", u"comp.lang.misc"}));
  gPrefs->lastdownloaded = {5, 0};
  gPrefs->lastonserver = {6, 0};
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "6 1 6");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Client("NEXT\r\n");
  Closes();
  Greets();
  Enters("comp.lang.misc", "6 1 6");
  Exchange("STAT 5", "223 5 <a@x>");
  Exchange("NEXT", "223 6 <b@x>");
  Fetches(6, "<b@x>");
  Quits();
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
  const auto left = fake.registry.Find(kUnderWayPath, u"groupsunderway");
  ASSERT_TRUE(left.has_value());
  EXPECT_EQ(left->data, std::string(4, '\0'));
}

TEST_F(RetryTest, LoginIsGivenAgain) {
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  gPrefs->authpasses = {u"secret"};
  Greets();
  Client("AUTHINFO USER ann\r\n");
  Closes();
  Greets();
  Exchange("AUTHINFO USER ann", "381 go on");
  Client("AUTHINFO PASS secret\r\n");
  Closes();
  Greets();
  Exchange("AUTHINFO USER ann", "281 welcome");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(RetryTest, MailWaitsForTheEndOfTheRun) {
  fake.mail.mails.push_back({u"1", u"work", u"", {{u"To", u"a@b"}, {u"Subject", u"s"}}, u"Hello"});
  LosesTheFirst();
  Server("200 welcome\r\n");
  fake.sockets.Then([this] { EXPECT_TRUE(fake.mail.calls.empty()); });
  Quits();
  Run();
  EXPECT_EQ(fake.mail.calls, std::vector<std::string>{"HandOver"});
}

// --- Posts ---------------------------------------------------------------------------------------

TEST_F(RetryTest, PostThatTheServerHasIsNotSentAgain) {
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  Queue("1");
  Queue("2");
  Greets();
  Exchange("POST", "340 go");
  Client(TextOf("1"));
  Server("240 taken\r\n");
  Client("POST\r\n");
  Closes();
  Greets();
  Exchange("POST", "340 go");
  Client(TextOf("2"));
  Server("240 taken\r\n");
  Quits();
  Run();
  EXPECT_EQ(CountPendingPosts(), 0U);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(RetryTest, PostWithoutAMessageIdWhoseReplyWasLostIsNotSentAgainInThisRun) {
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  Queue("1", "first");
  Queue("2", "second");
  Greets();
  Exchange("POST", "340 go");
  Client(TextOf("1"));
  Closes();
  Greets();
  Exchange("POST", "340 go");
  Client(TextOf("2"));
  Server("240 taken\r\n");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(CountPendingPosts(), 1U);
  EXPECT_NE(FetchPendingPost("1"), nullptr);
  EXPECT_EQ(ErrorLog(),
            u"socket destroyed\r\nIt is not known whether the article 'first' was posted. It stays "
            u"in the queue.\r\n");
}

TEST_F(RetryTest, PostWithItsMessageIdIsSentAgainAndKnownForOne) {
  Queue("1");
  Greets();
  Exchange("POST", "340 go");
  fake.sockets.ClientLineStarting("Newsgroups: a.b");
  fake.sockets.ClientLineStarting("Message-ID: <1.");
  Client("X-Newsreader: Quillet CE 1.14r3\r\n\r\ntext 1\r\n\r\n.\r\n");
  Closes();
  Greets();
  Exchange("POST", "340 go");
  fake.sockets.ClientLineStarting("Newsgroups: a.b");
  fake.sockets.ClientLineStarting("Message-ID: <1.");
  Client("X-Newsreader: Quillet CE 1.14r3\r\n\r\ntext 1\r\n\r\n.\r\n");
  Server("441 435 Duplicate\r\n");
  Quits();
  Run();
  EXPECT_EQ(CountPendingPosts(), 0U);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(RetryTest, PostThatWasRejectedIsNotSentAgainInThisRun) {
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  Queue("1");
  Queue("2");
  Greets();
  Exchange("POST", "340 go");
  Client(TextOf("1"));
  Server("441 no\r\n");
  Client("POST\r\n");
  Closes();
  Greets();
  Exchange("POST", "340 go");
  Client(TextOf("2"));
  Server("240 taken\r\n");
  Quits();
  Run();
  EXPECT_EQ(CountPendingPosts(), 1U);
  EXPECT_EQ(ErrorLog(), u"Article rejected by server: 441 no\r\n\r\nsocket destroyed\r\n");
}

TEST_F(RetryTest, ThatPostingIsNotAllowedIsSaidOnce) {
  Queue("1");
  ChooseGroups({0});
  Server("201 no posting\r\n");
  Client("GROUP comp.lang.misc\r\n");
  Closes();
  Server("201 no posting\r\n");
  Enters("comp.lang.misc", "0 1 0");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(),
            u"The news server does not allow posting. Skipping queued posts.\r\n"
            u"socket destroyed\r\n");
}

// --- Silence -------------------------------------------------------------------------------------

TEST_F(RetryTest, SilentServerIsLostAndSaidToBeSilent) {
  Greets();
  fake.sockets.StallsForGood();
  ChooseGroups({0});
  fake.registry.PutDword(kExtensionsPath, u"retries", 0);
  Run();
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_EQ(fake.sockets.stall_limits(), std::vector<std::uint32_t>{90000});
  EXPECT_EQ(ErrorLog(), u"The news server has not answered for 90 seconds.\r\n");
  // Nobody waits for the answer to a QUIT.
  EXPECT_EQ(TransactionLog().find("QUIT"), std::string::npos);
  EXPECT_TRUE(fake.sockets.close_waits().empty());
}

TEST_F(RetryTest, SilenceIsTriedAgain) {
  fake.registry.PutDword(kExtensionsPath, u"stalllimit", 7);
  ChooseGroups({0});
  Greets();
  Client("GROUP comp.lang.misc\r\n");
  fake.sockets.StallsForGood();
  Greets();
  Enters("comp.lang.misc", "0 1 0");
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(fake.sockets.stall_limits(), (std::vector<std::uint32_t>{7000, 7000}));
  EXPECT_EQ(ErrorLog(), u"The news server has not answered for 7 seconds.\r\n");
}

TEST_F(RetryTest, SilenceInTheMiddleOfATextIsSaidToo) {
  ChooseGroups({0});
  Greets();
  Enters("comp.lang.misc", "1 1 1");
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Client("BODY\r\n");
  Server("222 1 <a@x> body\r\nhalf of");
  fake.sockets.StallsForGood();
  Greets();
  Enters("comp.lang.misc", "1 1 1");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Quits();
  Run();
  EXPECT_EQ(ErrorLog(), u"The news server has not answered for 90 seconds.\r\n");
}

TEST_F(RetryTest, WithoutAStallLimitThereIsNone) {
  fake.registry.PutDword(kExtensionsPath, u"stalllimit", 0);
  Greets();
  Quits();
  Run();
  EXPECT_EQ(fake.sockets.stall_limits(), std::vector<std::uint32_t>{0});
}

}  // namespace
}  // namespace quillet
