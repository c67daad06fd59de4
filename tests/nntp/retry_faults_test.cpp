// SPDX-License-Identifier: GPL-3.0-or-later
// What a run promises whose link is cut at any point: the next connection makes up for it, every
// article is stored once and every post is with the server once, and what was done is not done
// again.
#include <algorithm>
#include <map>

#include "store/pending_posts.h"
#include "tests/nntp/model_sockets.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

class RetryFaultsTest : public NntpTest {
 protected:
  RetryFaultsTest() {
    gPlatform = &platform_;
    fake.registry.PutDword(kExtensionsPath, u"retries", 3);
    gPrefs->returnmailaddress = u"ann@example.org";
    OpenStore();
    model_.Add("comp.lang.misc", 3, "<a@x>", "first\r\n");
    model_.Add("comp.lang.misc", 7, "<spam@x>", "never fetched\r\n");
    model_.groups[0].articles[1].head = "Subject: spam\r\nMessage-ID: <spam@x>\r\n";
    model_.Add("comp.lang.misc", 8, "<b@x>", "eighth\r\n");
    model_.Add("alt.test", 10, "<c@x>", "tenth\r\n");
    model_.Add("alt.test", 12, "<d@x>", "twelfth\r\n");
  }
  ~RetryFaultsTest() override {
    CloseDatabases();
    gPlatform = &fake.platform;
  }

  void StartAfresh() {
    for (const DatabaseIndex index : {DatabaseIndex::kArticles, DatabaseIndex::kNewsgroups}) {
      while (const auto key = FirstKey(index)) ASSERT_TRUE(DeleteValue(index, *key));
    }
    while (const auto key = NextPendingPostKey({})) DeletePendingPost(*key);
    AsciiArticle post;
    post.messageId = "1";
    post.headers = "Newsgroups: a.b\r\n";
    post.body = "text\r\n";
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
    gPrefs = TestPrefs();
    gPrefs->returnmailaddress = u"ann@example.org";
    gPrefs->killfilecount = 1;
    gPrefs->killfilegroups = {1};
    gPrefs->killfiletexts = {"spam"};
    gPrefs->killfilekills = {1};
    gPrefs->killfileauthors = {0};
    CountArticles();
    fake.display.ForgetBoxes();
    fake.display.ForgetProgressTexts();
    model_.posts.clear();
    sockets_.chunk = 0;
    sockets_.fail_send = sockets_.fail_receive = 0;
    sockets_.failed_send_delivers = 0;
    sockets_.close_after.reset();
    sockets_.close_every = 0;
    sockets_.delivered = 0;
    lines_.clear();
    sockets_.on_line = [this](std::string_view line) { ++lines_[std::string(line)]; };
  }

  void Run() {
    gAbortRequested = 0;
    ChooseGroups({0, 1});
    end_ = RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(sockets_.open, 0);
  }

  // One run was enough.
  void ExpectAllOnce() {
    EXPECT_EQ(end_, RunEnd::kGoOn);
    EXPECT_EQ(Chain(u"comp.lang.misc"), (std::vector<std::string>{"<b@x>", "<a@x>"}));
    EXPECT_EQ(Chain(u"alt.test"), (std::vector<std::string>{"<d@x>", "<c@x>"}));
    EXPECT_FALSE(ArticleExists("<spam@x>"));
    EXPECT_EQ(gReadInfo[0]->totalCount, 2U);
    EXPECT_EQ(gReadInfo[1]->totalCount, 2U);
    EXPECT_EQ(SavedProgress(), (std::vector<std::uint32_t>{8, 12}));
    ASSERT_TRUE(ArticleExists("<a@x>") && ArticleExists("<d@x>"));
    EXPECT_EQ(FetchArticle("<a@x>")->body, "first");
    EXPECT_EQ(FetchArticle("<d@x>")->body, "twelfth");
    ExpectPostedOnce();
    ExpectBoxes();
  }
  void ExpectPostedOnce() {
    ASSERT_EQ(model_.posts.size(), 1U);
    EXPECT_NE(model_.posts[0].text.find("\r\n\r\ntext\r\n"), std::string::npos);
    EXPECT_EQ(CountPendingPosts(), 0U);
  }
  // The error log, once and at the end.
  void ExpectBoxes() {
    const std::vector<std::u16string> boxes = BoxTexts();
    ASSERT_LE(boxes.size(), 1U);
    if (boxes.size() == 1) {
      EXPECT_EQ(boxes[0], ErrorLog());
    }
  }
  // With one cut, no more than what it cut is asked for twice.
  void ExpectLittleAskedTwice() {
    EXPECT_LE(lines_["GROUP comp.lang.misc"], 2);
    EXPECT_LE(lines_["GROUP comp.lang.misc"] + lines_["GROUP alt.test"], 3);
    EXPECT_LE(lines_["HEAD"], 6);
    EXPECT_LE(lines_["BODY"], 5);
    EXPECT_LE(lines_["POST"], 2);
  }

  RunEnd end_ = RunEnd::kGoOn;
  std::map<std::string, int> lines_;
  NewsModel model_;
  ModelSockets sockets_{model_};
  port::Platform platform_{fake.display.Services(), fake.queues,  fake.registry, sockets_,
                           fake.libraries,          fake.files,   fake.clock,    fake.shell,
                           fake.scheduler,          fake.dialler, fake.mail,     fake.contacts,
                           fake.security,           fake.secrets};
};

TEST_F(RetryFaultsTest, UndisturbedRunNeedsOneConnection) {
  StartAfresh();
  Run();
  ExpectAllOnce();
  EXPECT_EQ(lines_["HEAD"], 5);
  EXPECT_EQ(lines_["BODY"], 4);
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(RetryFaultsTest, LinkThatIsCutAtAnyByteIsMadeUpFor) {
  StartAfresh();
  Run();
  const std::uint64_t all = sockets_.delivered;
  ASSERT_GT(all, 1000U);
  for (std::uint64_t bytes = 0; bytes < all && !HasFailure(); ++bytes) {
    SCOPED_TRACE(bytes);
    StartAfresh();
    sockets_.close_after = bytes;
    Run();
    ExpectAllOnce();
    ExpectLittleAskedTwice();
    if (lines_["QUIT"] == 1) {
      EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
    }
  }
}

TEST_F(RetryFaultsTest, AnyFailingSendIsMadeUpForWhateverArrivedOfIt) {
  for (const std::size_t delivered : {0U, 3U, 10000U}) {
    bool failed = true;
    for (int n = 1; failed && !HasFailure(); ++n) {
      SCOPED_TRACE(FormatNarrow("send %d, %d bytes arrive", n, delivered));
      StartAfresh();
      sockets_.fail_send = n;
      sockets_.failed_send_delivers = delivered;
      Run();
      failed = sockets_.fail_send == 0;
      ExpectAllOnce();
      ExpectLittleAskedTwice();
      ASSERT_LT(n, 1000);
    }
  }
}

TEST_F(RetryFaultsTest, AnyFailingReceiveIsMadeUpFor) {
  bool failed = true;
  for (int n = 1; failed && !HasFailure(); ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.fail_receive = n;
    sockets_.chunk = 50;
    Run();
    failed = sockets_.fail_receive == 0;
    ExpectAllOnce();
    ExpectLittleAskedTwice();
    ASSERT_LT(n, 1000);
  }
}

// A link that never lasts long gets there all the same.
TEST_F(RetryFaultsTest, LinkThatIsCutAgainAndAgainIsMadeUpFor) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 100);
  for (std::uint64_t bytes = 400; bytes < 900 && !HasFailure(); bytes += 13) {
    SCOPED_TRACE(bytes);
    StartAfresh();
    sockets_.close_every = bytes;
    Run();
    ExpectAllOnce();
  }
}

// Without Message-IDs nothing tells the server that it has the article: it is not sent again while
// that is not known.
TEST_F(RetryFaultsTest, WithoutMessageIdsNoPostIsSentTwiceInARun) {
  fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
  for (const std::size_t delivered : {0U, 3U, 10000U}) {
    bool failed = true;
    for (int n = 1; failed && !HasFailure(); ++n) {
      SCOPED_TRACE(FormatNarrow("send %d, %d bytes arrive", n, delivered));
      StartAfresh();
      sockets_.fail_send = n;
      sockets_.failed_send_delivers = delivered;
      Run();
      failed = sockets_.fail_send == 0;
      EXPECT_LE(model_.posts.size(), 1U);
      EXPECT_GE(model_.posts.size() + CountPendingPosts(), 1U);
      const bool said = ErrorLog().find(u"It is not known whether") != std::u16string::npos;
      EXPECT_EQ(said, CountPendingPosts() == 1);
      EXPECT_EQ(Chain(u"alt.test").size(), 2U);
    }
  }
}

}  // namespace
}  // namespace quillet
