// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/lost.h"

#include "store/lost_articles.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

using Ids = std::vector<std::string>;

class LostTest : public NntpTest {
 protected:
  LostTest() {
    OpenStore();
    Connected();
    ChooseGroups({});
  }

  static void Lose(const std::string& id, const std::vector<std::string>& groups) {
    ASSERT_TRUE(AddLostArticles({{id, groups}}));
  }

  // HEAD and BODY by Message-ID.
  void ServesLost(const std::string& id, const std::string& extra = "") {
    Client("HEAD " + id + "\r\n");
    Server("221 0 " + id + "\r\n" + HeadOf(id, "s") + extra + ".\r\n");
    Client("BODY " + id + "\r\n");
    Server("222 0 " + id + "\r\ntext\r\n.\r\n");
  }

  void Run() { end_ = RunWithProgress(u"Preparing to download...", DownloadNews); }

  // What the next start finds.
  static Ids OnTheList() {
    ReleaseLostArticles();
    Ids ids;
    for (const LostArticle& article : LostArticles()) ids.push_back(article.message_id);
    return ids;
  }

  RunEnd end_ = RunEnd::kGoOn;
};

TEST_F(LostTest, IsAskedForBeforeTheGroupsAndPutOnItsChains) {
  Lose("<a@x>", {"alt.test", "comp.lang.misc"});
  ChooseGroups({0});
  ServesLost("<a@x>");
  Exchange("GROUP comp.lang.misc", "211 1 1 1 comp.lang.misc");
  Exchange("STAT 1", "223 1 <b@x>");
  Fetches(1, "<b@x>");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"");
  ASSERT_NE(FetchArticle("<a@x>"), nullptr);
  EXPECT_EQ(FetchArticle("<a@x>")->body, "text");
  EXPECT_EQ(FetchArticle("<a@x>")->read, 0U);
  EXPECT_EQ(Chain(u"comp.lang.misc"), (Ids{"<b@x>", "<a@x>"}));
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
  EXPECT_TRUE(OnTheList().empty());
  for (const bool from_cache : {false, true}) {
    if (from_cache) CountArticles();
    EXPECT_EQ(gReadInfo[0]->totalCount, 2U);
    EXPECT_EQ(gReadInfo[1]->totalCount, 1U);
    EXPECT_EQ(gReadInfo[1]->readCount, 0U);
  }
  EXPECT_NE(TransactionLog().find("HEAD <a@x>\r\nBODY <a@x>\r\nGROUP"), std::string::npos);
}

TEST_F(LostTest, ConnectionThatOnlyPostsAsksToo) {
  Lose("<a@x>", {"alt.test"});
  ReleaseConnection();
  Server("200 hi\r\n");
  ServesLost("<a@x>");
  Quits();
  RunWithProgress(u"Preparing to download...", OpenConnection);
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
}

TEST_F(LostTest, RefusalGivesItUp) {
  Lose("<a@x>", {"alt.test"});
  Lose("<b@x>", {"alt.test"});
  Lose("<c@x>", {"alt.test"});
  Exchange("HEAD <a@x>", "430 no such article");
  Client("HEAD <b@x>\r\n");
  Server("221 0 <b@x>\r\n" + HeadOf("<b@x>", "s") + ".\r\n");
  Exchange("BODY <b@x>", "500 what?");
  ServesLost("<c@x>");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<c@x>"});
  EXPECT_TRUE(OnTheList().empty());
}

TEST_F(LostTest, ReplyThatSaysNothingAboutItEndsTheRunAndKeepsIt) {
  for (const char* code : {"400", "480", "483", "502", "503"}) {
    SCOPED_TRACE(code);
    gConnection.error_log = TextLog();
    Lose("<a@x>", {"alt.test"});
    Lose("<b@x>", {"alt.test"});
    ChooseGroups({0});
    Exchange("HEAD <a@x>", std::string(code) + " no");
    Run();
    EXPECT_EQ(end_, RunEnd::kRefused);
    EXPECT_EQ(ErrorLog(),
              u"The server ended the download: " + Widen(std::string(code)) + u" no\r\n");
    EXPECT_EQ(OnTheList(), (Ids{"<a@x>", "<b@x>"}));
  }
}

TEST_F(LostTest, CancelAndLossKeepIt) {
  for (const bool lost : {false, true}) {
    Connected();
    Lose("<a@x>", {"alt.test"});
    Client("HEAD <a@x>\r\n");
    Server("221 0 <a@x>\r\nMess");
    if (lost) {
      fake.sockets.Closes();
    } else {
      fake.sockets.Then([] { RequestAbort(); });
    }
    Run();
    EXPECT_EQ(end_, lost ? RunEnd::kLost : RunEnd::kCancelled);
    EXPECT_EQ(OnTheList(), Ids{"<a@x>"});
    EXPECT_EQ(FetchArticle("<a@x>"), nullptr);
  }
}

TEST_F(LostTest, KillfileDoesNotJudgeItAgain) {
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = {2};
  gPrefs->killfiletexts = {"s"};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  Lose("<a@x>", {"alt.test"});
  ServesLost("<a@x>");
  Run();
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
}

TEST_F(LostTest, GroupThatIsGoneIsNotAskedFor) {
  Lose("<a@x>", {"gone.away"});
  Run();
  EXPECT_EQ(fake.sockets.sent(), "");
  EXPECT_TRUE(OnTheList().empty());
}

TEST_F(LostTest, UnknownGroupsAreThoseThatTheArticleNames) {
  Lose("<a@x>", {});
  Lose("<b@x>", {});
  ServesLost("<a@x>", "Newsgroups: gone.away,alt.test\r\n");
  ServesLost("<b@x>", "Newsgroups: gone.away\r\n");
  Run();
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
  EXPECT_TRUE(Chain(u"comp.lang.misc").empty());
  EXPECT_EQ(FetchArticle("<b@x>"), nullptr);
  EXPECT_TRUE(OnTheList().empty());
}

TEST_F(LostTest, AnotherArticleIsNotStoredInItsPlace) {
  Lose("<a@x>", {"alt.test"});
  Client("HEAD <a@x>\r\n");
  Server("221 0 <a@x>\r\n" + HeadOf("<other@x>", "s") + ".\r\n");
  Run();
  EXPECT_TRUE(Chain(u"alt.test").empty());
  EXPECT_EQ(FetchArticle("<other@x>"), nullptr);
  EXPECT_TRUE(OnTheList().empty());
}

TEST_F(LostTest, ArticleThatIsThereGetsTheChainsItLacks) {
  Lose("<a@x>", {"alt.test", "comp.lang.misc"});
  ServesLost("<a@x>");
  Run();
  ASSERT_TRUE(RemoveFromGroupChain(u"alt.test", GroupChainFirst(u"alt.test")->number));
  for (const std::u16string& group : gPrefs->groups) {
    ASSERT_TRUE(DeleteValue(DatabaseIndex::kArticles, GroupKey(group)));
  }
  CountArticles();
  Lose("<a@x>", {"alt.test", "comp.lang.misc"});
  Run();  // asks for nothing
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<a@x>"});
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
  EXPECT_EQ(gReadInfo[1]->totalCount, 1U);
  EXPECT_TRUE(OnTheList().empty());
}

TEST_F(LostTest, StoreThatFailsKeepsItAndEndsTheRun) {
  Lose("<a@x>", {"alt.test"});
  ChooseGroups({0});
  ServesLost("<a@x>");
  fake.sockets.Then([] { CloseDatabases(); });
  Run();
  EXPECT_EQ(end_, RunEnd::kStoreFailed);
  EXPECT_EQ(OnTheList(), Ids{"<a@x>"});
}

TEST_F(LostTest, FullStoreKeepsTheRest) {
  Lose("<a@x>", {"alt.test"});
  Lose("<b@x>", {"alt.test"});
  fake.files.SetFreeSpace({2'000, 100'000});  // 98 % used: just allowed
  ServesLost("<a@x>");
  Run();
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
  EXPECT_EQ(OnTheList(), Ids{"<b@x>"});
}

TEST_F(LostTest, LargeOneIsReplacedByTheNotice) {
  Lose("<a@x>", {"alt.test"});
  Client("HEAD <a@x>\r\n");
  Server("221 0 <a@x>\r\n" + HeadOf("<a@x>", "s") + "Lines: 72\r\n.\r\n");
  Run();
  ASSERT_NE(FetchArticle("<a@x>"), nullptr);
  EXPECT_EQ(FetchArticle("<a@x>")->body, "Quillet notification: message exceeds maximum size.\r\n");
}

}  // namespace
}  // namespace quillet
