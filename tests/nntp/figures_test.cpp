// SPDX-License-Identifier: GPL-3.0-or-later
// What a whole connection tells of itself while it runs and when it has ended.
#include "nntp/figures.h"

#include <chrono>
#include <thread>

#include "base/upward_calls.h"
#include "nntp/connect.h"
#include "res/resource.h"
#include "store/lost_articles.h"
#include "store/pending_posts.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

struct Told {
  int counts = 0;
  std::vector<std::u16string> results;
};
Told gTold;

class FiguresTest : public NntpTest {
 protected:
  FiguresTest() {
    gTold = {};
    gUpwardCalls.group_list = {[] { ++gTold.counts; },
                               [](std::u16string_view text) { gTold.results.emplace_back(text); }};
    OpenStore();
    ChooseGroups({0});
  }

  void Run() {
    end_ = RunWithProgress(u"Preparing to download...", OpenConnection, FiguresOfRun());
    result_ = TakeResultOfRun();
  }

  void Greets() { Server("200 welcome\r\n"); }
  void Enters(const std::string& group, const std::string& numbers) {
    Exchange("GROUP " + group, "211 " + numbers + " " + group);
  }
  // Time passes at this place of the conversation.
  void Pause(std::uint64_t milliseconds) {
    fake.sockets.Then([this, milliseconds] { fake.clock.Advance(milliseconds); });
  }
  // The line says so at this place of the conversation.
  void Shows(std::u16string line) {
    fake.sockets.Then([this, line = std::move(line)] {
      RefreshProgressFigures();
      std::u16string shown;
      for (int i = 0; i < 5000 && shown != line; ++i) {
        const auto control = fake.display.Control(gProgressDialog, kControlProgressFigures);
        if (control) shown = control->text;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      EXPECT_EQ(shown, line);
    });
  }
  void Queue(const std::string& key) {
    AsciiArticle post;
    post.messageId = key;
    post.subject = "s";
    post.headers = "Newsgroups: a.b\r\n";
    post.body = "text\r\n";
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  void Takes(const std::string& reply = "240 thanks") {
    Client("POST\r\n");
    Server("340 send it\r\n");
    Client("Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
    Server(reply + "\r\n");
  }

  RunEnd end_ = RunEnd::kGoOn;
  std::u16string result_;
};

// --- the line ------------------------------------------------------------------------------------

TEST_F(FiguresTest, LineFollowsTheWalkThroughTheGroups) {
  ChooseGroups({0, 1});
  Greets();
  Shows(u"");
  Enters("comp.lang.misc", "3 5 7");
  Client("STAT 5\r\n");
  Shows(u"group 1 of 2, article 0 of 3");
  Server("223 5 <a@x>\r\n");
  Fetches(5, "<a@x>");
  Pause(2000);
  Exchange("NEXT", "223 6 <b@x>");
  Client("HEAD\r\n");
  Shows(u"group 1 of 2, article 1 of 3, 30 articles a minute");
  Server("221 6 <b@x> head\r\n" + HeadOf("<b@x>", "s") + ".\r\n");
  Client("BODY\r\n");
  Pause(2000);
  Server("222 6 <b@x> body\r\ntext\r\n.\r\n");
  Exchange("NEXT", "223 7 <c@x>");
  Client("HEAD\r\n");
  // One here, and three in the next group as in this one.
  Shows(u"group 1 of 2, article 2 of 3, 30 articles a minute, 0:08 left");
  Server("221 7 <c@x> head\r\n" + HeadOf("<c@x>", "s") + ".\r\n");
  Client("BODY\r\n");
  Server("222 7 <c@x> body\r\ntext\r\n.\r\n");
  Client("GROUP alt.test\r\n");
  Shows(u"group 2 of 2, 45 articles a minute, 0:04 left");
  Server("411 no such group\r\n");
  Client("QUIT\r\n");
  Shows(u"group 2 of 2");
  Run();
}

TEST_F(FiguresTest, WhateverBecomesOfAnArticleItIsDoneWith) {
  gPrefs->killfilecount = 1;
  gPrefs->killfiletexts = {"spam"};
  gPrefs->killfilegroups = {1};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  AsciiArticle stored;
  stored.messageId = "<dup@x>";
  stored.subject = "s";
  stored.body = "b";
  stored.headers = "h";
  ASSERT_TRUE(StoreArticle(stored));
  fake.registry.PutDword(kExtensionsPath, u"crossposts", 0);
  Greets();
  Enters("comp.lang.misc", "4 1 9");
  Exchange("STAT 1", "423 gone");
  Exchange("STAT 1", "423 gone");
  Exchange("NEXT", "223 2 <spam@x>");
  Exchange("STAT 2", "223 2 <spam@x>");
  FetchesHead(2, "<spam@x>", "spam");
  Client("NEXT\r\n");
  Shows(u"group 1 of 1, article 1 of 4");
  Server("223 3 <dup@x>\r\n");
  FetchesHead(3, "<dup@x>");
  Client("NEXT\r\n");
  Shows(u"group 1 of 1, article 2 of 4");
  Server("223 4 <ref@x>\r\n");
  Exchange("HEAD", "430 no such article");
  Client("NEXT\r\n");
  Shows(u"group 1 of 1, article 3 of 4");
  Server("223 9 <new@x>\r\n");
  Fetches(9, "<new@x>");
  Client("NEXT\r\n");
  Server("421 no next\r\n");
  Client("QUIT\r\n");
  Shows(u"group 1 of 1, article 4 of 4");
  Run();
  EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<new@x>"}));
  EXPECT_EQ(result_, u"1 new article in 1 group, 0:00.");
}

TEST_F(FiguresTest, PostsAreCountedBeforeTheGroups) {
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  Queue("a");
  Queue("b");
  Greets();
  Client("POST\r\n");
  Shows(u"posting 1 of 2");
  Server("340 send it\r\n");
  Client("Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
  Server("240 thanks\r\n");
  Client("POST\r\n");
  Shows(u"posting 2 of 2");
  Server("340 send it\r\n");
  Client("Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
  Server("441 no\r\n");
  Enters("comp.lang.misc", "0 1 0");
  Quits();
  Run();
  EXPECT_EQ(result_, u"No new articles, 1 posted, 0:00.");
}

TEST_F(FiguresTest, FiguresGoOnOverAConnectionThatIsMadeAgain) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 3);
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  Queue("a");
  Queue("b");
  Greets();
  Takes();
  Client("POST\r\n");
  fake.sockets.Closes();
  Greets();
  Client("POST\r\n");
  Shows(u"posting 2 of 2");
  Server("340 send it\r\n");
  Client("Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
  Server("240 thanks\r\n");
  Enters("comp.lang.misc", "3 1 3");
  Exchange("STAT 1", "223 1 <a@x>");
  Fetches(1, "<a@x>");
  Exchange("NEXT", "223 2 <b@x>");
  Client("HEAD\r\n");
  Shows(u"group 1 of 1, article 1 of 3");
  fake.sockets.Closes();
  Greets();
  Client("GROUP comp.lang.misc\r\n");
  Shows(u"group 1 of 1, article 1 of 3");
  Server("211 3 1 3 comp.lang.misc\r\n");
  Client("STAT 2\r\n");
  Shows(u"group 1 of 1, article 1 of 3");
  Server("223 2 <b@x>\r\n");
  Fetches(2, "<b@x>");
  Exchange("NEXT", "223 3 <c@x>");
  Client("HEAD\r\n");
  Shows(u"group 1 of 1, article 2 of 3");
  Server("221 3 <c@x> head\r\n" + HeadOf("<c@x>", "s") + ".\r\n");
  Client("BODY\r\n");
  Server("222 3 <c@x> body\r\ntext\r\n.\r\n");
  Quits();
  Run();
  EXPECT_EQ(gReadInfo[0]->totalCount, 3U);
  EXPECT_EQ(result_, u"3 new articles in 1 group, 2 posted, 0:20.") << "with two waits";
}

TEST_F(FiguresTest, LineOfTheLastRunIsNotThatOfTheNext) {
  Greets();
  Enters("comp.lang.misc", "1 5 5");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Quits();
  Run();
  Shows(u"");
  Greets();
  Enters("comp.lang.misc", "1 5 5");
  Client("QUIT\r\n");
  Shows(u"group 1 of 1");
  Run();
}

// --- the counts of the list ----------------------------------------------------------------------

TEST_F(FiguresTest, CountsOfTheListGrowAFewTimesASecond) {
  constexpr int kArticles = 20;
  Greets();
  Enters("comp.lang.misc", "20 1 20");
  for (int i = 1; i <= kArticles; ++i) {
    const std::string id = FormatNarrow("<a%d@x>", i);
    Exchange(i == 1 ? "STAT 1" : "NEXT", FormatNarrow("223 %d %s", i, id));
    Pause(100);
    Fetches(i, id);
  }
  Client("QUIT\r\n");
  Run();
  EXPECT_EQ(gTold.counts, 6) << "in two seconds each four tenths, and at the end";
}

// --- the result ----------------------------------------------------------------------------------

TEST_F(FiguresTest, ResultSaysWhatCame) {
  ChooseGroups({0, 1});
  Greets();
  Enters("comp.lang.misc", "1 5 5");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Pause(31000);
  Enters("alt.test", "2 1 2");
  Exchange("STAT 1", "223 1 <b@x>");
  Fetches(1, "<b@x>");
  Exchange("NEXT", "223 2 <c@x>");
  Fetches(2, "<c@x>");
  Quits();
  Run();
  EXPECT_EQ(result_, u"3 new articles in 2 groups, 0:31.");
  EXPECT_EQ(TakeResultOfRun(), u"") << "once";
}

TEST_F(FiguresTest, OnlyWhatIsNewIsCounted) {
  Greets();
  Enters("comp.lang.misc", "1 5 5");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Quits();
  Run();
  Greets();
  Enters("comp.lang.misc", "2 5 6");
  Exchange("STAT 6", "223 6 <b@x>");
  Fetches(6, "<b@x>");
  Quits();
  Run();
  EXPECT_EQ(result_, u"1 new article in 1 group, 0:00.");
}

TEST_F(FiguresTest, CancelledRunSaysWhatHadCome) {
  Greets();
  Enters("comp.lang.misc", "2 5 6");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Client("NEXT\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  Quits();
  Run();
  EXPECT_EQ(end_, RunEnd::kCancelled);
  EXPECT_EQ(result_, u"1 new article in 1 group, 0:00, cancelled.");
}

TEST_F(FiguresTest, LostConnectionIsSaid) {
  Greets();
  Enters("comp.lang.misc", "2 5 6");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Client("NEXT\r\n");
  fake.sockets.Closes();
  Run();
  EXPECT_EQ(end_, RunEnd::kLost);
  EXPECT_EQ(result_, u"1 new article in 1 group, 0:00, connection lost.");
}

TEST_F(FiguresTest, ServerThatCannotBeReachedIsSaid) {
  fake.sockets.FailConnect(10061);
  Run();
  EXPECT_EQ(result_, u"No new articles, 0:00, no connection.");
}

TEST_F(FiguresTest, StoreThatIsFullIsSaid) {
  gPrefs->maxstore = 50;
  fake.files.SetFreeSpace({500'000'050, 1'000'000'000});
  Greets();
  Enters("comp.lang.misc", "2 5 6");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Quits();
  fake.sockets.on_call = [&](port::SocketCall call, int) {
    if (call == port::SocketCall::kReceive) fake.files.SetFreeSpace({400'000'000, 1'000'000'000});
  };
  Run();
  EXPECT_EQ(result_, u"1 new article in 1 group, 0:00, store full.");
}

TEST_F(FiguresTest, ResultGoesToTheGroupListWhenTheConnectionEnds) {
  gPrefs->checked = {1, 0};
  Greets();
  Enters("comp.lang.misc", "1 5 5");
  Exchange("STAT 5", "223 5 <a@x>");
  Fetches(5, "<a@x>");
  Quits();
  ConnectCommand(true);
  EXPECT_EQ(gTold.results, (std::vector<std::u16string>{u"1 new article in 1 group, 0:00."}));
}

TEST_F(FiguresTest, ConnectionThatWasNeverTriedHasNoResult) {
  gPrefs->checked = {1, 0};
  gPrefs->conxmethod = u"modem";
  fake.dialler.dial_result = 680;
  ConnectCommand(true);
  EXPECT_EQ(gTold.results, (std::vector<std::u16string>{u""}));
}

// --- without the extension -----------------------------------------------------------------------

TEST_F(FiguresTest, WithoutTheExtensionNothingIsTold) {
  fake.registry.PutDword(kExtensionsPath, u"progressline", 0);
  gPrefs->checked = {1, 0};
  Greets();
  Enters("comp.lang.misc", "1 5 5");
  Client("STAT 5\r\n");
  fake.sockets.Then([this] {
    fake.clock.Advance(5000);
    const auto line = fake.display.Control(gProgressDialog, kControlProgressFigures);
    ASSERT_TRUE(line);
    EXPECT_FALSE(line->visible);
    const auto bar = fake.display.Control(gProgressDialog, kControlProgressBar);
    ASSERT_TRUE(bar);
    EXPECT_EQ(bar->text, u"");
  });
  Server("223 5 <a@x>\r\n");
  Fetches(5, "<a@x>");
  Pause(5000);
  Quits();
  ConnectCommand(true);
  EXPECT_EQ(gTold.counts, 0);
  EXPECT_EQ(gTold.results, (std::vector<std::u16string>{u""}));
}

}  // namespace
}  // namespace quillet
