// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/download.h"

#include <functional>
#include <map>

#include "base/multi_string.h"
#include "nntp/under_way.h"
#include "tests/nntp/nntp_fixture.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using port::SocketCall;
using Ids = std::vector<std::string>;
using Numbers = std::vector<std::uint32_t>;

constexpr char kTooLarge[] = "Quillet notification: message exceeds maximum size.\r\n";
constexpr char16_t kStoreFull[] =
    u"Store too full to continue. Adjust preferences or delete articles to download more "
    u"news.\r\n";

class DownloadTest : public NntpTest {
 protected:
  DownloadTest() {
    OpenStore();
    Connected();
    ChooseGroups({0});
  }

  void Run() { end_ = RunWithProgress(u"Preparing to download...", DownloadNews); }

  // GROUP comp.lang.misc with these numbers.
  void Enters(std::uint32_t first, std::uint32_t last) {
    Exchange("GROUP comp.lang.misc", FormatNarrow("211 9 %lu %lu comp.lang.misc", first, last));
  }

  void HasStored(std::uint32_t count) { gReadInfo[0]->totalCount = count; }

  std::unique_ptr<AsciiArticle> Stored(const std::string& id) { return FetchArticle(id); }

  // The lines of the transaction log that begin so.
  static std::string LogLine(const std::string& beginning) {
    const std::string log = TransactionLog();
    const std::size_t at = log.find(beginning);
    if (at == std::string::npos) return "";
    return log.substr(at, log.find("\r\n", at) - at);
  }

  RunEnd end_ = RunEnd::kGoOn;  // of the last Run
};

// --- the run ---

TEST_F(DownloadTest, RegistryKeyThatCannotBeMadeIsACriticalError) {
  fake.registry.FailCreate(1);
  Run();
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"A critical error (unable to create registry key) occurred in DownloadNews."});
  EXPECT_EQ(fake.sockets.sent(), "");
  EXPECT_EQ(end_, RunEnd::kStoreFailed);
}

TEST_F(DownloadTest, EmptyListSendsNothing) {
  gDownloadList.clear();
  Run();
  EXPECT_EQ(fake.sockets.sent(), "");
}

TEST_F(DownloadTest, OneArticleFromWireToStore) {
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x> status");
  Client("HEAD\r\n");
  Server("221 1 <a@x> head\r\n");
  Server(
      "Path: p\r\nMessage-ID: <a@x>\r\nSubject: hello\r\nFrom: ann@example.org\r\n"
      "References: <r@x> <q@x>\r\nLines: 2\r\n.\r\n");
  Client("BODY\r\n");
  Server("222 1 <a@x> body\r\none\r\n");
  Server("..two\r\n.\r\n");
  Run();

  const auto article = Stored("<a@x>");
  ASSERT_NE(article, nullptr);
  EXPECT_EQ(article->subject, "hello");
  EXPECT_EQ(article->from, "ann@example.org");
  EXPECT_EQ(article->replyTo, "ann@example.org");
  EXPECT_EQ(article->parentId, "<q@x>");
  EXPECT_EQ(article->source, "news.example.org");
  EXPECT_EQ(article->body, "one\r\n..two");
  EXPECT_EQ(article->headers, "Path: p\r\nReferences: <r@x> <q@x>\r\nLines: 2");
  EXPECT_EQ(article->articleNumber, 1U);
  EXPECT_EQ(article->reserved1, 1U);
  EXPECT_EQ(article->read, 0U);
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<a@x>"});
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
  EXPECT_EQ(gReadInfo[0]->readCount, 0U);
  EXPECT_EQ(SavedProgress(), (Numbers{1, 0}));
  EXPECT_EQ(gPrefs->lastonserver, (Numbers{1, 0}));
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(TransactionLog(),
            "GROUP comp.lang.misc\r\n211 9 1 1 comp.lang.misc\r\n"
            "#(IS last count:0 first: 1 last: 1 curcount: 0 max: 50"
            " last: 0; starting with 1 getting 1)\r\n"
            "STAT 1\r\n223 1 <a@x> status\r\nHEAD\r\nBODY\r\n");
  EXPECT_EQ(Titles(), (std::vector<std::u16string>{u"Preparing to download...",
                                                   u"Downloading from group comp.lang.misc"}));
  EXPECT_EQ(Details(), (std::vector<std::u16string>{u"article 1", u"article 1"}));
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(DownloadTest, ArticleIsShownWhileTheServerLooksItUp) {
  Enters(3, 3);
  Exchange("STAT 3", "223 3 <a@x>");
  Client("HEAD\r\n");
  fake.sockets.Then([this] { EXPECT_EQ(Details(), std::vector<std::u16string>{u"article 3"}); });
  Server("430 gone\r\n");
  Run();
  EXPECT_EQ(Details(), (std::vector<std::u16string>{u"article 3", u"article 3"}));
}

// The groups' cached counts stand under their names, in the same file.
class NamedAsAGroup : public DownloadTest, public ::testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(ThisOrAnother, NamedAsAGroup,
                         ::testing::Values("comp.lang.misc", "alt.test"));

TEST_P(NamedAsAGroup, TheArticleIsStoredBesideTheCounts) {
  const std::string id = '<' + GetParam() + '>';
  UpdateGlobalGDBMArticleCountCache(0);
  UpdateGlobalGDBMArticleCountCache(1);
  Enters(1, 1);
  Exchange("STAT 1", "223 1 status");
  Client("HEAD\r\n");
  Server("221 1 head\r\nMessage-ID: " + GetParam() + "\r\nSubject: odd\r\n.\r\n");
  Client("BODY\r\n");
  Server("222 1 body\r\none\r\n.\r\n");
  Run();
  const auto article = Stored(id);
  ASSERT_NE(article, nullptr);
  EXPECT_EQ(article->messageId, id);
  EXPECT_EQ(article->subject, "odd");
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{id});
  CountArticles();
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
  EXPECT_EQ(gReadInfo[1]->totalCount, 0U);
}

TEST_F(DownloadTest, GroupsAreVisitedInListOrder) {
  ChooseGroups({1, 0});
  Exchange("GROUP alt.test", "211 0 5 4 alt.test");
  Enters(5, 4);
  Run();
}

TEST_F(DownloadTest, GroupNamesAreNarrowed) {
  gPrefs->groups[0] = u"de.f\u00FCr\u20AC";
  Exchange("GROUP de.f\xFCr\x80", "411 no such group");
  Run();
}

TEST_F(DownloadTest, LaterArticlesAreReachedByNext) {
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (Ids{"<c@x>", "<b@x>", "<a@x>"}));
  EXPECT_EQ(gReadInfo[0]->totalCount, 3U);
  EXPECT_EQ(SavedProgress(), (Numbers{3, 0}));
}

TEST_F(DownloadTest, ProgressIsSavedBeforeEachFetch) {
  const auto expect_saved = [this](std::uint32_t number) {
    return [this, number] { EXPECT_EQ(SavedProgress(), (Numbers{number, 0})); };
  };
  Enters(4, 5);
  Exchange("STAT 4", "223 4 <a@x>");
  Client("HEAD\r\n");
  fake.sockets.Then(expect_saved(4));
  Server("430 gone\r\n");
  Exchange("NEXT", "223 5 <b@x>");
  Client("HEAD\r\n");
  fake.sockets.Then(expect_saved(5));
  Server("430 gone\r\n");
  Run();
  EXPECT_EQ(gReadInfo[0]->totalCount, 0U);
}

TEST_F(DownloadTest, ProgressOfAllServersAndGroupsIsWrittenWhole) {
  gPrefs->numservers = 2;
  gPrefs->servers = {u"other.example.org", u"news.example.org"};
  gPrefs->selectedserver = 1;
  gPrefs->lastdownloaded = {11, 12, 0, 14};
  gPrefs->lastonserver = {11, 12, 0, 14};
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Run();
  EXPECT_EQ(SavedProgress(), (Numbers{11, 12, 1, 14}));
}

TEST_F(DownloadTest, AllServersAreOneUsesTheFirstRow) {
  gPrefs->numservers = 2;
  gPrefs->servers = {u"other.example.org", u"news.example.org"};
  gPrefs->selectedserver = 1;
  gPrefs->allserversareone = 1;
  gPrefs->lastdownloaded = {4, 0, 0, 0};
  gPrefs->lastonserver = {4, 0, 0, 0};
  Enters(1, 5);
  Exchange("STAT 5", "223 5 <e@x>");
  Fetches(5, "<e@x>");
  Run();
  EXPECT_EQ(SavedProgress(), (Numbers{5, 0, 0, 0}));
}

TEST_F(DownloadTest, ProgressThatCannotBeSavedIsSaidOnce) {
  Enters(1, 2);
  fake.sockets.Then([this] { fake.registry.SetReadOnly(true); });
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Run();
  EXPECT_EQ(ErrorLog(), u"The download progress could not be saved.\r\n");
  EXPECT_EQ(gReadInfo[0]->totalCount, 2U);
}

TEST_F(DownloadTest, GroupBeyondTheListsIsSkipped) {
  ChooseGroups({7, 0});
  Enters(2, 1);
  Run();
}

TEST_F(DownloadTest, CountsAreCachedForEveryGroupVisited) {
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Run();
  CountArticles();  // reads the cache
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
}

// --- where a group starts ---

TEST_F(DownloadTest, StartsAfterTheLastOneReached) {
  gPrefs->lastdownloaded[0] = 100;
  gPrefs->lastonserver[0] = 102;
  Enters(50, 103);
  Exchange("STAT 101", "412 none");
  Run();
  EXPECT_EQ(LogLine("#(IS"),
            "#(IS last count:100 first: 50 last: 103 curcount: 0 max: 50"
            " last: 100; starting with 101 getting 3)");
  EXPECT_EQ(gPrefs->lastonserver[0], 103U);
}

TEST_F(DownloadTest, StartIsRaisedToTheFirstOnTheServer) {
  gPrefs->lastdownloaded[0] = 10;
  gPrefs->lastonserver[0] = 10;
  Enters(50, 52);
  Exchange("STAT 50", "412 none");
  Run();
  EXPECT_EQ(LogLine("#(IS"),
            "#(IS last count:10 first: 50 last: 52 curcount: 0 max: 50"
            " last: 10; starting with 50 getting 3)");
}

TEST_F(DownloadTest, ProgressBeyondTheServerIsCorrected) {
  gPrefs->lastdownloaded[0] = 500;
  gPrefs->lastonserver[0] = 100;
  Enters(1, 102);
  Exchange("STAT 101", "412 none");
  Run();
  EXPECT_EQ(LogLine("#(IS"),
            "#(IS last count:500 first: 1 last: 102 curcount: 0 max: 50(e)"
            " last: 100; starting with 101 getting 2)");
}

TEST_F(DownloadTest, RenumberedGroupRestartsAfterItsFirst) {
  gPrefs->lastdownloaded[0] = 900;
  gPrefs->lastonserver[0] = 1000;
  Enters(5, 20);
  Exchange("STAT 6", "412 none");
  Run();
  EXPECT_EQ(LogLine("#(IS"),
            "#(IS last count:900 first: 5 last: 20 curcount: 0 max: 50(rollover)"
            " last: 5; starting with 6 getting 15)");
  EXPECT_EQ(gPrefs->lastonserver[0], 20U);
  EXPECT_EQ(gPrefs->lastdownloaded[0], 5U);
  // Saved with the server's new last number, beside which the former one would be wrong.
  EXPECT_EQ(SavedProgress(), (Numbers{5, 0}));
  EXPECT_EQ(SavedNumbers(u"lastonserver"), (Numbers{20, 0}));
}

TEST_F(DownloadTest, BothCorrectionsMayMeet) {
  gPrefs->lastdownloaded[0] = 2000;
  gPrefs->lastonserver[0] = 1000;
  Enters(5, 20);
  Exchange("STAT 6", "412 none");
  Run();
  EXPECT_EQ(LogLine("#(IS"),
            "#(IS last count:2000 first: 5 last: 20 curcount: 0 max: 50(e)(rollover)"
            " last: 5; starting with 6 getting 15)");
}

TEST_F(DownloadTest, NewestOnesStartAWindowBelowTheLast) {
  gPrefs->downloadnewest = 1;
  Enters(100, 1000);
  Exchange("STAT 951", "412 none");
  Run();
  EXPECT_EQ(LogLine("#(IS"),
            "#(IS last count:0 first: 100 last: 1000 curcount: 0 max: 50"
            " last: 0; starting with 951 getting 50)");
}

TEST_F(DownloadTest, NewestOnesLeaveRoomForTheStoredOnes) {
  gPrefs->downloadnewest = 1;
  HasStored(20);
  Enters(100, 1000);
  Exchange("STAT 951", "412 none");
  Run();
  EXPECT_NE(TransactionLog().find("starting with 951 getting 30)\r\n"), std::string::npos);
}

TEST_F(DownloadTest, NewestOnesNeverGoBackBehindTheLastReached) {
  gPrefs->downloadnewest = 1;
  gPrefs->lastdownloaded[0] = 990;
  gPrefs->lastonserver[0] = 990;
  Enters(100, 1000);
  Exchange("STAT 991", "412 none");
  Run();
  EXPECT_NE(TransactionLog().find("starting with 991 getting 10)\r\n"), std::string::npos);
}

TEST_F(DownloadTest, NewestOnesOfAYoungGroupStartAtItsFirst) {
  gPrefs->downloadnewest = 1;
  Enters(10, 40);  // fewer than the window
  Exchange("STAT 10", "412 none");
  Run();
  EXPECT_NE(TransactionLog().find("starting with 10 getting 31)\r\n"), std::string::npos);
}

TEST_F(DownloadTest, NewestWindowBeginsAtTheWindowSizeExactly) {
  gPrefs->downloadnewest = 1;
  Enters(10, 50);  // last equals the window: base is last - window
  Exchange("STAT 10", "412 none");
  Run();
  EXPECT_NE(TransactionLog().find("starting with 10 getting 41)\r\n"), std::string::npos);
}

TEST_F(DownloadTest, FullGroupIsVisitedButNotWalked) {
  HasStored(50);
  Enters(1, 100);
  Run();
  EXPECT_NE(TransactionLog().find("curcount: 50 max: 50 last: 0; starting with 1 getting 0)\r\n"),
            std::string::npos);
  EXPECT_EQ(gPrefs->lastonserver[0], 100U);
}

TEST_F(DownloadTest, LimitOfNoArticlesGetsNothing) {
  gPrefs->maxarticles = 0;
  for (const std::uint32_t newest : {0U, 1U}) {
    gPrefs->downloadnewest = newest;
    Enters(1, 100);
    Run();
  }
  EXPECT_NE(TransactionLog().find("max: 0 last: 0; starting with 1 getting 0)"), std::string::npos);
  EXPECT_NE(TransactionLog().find("max: 0 last: 0; starting with 101 getting 0)"),
            std::string::npos);
}

TEST_F(DownloadTest, OverfullGroupGetsNothing) {
  HasStored(60);
  Enters(1, 100);
  Run();
  EXPECT_NE(TransactionLog().find("starting with 1 getting 0)"), std::string::npos);
}

TEST_F(DownloadTest, EmptyGroupGetsNothing) {
  gPrefs->lastdownloaded[0] = 7;
  gPrefs->lastonserver[0] = 7;
  Exchange("GROUP comp.lang.misc", "211 0 8 7 comp.lang.misc");
  Run();
  EXPECT_NE(TransactionLog().find(" last: 7; starting with 8 getting 0)"), std::string::npos);
}

TEST_F(DownloadTest, GroupThatWasEmptyAndIsRenumberedSkipsItsFirst) {
  gPrefs->lastdownloaded[0] = 70;
  gPrefs->lastonserver[0] = 70;
  Exchange("GROUP comp.lang.misc", "211 0 0 0 comp.lang.misc");
  Run();
  EXPECT_EQ(gPrefs->lastdownloaded[0], 0U);
  EXPECT_EQ(gPrefs->lastonserver[0], 0U);
  EXPECT_NE(TransactionLog().find("(rollover) last: 0; starting with 1 getting 0)"),
            std::string::npos);
  // What comes then is fetched from its first number on.
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (Ids{"<b@x>", "<a@x>"}));
}

TEST_F(DownloadTest, EmptyGroupWhoseNumbersStayIsNotRenumbered) {
  gPrefs->lastdownloaded[0] = 70;
  gPrefs->lastonserver[0] = 70;
  Exchange("GROUP comp.lang.misc", "211 0 71 70 comp.lang.misc");
  Exchange("GROUP comp.lang.misc", "211 1 71 71 comp.lang.misc");
  Exchange("STAT 71", "223 71 <a@x>");
  Fetches(71, "<a@x>");
  ChooseGroups({0, 0});
  Run();
  EXPECT_EQ(TransactionLog().find("rollover"), std::string::npos);
  EXPECT_EQ(SavedProgress(), (Numbers{71, 0}));
}

TEST_F(DownloadTest, NumbersNearTheTopWrapAsOnTheDevice) {
  gPrefs->lastdownloaded[0] = 4294967295U;
  gPrefs->lastonserver[0] = 4294967295U;
  Enters(0, 4294967295U);
  Run();  // start 0, and 2^32 articles are none
  EXPECT_NE(TransactionLog().find("starting with 0 getting 0)"), std::string::npos);
}

TEST_F(DownloadTest, NumbersBeyond32BitsWrap) {
  Exchange("GROUP comp.lang.misc", "211 9 4294967297 4294967299 comp.lang.misc");
  Exchange("STAT 1", "412 none");
  Run();
  EXPECT_NE(TransactionLog().find("first: 1 last: 3 "), std::string::npos);
}

TEST_F(DownloadTest, HugeLimitIsSigned) {
  gPrefs->maxarticles = 4294967295U;  // as a signed room: -1
  Enters(1, 10);
  Run();
  EXPECT_NE(TransactionLog().find("max: 4294967295 last: 0; starting with 1 getting 0)"),
            std::string::npos);
}

// --- replies to GROUP ---

TEST_F(DownloadTest, RefusedGroupIsReportedAndTheNextVisited) {
  ChooseGroups({0, 1});
  gPrefs->lastdownloaded[0] = 9;
  Exchange("GROUP comp.lang.misc", "411 no such group");
  Exchange("GROUP alt.test", "211 0 1 0 alt.test");
  Run();
  EXPECT_EQ(ErrorLog(), u"comp.lang.misc: server reports error ('411 no such group\r\n')");
  EXPECT_EQ(LogLine("#(IS last count:9)"), "#(IS last count:9)");
  EXPECT_EQ(Details()[0], u"411 no such group\r\n");
  EXPECT_EQ(end_, RunEnd::kGoOn);
}

TEST_F(DownloadTest, CountsOfARefusedGroupAreCachedToo) {
  HasStored(7);
  gReadInfo[0]->readCount = 3;
  Exchange("GROUP comp.lang.misc", "411 no such group");
  Run();
  CountArticles();  // reads the cache
  EXPECT_EQ(gReadInfo[0]->totalCount, 7U);
  EXPECT_EQ(gReadInfo[0]->readCount, 3U);
}

TEST_F(DownloadTest, OtherGroupRepliesDoNothing) {
  ChooseGroups({0, 1, 0, 1});
  Exchange("GROUP comp.lang.misc", "500 what?");
  Exchange("GROUP alt.test", "garbage");
  Exchange("GROUP comp.lang.misc", "");
  Exchange("GROUP alt.test", "350 more");
  Run();
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(TransactionLog().find("#("), std::string::npos);
  EXPECT_EQ(gPrefs->lastonserver, (Numbers{0, 0}));
}

TEST_F(DownloadTest, UnsentGroupEndsTheRun) {
  ChooseGroups({0, 1});
  fake.sockets.FailSend(1, 10054);
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(fake.sockets.calls(SocketCall::kSend), 1);
  EXPECT_EQ(end_, RunEnd::kLost);
}

TEST_F(DownloadTest, LostGroupReplyEndsTheRun) {
  ChooseGroups({0, 1});
  Client("GROUP comp.lang.misc\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(fake.sockets.sent(), "GROUP comp.lang.misc\r\nQUIT\r\n");
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
}

// --- replies to STAT and NEXT ---

TEST_F(DownloadTest, NoNextArticleEndsTheGroup) {
  ChooseGroups({0, 1});
  Enters(1, 9);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "421 no next article");
  Exchange("GROUP alt.test", "211 0 1 0 alt.test");
  Run();
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
}

TEST_F(DownloadTest, UnexpectedRepliesToStatEndTheGroupUnwritten) {
  for (const char* reply : {"500 what?", "101 help", "garbage", "", "380 go on"}) {
    Enters(1, 9);
    Exchange("STAT 1", reply);
    Run();
    EXPECT_TRUE(SavedProgress().empty()) << reply;
    EXPECT_EQ(gPrefs->lastdownloaded[0], 0U) << reply;
  }
}

TEST_F(DownloadTest, UnexpectedReplyToNextEndsTheGroup) {
  Enters(1, 9);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "502 no");
  Run();
  EXPECT_EQ(SavedProgress(), (Numbers{1, 0}));
}

TEST_F(DownloadTest, NumberBelowTheWantedIsLoggedAndTaken) {
  gPrefs->lastdownloaded[0] = 4;
  gPrefs->lastonserver[0] = 4;
  Enters(1, 5);
  Exchange("STAT 5", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Run();
  EXPECT_NE(TransactionLog().find("223 3 <c@x>\r\ne:223 3 <c@x>\r\n"), std::string::npos);
  EXPECT_EQ(SavedProgress(), (Numbers{3, 0}));
}

TEST_F(DownloadTest, ReplyWithoutANumberIsArticleZero) {
  Enters(1, 1);
  Exchange("STAT 1", "223");
  FetchesHead(7, "<a@x>");
  Client("BODY\r\n");
  Server("222 7 <a@x>\r\ntext\r\n.\r\n");
  Run();
  EXPECT_EQ(SavedProgress(), (Numbers{0, 0}));
  EXPECT_EQ(Stored("<a@x>")->articleNumber, 7U);
}

TEST_F(DownloadTest, NumberAboveTheServersLastRaisesIt) {
  Enters(1, 2);
  Exchange("STAT 1", "223 8 <a@x>");
  Fetches(8, "<a@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(gPrefs->lastonserver[0], 8U);
}

TEST_F(DownloadTest, DuplicateServedForEverEndsTheGroup) {
  Enters(1, 9);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Run();
  EXPECT_TRUE(fake.sockets.Finished());
}

// --- the scan for a missing article ---

TEST_F(DownloadTest, MissingStartIsScannedFor) {
  gPrefs->lastdownloaded[0] = 4;
  gPrefs->lastonserver[0] = 4;
  Enters(2, 9);
  Exchange("STAT 5", "423 no such number");
  Exchange("STAT 2", "223 2 <b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Exchange("NEXT", "223 8 <h@x>");
  Exchange("STAT 8", "223 8 <h@x>");
  Fetches(8, "<h@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Details(),
            (std::vector<std::u16string>{u"article 5", u"Article 5 does not exist on the server",
                                         u"Scanning group for article 6 (found 3)",
                                         u"Scanning group for article 6 (found 8)", u"article 8"}));
  // The scan's commands are not logged, its replies are.
  EXPECT_EQ(TransactionLog(),
            "GROUP comp.lang.misc\r\n211 9 2 9 comp.lang.misc\r\n"
            "#(IS last count:4 first: 2 last: 9 curcount: 0 max: 50"
            " last: 4; starting with 5 getting 5)\r\n"
            "STAT 5\r\n423 no such number\r\n"
            "223 2 <b@x>\r\n223 3 <c@x>\r\n223 8 <h@x>\r\n"
            "STAT 8\r\n223 8 <h@x>\r\nHEAD\r\nBODY\r\nNEXT\r\n421 none\r\n");
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
}

TEST_F(DownloadTest, Code432IsAMissingArticleToo) {
  Enters(1, 9);
  Exchange("STAT 1", "432 gone");
  Exchange("STAT 1", "432 gone");
  Exchange("NEXT", "223 2 <b@x>");
  Exchange("STAT 2", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(SavedProgress(), (Numbers{2, 0}));
}

TEST_F(DownloadTest, ScanNeverTakesTheFirstStatForAnArrival) {
  // STAT of the first answers with a number beyond the wanted one; only NEXT counts.
  Enters(1, 9);
  Exchange("STAT 1", "423 none");
  Exchange("STAT 1", "223 7 <g@x>");
  Exchange("NEXT", "223 8 <h@x>");
  Exchange("STAT 8", "223 8 <h@x>");
  Fetches(8, "<h@x>");
  Exchange("NEXT", "421 none");
  Run();
}

TEST_F(DownloadTest, MissingNextArticleIsScannedFor) {
  Enters(1, 9);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "423 lost");
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("NEXT", "223 4 <d@x>");
  Exchange("STAT 4", "223 4 <d@x>");
  Fetches(4, "<d@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (Ids{"<d@x>", "<a@x>"}));
}

TEST_F(DownloadTest, MissingArticlesDoNotCountAgainstTheRest) {
  gPrefs->maxarticles = 2;
  Enters(1, 9);  // two to get
  Exchange("STAT 1", "423 none");
  Exchange("STAT 1", "423 none");
  Exchange("NEXT", "223 3 <c@x>");
  Exchange("STAT 3", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Exchange("NEXT", "223 4 <d@x>");
  Fetches(4, "<d@x>");
  Run();
  EXPECT_EQ(gReadInfo[0]->totalCount, 2U);
}

TEST_F(DownloadTest, ScanThatRunsOutEndsTheGroup) {
  ChooseGroups({0, 1});
  Enters(1, 9);
  Exchange("STAT 1", "423 none");
  Exchange("STAT 1", "423 none");
  Exchange("NEXT", "421 none");
  Exchange("GROUP alt.test", "211 0 1 0 alt.test");
  Run();
}

TEST_F(DownloadTest, ScanReplyWithoutADigitEndsTheRun) {
  for (const char* reply : {"garbage", "", " 223 5"}) {
    ChooseGroups({0, 1});
    gTransactionLog->text.clear();
    Enters(1, 9);
    Exchange("STAT 1", "423 none");
    Exchange("STAT 1", "223 1 <a@x>");
    Exchange("NEXT", reply);
    Run();
    EXPECT_TRUE(EndsWith(TransactionLog(), std::string(reply) + "\r\nERR:")) << reply;
    EXPECT_EQ(end_, RunEnd::kRefused) << reply;
  }
}

TEST_F(DownloadTest, ScanReplyOfAnotherCodeEndsTheGroup) {
  ChooseGroups({0, 1});
  Enters(1, 9);
  Exchange("STAT 1", "423 none");
  Exchange("STAT 1", "500 what?");  // not judged
  Exchange("NEXT", "500 what?");
  Exchange("GROUP alt.test", "211 0 1 0 alt.test");
  Run();
}

TEST_F(DownloadTest, ScanThatStandsStillEndsTheGroup) {
  gPrefs->lastdownloaded[0] = 6;
  gPrefs->lastonserver[0] = 6;
  Enters(1, 9);
  Exchange("STAT 7", "423 none");
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Run();
}

TEST_F(DownloadTest, AbortDuringAScanSendsNoStat) {
  Enters(1, 9);
  Exchange("STAT 1", "423 none");
  Exchange("STAT 1", "223 1 <a@x>");
  Client("NEXT\r\n");
  Server("223 5 <e@x>\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  Run();
  EXPECT_TRUE(SavedProgress().empty());
  EXPECT_EQ(end_, RunEnd::kCancelled);
}

TEST_F(DownloadTest, LostScanEndsTheRun) {
  ChooseGroups({0, 1});
  Enters(1, 9);
  Exchange("STAT 1", "423 none");
  Client("STAT 1\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(fake.sockets.sent().find("alt.test"), std::string::npos);
  EXPECT_EQ(end_, RunEnd::kLost);
}

// --- heads ---

TEST_F(DownloadTest, RefusedHeadDropsTheArticle) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("HEAD", "430 gone");
  Exchange("NEXT", "223 2 <b@x>");
  Exchange("HEAD", "300 odd");
  Run();
  EXPECT_EQ(gReadInfo[0]->totalCount, 0U);
  EXPECT_EQ(SavedProgress(), (Numbers{2, 0}));
}

TEST_F(DownloadTest, HeadLargerThanItsBufferDropsTheArticle) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1 <a@x>\r\nX: " + std::string(20'000, 'x') + "\r\n.\r\n");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<b@x>"});
}

TEST_F(DownloadTest, HeadOf10238BytesWithItsTerminatorFits) {
  const std::string head = "Message-ID: <a@x>\r\nX: ";
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1 <a@x>\r\n");
  Server(head + std::string(10238 - head.size() - 5, 'x') + "\r\n.\r\n");
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\nt\r\n.\r\n");
  Exchange("NEXT", "223 2 <b@x>");
  Client("HEAD\r\n");
  Server("221 2 <b@x>\r\n");
  Server(head + std::string(10239 - head.size() - 5, 'x') + "\r\n.\r\n");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<a@x>"});
}

TEST_F(DownloadTest, UnsentHeadEndsTheRun) {
  ChooseGroups({0, 1});
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  fake.sockets.FailSend(3, 10054);
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
}

TEST_F(DownloadTest, LostHeadStatusEndsTheRun) {
  ChooseGroups({0, 1});
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_FALSE(AbortRequested());
}

TEST_F(DownloadTest, HeadCutShortIsNotStored) {
  ChooseGroups({0, 1});
  for (const std::uint32_t full : {0U, 1U}) {
    gPrefs->downloadfull = full;
    gConnection.error_log = TextLog();
    Connected();
    Enters(1, 2);
    Exchange("STAT 1", "223 1 <a@x>");
    Client("HEAD\r\n");
    Server("221 1 <a@x>\r\nMessage-ID: <a@x>\r\nSubj");
    fake.sockets.Closes();
    Run();
    EXPECT_EQ(Stored("<a@x>"), nullptr);
    EXPECT_TRUE(Chain(u"comp.lang.misc").empty());
    EXPECT_EQ(gPrefs->lastdownloaded[0], 0U);
    EXPECT_EQ(SavedProgress(), (Numbers{0, 0}));
    EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
    EXPECT_EQ(end_, RunEnd::kLost);
    EXPECT_FALSE(AbortRequested());
    EXPECT_EQ(fake.sockets.sent().find("alt.test"), std::string::npos);
  }
}

TEST_F(DownloadTest, AbortDuringAHeadDropsTheArticle) {
  gPrefs->downloadfull = 0;
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1 <a@x>\r\nMessage-ID: <a@x>\r\n");
  Server("Subject: s\r\n.\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  Run();
  EXPECT_EQ(Stored("<a@x>"), nullptr);
  EXPECT_EQ(end_, RunEnd::kCancelled);
}

// --- what ends the run before the article is done with ---

class PutBackTest : public DownloadTest {
 protected:
  PutBackTest() {
    ChooseGroups({0, 1});
    gPrefs->lastdownloaded = {4, 9};
    gPrefs->lastonserver = {4, 9};
  }

  void StandsAtFive() {
    Enters(1, 8);
    Exchange("STAT 5", "223 5 <a@x>");
  }

  void ExpectPutBack(RunEnd end) {
    Run();
    EXPECT_EQ(end_, end);
    EXPECT_EQ(Stored("<a@x>"), nullptr);
    EXPECT_EQ(gPrefs->lastdownloaded, (Numbers{4, 9}));
    EXPECT_EQ(SavedProgress(), (Numbers{4, 9}));
    EXPECT_EQ(SavedNumbers(u"lastonserver"), (Numbers{8, 9}));
    EXPECT_EQ(fake.sockets.sent().find("alt.test"), std::string::npos);
  }
};

TEST_F(PutBackTest, RepliesThatSayNothingAboutTheArticleEndTheRun) {
  for (const char* code : {"400", "480", "483", "502", "503"}) {
    for (const bool body : {false, true}) {
      SCOPED_TRACE(std::string(code) + (body ? " body" : " head"));
      gPrefs->lastonserver[0] = 4;
      gConnection.error_log = TextLog();
      StandsAtFive();
      if (body) FetchesHead(5, "<a@x>");
      Exchange(body ? "BODY" : "HEAD", std::string(code) + " not now");
      ExpectPutBack(RunEnd::kRefused);
      EXPECT_EQ(ErrorLog(),
                u"The server ended the download: " + Widen(std::string(code)) + u" not now\r\n");
    }
  }
}

TEST_F(PutBackTest, OtherRefusalsAreFailedFetchesAndStay) {
  for (const char* code : {"401", "420", "423", "430", "481", "482", "500", "501", "504", "600"}) {
    SCOPED_TRACE(code);
    gPrefs->lastdownloaded[0] = 4;
    ChooseGroups({0});
    Enters(1, 6);
    Exchange("STAT 5", "223 5 <a@x>");
    Exchange("HEAD", std::string(code) + " no");
    Exchange("NEXT", "223 6 <b@x>");
    FetchesHead(6, "<b@x>");
    Exchange("BODY", std::string(code) + " no");
    Run();
    EXPECT_EQ(end_, RunEnd::kGoOn);
    EXPECT_EQ(ErrorLog(), u"");
    EXPECT_EQ(SavedProgress(), (Numbers{6, 9}));
  }
}

TEST_F(PutBackTest, CancelAndTheEndOfTheSession) {
  for (const bool session : {false, true}) {
    for (const bool body : {false, true}) {
      SCOPED_TRACE(FormatNarrow("%d %d", session ? 1 : 0, body ? 1 : 0));
      gPrefs->lastonserver[0] = 4;
      Connected();
      StandsAtFive();
      if (body) FetchesHead(5, "<a@x>");
      Client(body ? "BODY\r\n" : "HEAD\r\n");
      Server(body ? "222 5 <a@x>\r\n" : "221 5 <a@x>\r\n");
      Server("Message-ID: <a@x>\r\n.\r\n");
      fake.sockets.Then([session] { session ? BeginSessionEnd() : RequestAbort(); });
      ExpectPutBack(session ? RunEnd::kSessionEnds : RunEnd::kCancelled);
    }
  }
}

TEST_F(PutBackTest, CancelWhileTheReplyIsWaitedForIsNoLoss) {
  for (const bool body : {false, true}) {
    gPrefs->lastonserver[0] = 4;
    Connected();
    StandsAtFive();
    if (body) FetchesHead(5, "<a@x>");
    Client(body ? "BODY\r\n" : "HEAD\r\n");
    fake.sockets.Then([] { RequestAbort(); });
    fake.sockets.Stalls();
    ExpectPutBack(RunEnd::kCancelled);
    EXPECT_EQ(ErrorLog(), u"");
    ReleaseConnection();
  }
}

TEST_F(PutBackTest, LostConnection) {
  for (const bool body : {false, true}) {
    for (const bool status_came : {false, true}) {
      SCOPED_TRACE(FormatNarrow("%d %d", body ? 1 : 0, status_came ? 1 : 0));
      gPrefs->lastonserver[0] = 4;
      Connected();
      StandsAtFive();
      if (body) FetchesHead(5, "<a@x>");
      Client(body ? "BODY\r\n" : "HEAD\r\n");
      if (status_came) Server(body ? "222 5 <a@x>\r\nte" : "221 5 <a@x>\r\nMess");
      fake.sockets.Closes();
      ExpectPutBack(RunEnd::kLost);
    }
  }
}

TEST_F(PutBackTest, StoreThatFails) {
  StandsAtFive();
  Fetches(5, "<a@x>");
  fake.sockets.Then([] { CloseDatabases(); });
  Client("NEXT\r\n");
  Run();
  EXPECT_EQ(end_, RunEnd::kStoreFailed);
  EXPECT_EQ(gPrefs->lastdownloaded, (Numbers{4, 9}));
  EXPECT_EQ(SavedProgress(), (Numbers{4, 9}));
}

TEST_F(PutBackTest, ArticleThatIsStoredStaysThoughTheRunEndsWithIt) {
  StandsAtFive();
  Fetches(5, "<a@x>");
  fake.sockets.Then([this] { fake.sockets.FailSend(1, 10054); });  // of the NEXT
  Run();
  EXPECT_EQ(end_, RunEnd::kLost);
  ASSERT_NE(Stored("<a@x>"), nullptr);
  EXPECT_EQ(SavedProgress(), (Numbers{5, 9}));
}

// --- the server's last number ---

TEST_F(DownloadTest, LastNumberOfTheServerIsSavedWhenTheWalkBegins) {
  Enters(1, 8);
  Client("STAT 1\r\n");
  fake.sockets.Then([this] { EXPECT_EQ(SavedNumbers(u"lastonserver"), (Numbers{8, 0})); });
  Server("412 none\r\n");
  Run();
  EXPECT_TRUE(SavedProgress().empty());  // no article was reached
}

TEST_F(DownloadTest, NumberBeyondTheServersLastIsSavedWithIt) {
  Enters(1, 2);
  Exchange("STAT 1", "223 8 <a@x>");
  Client("HEAD\r\n");
  fake.sockets.Then([this] {
    EXPECT_EQ(SavedProgress(), (Numbers{8, 0}));
    EXPECT_EQ(SavedNumbers(u"lastonserver"), (Numbers{8, 0}));
  });
  Server("430 gone\r\n");
  Exchange("NEXT", "421 none");
  Run();
}

TEST_F(DownloadTest, LastNumberOfTheServerIsSavedAtEveryWayOut) {
  struct Way {
    std::string name;
    std::function<void()> lay;
  };
  const std::vector<Way> ways = {
      {"refused", [this] { Exchange("GROUP comp.lang.misc", "411 no"); }},
      {"lost",
       [this] {
         Client("GROUP comp.lang.misc\r\n");
         fake.sockets.Closes();
       }},
      {"group ends",
       [this] {
         Enters(1, 3);
         Exchange("STAT 1", "412 none");
       }},
      {"cancelled",
       [this] {
         Enters(1, 3);
         fake.sockets.Then([] { RequestAbort(); });
       }},
  };
  for (const Way& way : ways) {
    SCOPED_TRACE(way.name);
    Connected();
    gPrefs->lastonserver = {2, 0};
    fake.registry.Erase(kRegistryPath, u"lastonserver");
    fake.sockets.on_call = nullptr;
    way.lay();
    Run();
    fake.sockets.Release();
    EXPECT_EQ(SavedNumbers(u"lastonserver"), gPrefs->lastonserver);
  }
}

// --- after a process that was killed ---

class KilledTest : public DownloadTest {
 protected:
  // Runs until the article at which the server stands is asked for, and leaves the registry as a
  // process that is killed there.
  void KilledAt(std::uint32_t number) {
    fake.sockets.Then([this] { Remember(); });
    Server(FormatNarrow("221 %lu <k@x>\r\n", number));
    fake.sockets.Closes();
    Run();
    for (const auto& [path, values] : remembered_) {
      for (const auto& [name, value] : values) {
        fake.registry.Create(path)->Set(name, value.type, value.data);
      }
    }
    gPrefs->lastdownloaded = SavedProgress();
    gPrefs->lastonserver = SavedNumbers(u"lastonserver");
    gConnection.error_log = TextLog();
    gTransactionLog->text.clear();
    Connected();
  }

 private:
  void Remember() {
    for (const std::u16string_view path : {kRegistryPath, kUnderWayPath}) {
      remembered_[path] = fake.registry.Open(path)->Values();
    }
  }

  std::map<std::u16string_view, std::vector<port::NamedRegistryValue>> remembered_;
};

TEST_F(KilledTest, LastNumberOfEachGroupIsTriedOnceMore) {
  ChooseGroups({1, 0});
  Exchange("GROUP alt.test", "211 1 6 6 alt.test");
  Exchange("STAT 6", "223 6 <t@x>");
  Fetches(6, "<t@x>");
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Client("HEAD\r\n");
  KilledAt(2);
  EXPECT_EQ(gPrefs->lastdownloaded, (Numbers{2, 6}));

  ChooseGroups({1, 0});
  Exchange("GROUP alt.test", "211 1 6 6 alt.test");
  Exchange("STAT 6", "223 6 <t@x>");
  FetchesHead(6, "<t@x>");  // stored already
  Exchange("NEXT", "421 none");
  Enters(1, 3);
  Exchange("STAT 2", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Fetches(3, "<c@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (Ids{"<c@x>", "<b@x>", "<a@x>"}));
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<t@x>"});
  EXPECT_EQ(SavedProgress(), (Numbers{3, 6}));

  ChooseGroups({1, 0});  // and once only
  Exchange("GROUP alt.test", "211 1 6 6 alt.test");
  Enters(1, 3);
  Run();
  EXPECT_EQ(SavedProgress(), (Numbers{3, 6}));
}

TEST_F(KilledTest, GroupThatIsNotVisitedWaitsForTheRunThatVisitsIt) {
  gPrefs->lastonserver[1] = gPrefs->lastdownloaded[1] = 5;
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  KilledAt(1);

  ChooseGroups({1});
  Exchange("GROUP alt.test", "211 1 6 6 alt.test");
  Exchange("STAT 6", "223 6 <t@x>");  // nothing of it was under way: after the last one
  Fetches(6, "<t@x>");
  Run();

  // The list of groups may change in between.
  RemoveGroup(*gPrefs, GroupAt(1));
  CountArticles();
  ChooseGroups({0});
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<a@x>"});
}

TEST_F(KilledTest, GroupThatIsRefusedIsTriedLater) {
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  KilledAt(1);

  ChooseGroups({0});
  Exchange("GROUP comp.lang.misc", "411 not now");
  Run();
  EXPECT_EQ(gPrefs->lastdownloaded[0], 1U);
  ChooseGroups({0});
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<a@x>"});
}

TEST_F(KilledTest, RunThatIsCutOffIsNotAKill) {
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Client("NEXT\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(end_, RunEnd::kLost);
  Connected();
  Enters(1, 3);
  Exchange("STAT 2", "412 none");
  Run();
}

TEST_F(KilledTest, ValueThatIsNoListOfPairsIsTakenAsFarAsItGoes) {
  gPrefs->lastdownloaded = {2, 5};
  gPrefs->lastonserver = {2, 5};
  const auto key = fake.registry.Create(kUnderWayPath);
  const std::vector<std::u16string> odd = {u"news.example.org", u"comp.lang.misc", u"x"};
  key->Set(u"groupsunderway", port::RegistryType::kMultiString, CreateMultiString(odd));
  ChooseGroups({0, 1});
  Enters(1, 2);
  Exchange("STAT 2", "412 none");
  Exchange("GROUP alt.test", "211 1 5 5 alt.test");
  Run();
  key->Set(u"groupsunderway", port::RegistryType::kBinary, "news.example.org");
  ChooseGroups({1});
  Exchange("GROUP alt.test", "211 1 5 5 alt.test");
  Run();
}

// --- killed, stored already ---

TEST_F(DownloadTest, KilledArticleIsDroppedWithoutItsBody) {
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = {1};
  gPrefs->killfiletexts = {"spam"};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  Enters(7, 8);
  Exchange("STAT 7", "223 7 <a@x>");
  FetchesHead(7, "<a@x>", "Great SPAM here");
  Exchange("NEXT", "223 8 <b@x>");
  Fetches(8, "<b@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<b@x>"});
  EXPECT_EQ(Details(), (std::vector<std::u16string>{u"article 7", u"article 7", u"Killed article 7",
                                                    u"article 8"}));
  EXPECT_EQ(TransactionLog().find("Killed"), std::string::npos);
}

TEST_F(DownloadTest, KilledArticlesCountAgainstTheRestAndNotAsStored) {
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = {1};
  gPrefs->killfiletexts = {"spam"};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  gPrefs->maxarticles = 10;
  HasStored(7);  // three to get
  Enters(1, 100);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>", "spam");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  FetchesHead(3, "<c@x>", "more spam");
  Run();
  EXPECT_EQ(gReadInfo[0]->totalCount, 8U);
  EXPECT_EQ(gReadInfo[0]->readCount, 0U);
  EXPECT_EQ(SavedProgress(), (Numbers{3, 0}));
}

TEST_F(DownloadTest, ArticleStoredAlreadyDoesNotCount) {
  fake.registry.PutDword(kExtensionsPath, u"crossposts", 0);
  gPrefs->maxarticles = 1;
  ChooseGroups({1, 0});
  Exchange("GROUP alt.test", "211 1 1 1 alt.test");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Enters(1, 9);  // one to get
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<b@x>"});
  EXPECT_EQ(Chain(u"alt.test"), Ids{"<a@x>"});
}

// --- bodies ---

TEST_F(DownloadTest, LargeArticleIsSkippedByItsLines) {
  Enters(3, 3);
  Exchange("STAT 3", "223 3 <a@x>");
  Client("HEAD\r\n");
  Server("221 3 <a@x>\r\nMessage-ID: <a@x>\r\nLines: 72\r\n.\r\n");  // 5 k
  Run();
  const auto article = Stored("<a@x>");
  ASSERT_NE(article, nullptr);
  EXPECT_EQ(article->body, kTooLarge);
  EXPECT_EQ(article->articleNumber, 3U);  // of the HEAD reply
  EXPECT_EQ(Details().back(), u"Skipping large article 3 (5k)");
}

TEST_F(DownloadTest, LinesUpToTheLimitAreFetched) {
  Enters(3, 3);
  Exchange("STAT 3", "223 3 <a@x>");
  Client("HEAD\r\n");
  Server("221 3 <a@x>\r\nMessage-ID: <a@x>\r\nLines: 71\r\n.\r\n");  // 4 k
  Client("BODY\r\n");
  Server("222 3 <a@x>\r\nt\r\n.\r\n");
  Run();
  EXPECT_EQ(Stored("<a@x>")->body, "t");
}

TEST_F(DownloadTest, LinesAreMultipliedBeyond32Bits) {
  Enters(3, 3);
  Exchange("STAT 3", "223 3 <a@x>");
  Client("HEAD\r\n");
  Server("221 3 <a@x>\r\nMessage-ID: <a@x>\r\nLines: 4294967295\r\n.\r\n");
  Run();
  EXPECT_EQ(Details().back(), u"Skipping large article 3 (301989887k)");
}

TEST_F(DownloadTest, LinesThatAreNoNumberEstimateNothing) {
  Enters(3, 3);
  Exchange("STAT 3", "223 3 <a@x>");
  Client("HEAD\r\n");
  Server("221 3 <a@x>\r\nMessage-ID: <a@x>\r\nLines: many\r\n.\r\n");
  Client("BODY\r\n");
  Server("222 3 <a@x>\r\nt\r\n.\r\n");
  Run();
  EXPECT_EQ(Stored("<a@x>")->body, "t");
}

TEST_F(DownloadTest, BodyThatFillsItsBufferIsReplaced) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\n");
  Server(std::string(4 * 1024 - 1 - 5, 'x') + "\r\n.\r\n");  // 4,095 bytes
  Exchange("NEXT", "223 2 <b@x>");
  FetchesHead(2, "<b@x>");
  Client("BODY\r\n");
  Server("222 2 <b@x>\r\n");
  Server(std::string(4 * 1024 - 2 - 5, 'x') + "\r\n.\r\n");  // 4,094 bytes
  Run();
  EXPECT_EQ(Stored("<a@x>")->body, kTooLarge);
  EXPECT_EQ(Stored("<b@x>")->body, std::string(4089, 'x'));
}

TEST_F(DownloadTest, OversizedBodyIsReadThroughAndReplaced) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\n");
  for (int i = 0; i < 50; ++i) Server(std::string(998, 'x') + "\r\n");
  Server(".\r\n");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Run();
  EXPECT_EQ(Stored("<a@x>")->body, kTooLarge);
  EXPECT_EQ(Stored("<b@x>")->body, "text");
}

TEST_F(DownloadTest, BodyBufferOfNothingReplacesEveryBody) {
  gPrefs->maxarticlesize = 0;
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Run();
  EXPECT_EQ(Stored("<a@x>")->body, kTooLarge);
}

TEST_F(DownloadTest, EmptyBodyIsSaid) {
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>", "s", "");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>", "s", "\r\n");
  Exchange("NEXT", "223 3 <c@x>");
  Fetches(3, "<c@x>", "s", std::string("\0hidden\r\n", 9));
  Run();
  for (const char* id : {"<a@x>", "<b@x>", "<c@x>"}) {
    EXPECT_EQ(Stored(id)->body, "Quillet notification: message has no body\r\n") << id;
  }
}

TEST_F(DownloadTest, HeadsOnlyStoresAnEmptyBody) {
  gPrefs->downloadfull = 0;
  Enters(6, 6);
  Exchange("STAT 6", "223 6 <a@x>");
  FetchesHead(6, "<a@x>");
  Run();
  const auto article = Stored("<a@x>");
  ASSERT_NE(article, nullptr);
  EXPECT_EQ(article->body, "");
  EXPECT_EQ(article->articleNumber, 6U);
}

TEST_F(DownloadTest, HeadsOnlyStillSayThatAnArticleIsTooLarge) {
  gPrefs->downloadfull = 0;
  Enters(6, 6);
  Exchange("STAT 6", "223 6 <a@x>");
  Client("HEAD\r\n");
  Server("221 6 <a@x>\r\nMessage-ID: <a@x>\r\nX: y\r\nLines: 72\r\n.\r\n");
  Run();
  ASSERT_NE(Stored("<a@x>"), nullptr);
  EXPECT_EQ(Stored("<a@x>")->body, kTooLarge);
  EXPECT_EQ(Stored("<a@x>")->headers, "X: y\r\nLines: 72");
  EXPECT_EQ(Details().back(), u"Skipping large article 6 (5k)");
}

TEST_F(DownloadTest, HeadersAreDroppedWhenNotKept) {
  gPrefs->keepheaders = 0;
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Run();
  EXPECT_EQ(Stored("<a@x>")->headers, "");
  EXPECT_EQ(Stored("<a@x>")->subject, "s");
}

TEST_F(DownloadTest, StoredNumberIsTheBodyReplys) {
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(5, "<a@x>");
  Client("BODY\r\n");
  Server("222 9 <a@x>\r\nt\r\n.\r\n");
  Run();
  EXPECT_EQ(Stored("<a@x>")->articleNumber, 9U);
}

TEST_F(DownloadTest, RefusedBodyDropsTheArticle) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Exchange("BODY", "430 gone");
  Exchange("NEXT", "223 2 <b@x>");
  Fetches(2, "<b@x>");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{"<b@x>"});
}

TEST_F(DownloadTest, LostBodyDropsTheArticleAndEndsTheRun) {
  ChooseGroups({0, 1});
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\nhalf");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(Stored("<a@x>"), nullptr);
  EXPECT_TRUE(Chain(u"comp.lang.misc").empty());
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_FALSE(AbortRequested());
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(DownloadTest, LostBodyStatusEndsTheRun) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Client("BODY\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_NE(gConnection.wire.socket(), 0U);  // left to whoever closes the connection
  EXPECT_EQ(end_, RunEnd::kLost);
}

TEST_F(DownloadTest, AbortDuringABodyDropsTheArticle) {
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  FetchesHead(1, "<a@x>");
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\n");
  Server("text\r\n.\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  Run();
  EXPECT_EQ(Stored("<a@x>"), nullptr);
  EXPECT_EQ(gPrefs->lastdownloaded[0], 0U);
  EXPECT_EQ(SavedProgress(), (Numbers{0, 0}));
  EXPECT_EQ(end_, RunEnd::kCancelled);
}

TEST_F(DownloadTest, BodyProgressShowsTheEstimate) {
  gPrefs->maxarticlesize = 20;
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1 <a@x>\r\nMessage-ID: <a@x>\r\nLines: 200\r\n.\r\n");  // 14 k
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\n");
  Server(std::string(5000, 'x'));
  Server(std::string(5000, 'x') + "\r\n.\r\n");
  Run();
  EXPECT_EQ(Details(),
            (std::vector<std::u16string>{u"article 1", u"article 1", u"article 1: 4k / 14k",
                                         u"article 1: 9k / 14k"}));
}

TEST_F(DownloadTest, BarRunsOverTheArticlesToGet) {
  struct Bar {
    int upper;
    int position;
    bool operator==(const Bar&) const = default;
  };
  std::vector<Bar> bars;  // at each STAT, NEXT and HEAD
  const auto look = [&] {
    const auto dialog = fake.display.FindDialog(gProgressDialog);
    ASSERT_TRUE(dialog);
    for (const port::ShownControl& control : dialog->controls) {
      if (control.id == 1004) bars.push_back({control.upper, control.position});
    }
  };
  gPrefs->maxarticles = 4;
  HasStored(1);
  Enters(1, 9);  // three to get
  Client("STAT 1\r\n");
  fake.sockets.Then(look);
  Server("423 none\r\n");  // missing ones do not move it
  Exchange("STAT 1", "423 none");
  Exchange("NEXT", "223 3 <c@x>");
  Client("STAT 3\r\n");
  fake.sockets.Then(look);
  Server("223 3 <c@x>\r\n");
  Client("HEAD\r\n");
  fake.sockets.Then(look);
  Server("430 gone\r\n");
  Client("NEXT\r\n");
  fake.sockets.Then(look);
  Server("223 4 <d@x>\r\n");
  Fetches(4, "<d@x>");
  Exchange("NEXT", "223 5 <e@x>");
  Client("HEAD\r\n");
  fake.sockets.Then(look);
  Server("430 gone\r\n");
  Run();
  EXPECT_EQ(bars, (std::vector<Bar>{{3, 0}, {3, 0}, {3, 0}, {3, 1}, {3, 2}}));
}

TEST_F(DownloadTest, BarOfAGroupWithNothingToGetHasOneUnit) {
  gPrefs->lastonserver[0] = gPrefs->lastdownloaded[0] = 9;
  Enters(1, 9);
  int upper = 0;
  Client("GROUP alt.test\r\n");
  fake.sockets.Then([&] {
    const auto dialog = fake.display.FindDialog(gProgressDialog);
    ASSERT_TRUE(dialog);
    for (const port::ShownControl& control : dialog->controls) {
      if (control.id == 1004) upper = control.upper;
    }
  });
  Server("411 no\r\n");
  ChooseGroups({0, 1});
  Run();
  EXPECT_EQ(upper, 1);
}

// --- the store ---

TEST_F(DownloadTest, NoMemoryForAnArticleEndsTheRun) {
  Enters(1, 2);
  Client("STAT 1\r\n");
  Server("223 1 <a@x>\r\n");
  fake.sockets.Then([] { testing::FailNthNothrowNew(1); });
  Run();
  testing::FailNthNothrowNew(0);
  EXPECT_EQ(end_, RunEnd::kNoMemory);
  EXPECT_EQ(ErrorLog(), u"out of memory\r\n");
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"A critical error (out of memory) occurred in NewAsciiArticle."});
  EXPECT_EQ(SavedProgress(), (Numbers{0, 0}));
}

TEST_F(DownloadTest, ArticleWithoutAMessageIdTextIsStoredOnce) {
  Enters(1, 3);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1 <a@x>\r\nMessage-ID: \r\nSubject: \r\nFrom: f\r\n.\r\n");
  Client("BODY\r\n");
  Server("222 1 <a@x>\r\ntext\r\n.\r\n");
  Exchange("NEXT", "223 2 <b@x>");
  Client("HEAD\r\n");
  Server("221 2 <b@x>\r\nMessage-ID: \r\nSubject: other\r\nFrom: f\r\n.\r\n");
  Exchange("NEXT", "421 none");
  Run();
  ASSERT_NE(Stored(""), nullptr);
  EXPECT_EQ(Stored("")->subject, "");
  EXPECT_EQ(Chain(u"comp.lang.misc"), Ids{""});
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
}

TEST_F(DownloadTest, FailedStoreEndsTheRun) {
  ChooseGroups({0, 1});
  Enters(1, 5);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  fake.sockets.Then([] { CloseDatabases(); });
  fake.sockets.Client(
      "NEXT\r\n");  // sent while the article was being stored; its reply is not read
  Run();
  EXPECT_EQ(end_, RunEnd::kStoreFailed);
  EXPECT_FALSE(AbortRequested());
  EXPECT_EQ(gReadInfo[0]->totalCount, 0U);
  EXPECT_EQ(BoxTexts()[0], u"Error inserting GDBM article.");
  EXPECT_EQ(fake.sockets.sent().find("alt.test"), std::string::npos);
}

TEST_F(DownloadTest, NextIsAskedForWhileTheArticleIsStored) {
  ChooseGroups({0});
  Enters(1, 2);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  fake.sockets.Client("NEXT\r\n");
  fake.sockets.Then([] { EXPECT_FALSE(ArticleExists("<a@x>")); });
  fake.sockets.Server("223 2 <b@x>\r\n");
  Fetches(2, "<b@x>");  // the last one: nothing more is asked for
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (Ids{"<b@x>", "<a@x>"}));
}

TEST_F(DownloadTest, FullStoreStopsTheRunButVisitsTheGroups) {
  ChooseGroups({0, 1});
  fake.files.SetFreeSpace({2'000, 100'000});  // 98 % used: just allowed
  Enters(1, 5);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("GROUP alt.test", "211 5 1 5 alt.test");
  Run();
  EXPECT_EQ(ErrorLog(), kStoreFull);
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
  EXPECT_EQ(gPrefs->lastonserver, (Numbers{5, 5}));
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_FALSE(AbortRequested());
}

TEST_F(DownloadTest, RoomIsCountedByTextsAndOverhead) {
  // Free space falls by length(body) + length(headers) + 72 an article: 4 + 15 + 72 = 91 here.
  fake.files.SetFreeSpace({2'091, 100'000});
  Enters(1, 5);
  for (int i = 1; i <= 2; ++i) {
    const std::string id = FormatNarrow("<%d@x>", i);
    if (i == 1) Exchange("STAT 1", "223 1 " + id);
    if (i == 2) Exchange("NEXT", "223 2 " + id);
    Client("HEAD\r\n");
    Server(FormatNarrow("221 %d %s\r\nMessage-ID: %s\r\nPath: 123456789\r\n.\r\n", i, id, id));
    Client("BODY\r\n");
    Server(FormatNarrow("222 %d %s\r\ntext\r\n.\r\n", i, id));
  }
  Run();
  EXPECT_EQ(ErrorLog(), kStoreFull);
  EXPECT_EQ(gReadInfo[0]->totalCount, 2U);
}

TEST_F(DownloadTest, RoomIsJudgedAfterDroppedArticlesToo) {
  fake.files.SetFreeSpace({1'000, 100'000});
  Enters(1, 5);
  Exchange("STAT 1", "223 1 <a@x>");
  Exchange("HEAD", "430 gone");
  Run();
  EXPECT_EQ(ErrorLog(), kStoreFull);
}

TEST_F(DownloadTest, RoomIsJudgedAfterMissingArticlesToo) {
  fake.files.SetFreeSpace({1'000, 100'000});
  Enters(1, 5);
  Exchange("STAT 1", "423 none");
  Run();
  EXPECT_EQ(ErrorLog(), kStoreFull);
}

TEST_F(DownloadTest, UsedSpaceNeverWrapsIntoRoom) {
  gPrefs->maxstore = 99;
  fake.files.SetFreeSpace({50, 4'000});  // less than one article takes
  Enters(1, 5);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Run();
  EXPECT_EQ(ErrorLog(), kStoreFull);
}

// What others take of the volume, and the databases beside the articles' texts, is not counted.
class SpaceTest : public DownloadTest {
 protected:
  SpaceTest() { gPrefs->maxarticles = 1000; }

  // So much is free when this many articles have come.
  void FreeAfter(int articles, const port::VolumeSpace& space) {
    after_ = articles;
    space_after_ = space;
  }

  void Download(int articles) {
    Enters(1, static_cast<std::uint32_t>(articles));
    for (int i = 1; i <= articles; ++i) {
      const std::string id = FormatNarrow("<%d@x>", i);
      Exchange(i == 1 ? "STAT 1" : "NEXT", FormatNarrow("223 %d ", i) + id);
      Fetches(i, id);
      if (i == after_) fake.sockets.Then([this] { fake.files.SetFreeSpace(space_after_); });
    }
    Run();
    fake.sockets.Release();
  }

  int after_ = 0;
  port::VolumeSpace space_after_;
};

TEST_F(SpaceTest, VolumeIsAskedAgainEveryFiftyArticles) {
  fake.files.SetFreeSpace({50'000'000, 100'000'000});  // too small for growing in steps
  FreeAfter(20, {1'000'000, 100'000'000});
  Download(120);
  EXPECT_EQ(gReadInfo[0]->totalCount, 50U);
  EXPECT_EQ(ErrorLog(), kStoreFull);
  EXPECT_EQ(SavedProgress(), (Numbers{50, 0}));
}

TEST_F(SpaceTest, VolumeThatStaysAsItIsStopsNothingAndIsAskedNowAndThen) {
  fake.files.SetFreeSpace({50'000'000, 100'000'000});
  const int before = fake.files.calls(port::FileCall::kFreeSpace);
  Download(120);
  // At the start, twice after fifty, and by the store where it would grow in steps.
  EXPECT_LT(fake.files.calls(port::FileCall::kFreeSpace), before + 20);
  EXPECT_EQ(gReadInfo[0]->totalCount, 120U);
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(SpaceTest, VolumeIsAskedAgainAfterEachStepOfGrowth) {
  fake.files.SetFreeSpace({9'000'000'000, 10'000'000'000});
  FreeAfter(25, {100'000'000, 10'000'000'000});  // the first step is taken with article 32
  Download(45);
  EXPECT_EQ(gReadInfo[0]->totalCount, 32U);
  EXPECT_EQ(ErrorLog(), kStoreFull);
}

TEST_F(SpaceTest, NextGroupDoesNotGetTheReplyThatTheFullStoreLeft) {
  ChooseGroups({0, 1});
  fake.files.SetFreeSpace({50'000'000, 100'000'000});
  Enters(1, 60);
  for (int i = 1; i <= 50; ++i) {
    const std::string id = FormatNarrow("<%d@x>", i);
    Exchange(i == 1 ? "STAT 1" : "NEXT", FormatNarrow("223 %d ", i) + id);
    Fetches(i, id);
    if (i == 20) {
      fake.sockets.Then([this] { fake.files.SetFreeSpace({1'000'000, 100'000'000}); });
    }
  }
  Exchange("NEXT", "223 51 <51@x>");  // asked for while the fiftieth was stored
  Exchange("GROUP alt.test", "211 5 1 5 alt.test");
  Run();
  EXPECT_EQ(gPrefs->lastonserver, (Numbers{60, 5}));
  EXPECT_EQ(SavedProgress(), (Numbers{50, 0}));
  EXPECT_EQ(ErrorLog(), kStoreFull);
}

TEST_F(SpaceTest, StoreThatFailsForLackOfRoomIsSaidToBeFull) {
  Enters(1, 5);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  fake.sockets.Then([this] {
    CloseDatabases();
    fake.files.SetFreeSpace({0, 100'000'000});
  });
  Client("NEXT\r\n");
  Run();
  EXPECT_EQ(end_, RunEnd::kStoreFailed);
  EXPECT_EQ(ErrorLog(), kStoreFull);
}

TEST_F(DownloadTest, VolumeThatCannotBeAskedHasRoom) {
  fake.files.FailNth(port::FileCall::kFreeSpace, 1);
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Run();
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(gReadInfo[0]->totalCount, 1U);
}

TEST_F(DownloadTest, AbortBetweenGroupsVisitsNoMore) {
  ChooseGroups({0, 1});
  Client("GROUP comp.lang.misc\r\n");
  Server("411 no\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  Run();
  EXPECT_EQ(fake.sockets.sent(), "GROUP comp.lang.misc\r\n");
  EXPECT_EQ(end_, RunEnd::kCancelled);
}

}  // namespace
}  // namespace quillet
