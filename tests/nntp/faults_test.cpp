// SPDX-License-Identifier: GPL-3.0-or-later
// What a download promises however it is disturbed: nothing stored is lost, chains, counts and the
// count cache agree, the progress is saved before each fetch, nothing stays open, and a later run
// gets what is still missing.
#include <set>

#include "nntp/connection.h"
#include "tests/nntp/faulty_libraries.h"
#include "tests/nntp/model_sockets.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

using Ids = std::set<std::string>;

const Ids kMisc = {"<a@x>", "<b@x>", "<c@x>", "<d@x>"};
const Ids kTest = {"<a@x>", "<e@x>", "<f@x>"};

NewsModel SmallModel() {
  NewsModel model;
  model.Add("comp.lang.misc", 3, "<a@x>", "first\r\n");
  model.Add("comp.lang.misc", 4, "<b@x>", std::string(1100, 'l') + "\r\n");  // above the limit
  model.Add("comp.lang.misc", 7, "<c@x>", "..stuffed\r\n");
  model.Add("comp.lang.misc", 8, "<d@x>", "");
  model.Add("alt.test", 10, "<e@x>", "tenth\r\n");
  model.Add("alt.test", 11, "<a@x>", "first\r\n");  // cross-posted
  model.Add("alt.test", 12, "<f@x>", "twelfth\r\n");
  return model;
}

const std::map<std::string, std::string>& Bodies() {
  static const std::map<std::string, std::string> bodies = {
      {"<a@x>", "first"},     {"<b@x>", "Quillet notification: message exceeds maximum size.\r\n"},
      {"<c@x>", "..stuffed"}, {"<d@x>", "Quillet notification: message has no body\r\n"},
      {"<e@x>", "tenth"},     {"<f@x>", "twelfth"}};
  return bodies;
}

class FaultsTest : public NntpTest {
 protected:
  FaultsTest() {
    gPlatform = &platform_;
    gFaultyStore = {};
    OpenStore();
  }
  ~FaultsTest() override {
    CloseDatabases();
    gPlatform = &fake.platform;
  }

  void StartAfresh() {
    Heal();
    EmptyStore();
    gPrefs = TestPrefs();
    gPrefs->maxarticlesize = 1;
    CountArticles();
    fake.registry.Erase(kRegistryPath, u"lastdownloaded");
    fake.display.ForgetBoxes();
    fake.display.ForgetProgressTexts();
    gAbortRequested = 0;
  }

  // Quicker than new files, which are written through to the disk.
  static void EmptyStore() {
    for (const DatabaseIndex index : {DatabaseIndex::kArticles, DatabaseIndex::kNewsgroups}) {
      while (const auto key = FirstKey(index)) ASSERT_TRUE(DeleteValue(index, *key));
    }
  }

  void Heal() {
    sockets_.chunk = 0;
    sockets_.fail_send = 0;
    sockets_.fail_receive = 0;
    sockets_.close_after.reset();
    sockets_.on_reply = nullptr;
    sockets_.on_call = nullptr;
    sockets_.on_line = [this](std::string_view line) { NoteLine(line); };
    sockets_.calls = 0;
    sockets_.replies = 0;
    sockets_.delivered = 0;
    gFaultyStore = {};
  }

  // The progress in memory is the saved one when an article is asked for.
  void NoteLine(std::string_view line) {
    if (line != "HEAD") return;
    EXPECT_EQ(SavedProgress(), gPrefs->lastdownloaded);
  }

  void Run() {
    gAbortRequested = 0;
    ChooseGroups({0, 1});
    OpenConnection();
    ExpectPromises();
  }

  static Ids IdsOf(std::u16string_view group) {
    const std::vector<std::string> chain = Chain(group);
    Ids ids(chain.begin(), chain.end());
    EXPECT_EQ(ids.size(), chain.size());  // none twice
    return ids;
  }

  static void ExpectWholeArticle(const std::string& id) {
    const auto article = FetchArticle(id);
    ASSERT_NE(article, nullptr) << id;
    EXPECT_EQ(article->body, Bodies().at(id));
    EXPECT_EQ(article->source, "news.example.org");
    EXPECT_EQ(article->from, "ann@example.org");
  }

  void ExpectPromises() {
    EXPECT_EQ(sockets_.open, 0);
    EXPECT_EQ(gConnection.wire.socket(), 0U);
    EXPECT_FALSE(gConnection.server_name.has_value());
    for (std::size_t group = 0; group < 2; ++group) {
      const Ids ids = IdsOf(gPrefs->groups[group]);
      EXPECT_EQ(gReadInfo[group]->totalCount, ids.size());
      for (const std::string& id : ids) ExpectWholeArticle(id);
    }
    // No article that nobody sees and that would be taken for a duplicate.
    const Ids misc = IdsOf(u"comp.lang.misc");
    const Ids test = IdsOf(u"alt.test");
    for (const auto& [id, body] : Bodies()) {
      EXPECT_EQ(ArticleExists(id), misc.contains(id) || test.contains(id)) << id;
    }
    if (gDatabaseErrorFlag || stores_may_fail_) return;
    const std::vector<std::uint32_t> counts = {gReadInfo[0]->totalCount, gReadInfo[1]->totalCount};
    CountArticles();  // from the cache
    EXPECT_EQ(gReadInfo[0]->totalCount, counts[0]);
    EXPECT_EQ(gReadInfo[1]->totalCount, counts[1]);
  }

  // The numbers that are missing after another, undisturbed run.
  std::size_t MissingAfterResuming() {
    const Ids misc = IdsOf(u"comp.lang.misc");
    const Ids test = IdsOf(u"alt.test");
    Heal();
    Run();
    const Ids now_misc = IdsOf(u"comp.lang.misc");
    const Ids now_test = IdsOf(u"alt.test");
    EXPECT_TRUE(std::includes(now_misc.begin(), now_misc.end(), misc.begin(), misc.end()));
    EXPECT_TRUE(std::includes(now_test.begin(), now_test.end(), test.begin(), test.end()));
    return kMisc.size() + kTest.size() - now_misc.size() - now_test.size();
  }

  void ExpectComplete() {
    EXPECT_EQ(IdsOf(u"comp.lang.misc"), kMisc);
    EXPECT_EQ(IdsOf(u"alt.test"), kTest);
  }

  bool stores_may_fail_ = false;  // then the count cache may be behind
  NewsModel model_ = SmallModel();
  ModelSockets sockets_{model_};
  FaultyLibraries libraries_;
  port::Platform platform_{fake.display.Services(),
                           fake.queues,
                           fake.registry,
                           sockets_,
                           libraries_,
                           fake.files,
                           fake.clock,
                           fake.shell,
                           fake.scheduler,
                           fake.dialler,
                           fake.mail,
                           fake.contacts,
                           fake.security,
                           fake.secrets};
};

TEST_F(FaultsTest, UndisturbedRunGetsEverything) {
  StartAfresh();
  Run();
  ExpectComplete();
  EXPECT_EQ(SavedProgress(), (std::vector<std::uint32_t>{8, 12}));
  EXPECT_EQ(MissingAfterResuming(), 0U);
}

TEST_F(FaultsTest, EveryChunkSizeGetsEverything) {
  for (std::size_t chunk = 1; chunk <= 40; ++chunk) {
    SCOPED_TRACE(chunk);
    StartAfresh();
    sockets_.chunk = chunk;
    Run();
    ExpectComplete();
  }
}

TEST_F(FaultsTest, ServerThatClosesAtAnyByteCostsNothing) {
  StartAfresh();
  Run();
  const std::uint64_t all = sockets_.delivered;
  ASSERT_GT(all, 1000U);
  for (std::uint64_t bytes = 0; bytes < all; ++bytes) {
    SCOPED_TRACE(bytes);
    StartAfresh();
    sockets_.close_after = bytes;
    Run();
    EXPECT_EQ(MissingAfterResuming(), 0U);
    if (HasFailure()) break;
  }
}

TEST_F(FaultsTest, ServerThatClosesWhileBytesTrickleCostsNothing) {
  StartAfresh();
  Run();
  const std::uint64_t all = sockets_.delivered;
  for (std::uint64_t bytes = 0; bytes < all; bytes += 7) {
    SCOPED_TRACE(bytes);
    StartAfresh();
    sockets_.close_after = bytes;
    sockets_.chunk = 1;
    Run();
    EXPECT_EQ(MissingAfterResuming(), 0U);
    if (HasFailure()) break;
  }
}

TEST_F(FaultsTest, AnyFailingSendCostsNothing) {
  bool failed = true;
  for (int n = 1; failed; ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.fail_send = n;
    Run();
    failed = sockets_.fail_send == 0;
    EXPECT_EQ(MissingAfterResuming(), 0U);
    ASSERT_LT(n, 1000);
    if (HasFailure()) break;
  }
}

TEST_F(FaultsTest, AnyFailingReceiveCostsNothing) {
  bool failed = true;
  for (int n = 1; failed; ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.fail_receive = n;
    sockets_.chunk = 60;
    Run();
    failed = sockets_.fail_receive == 0;
    EXPECT_EQ(MissingAfterResuming(), 0U);
    ASSERT_LT(n, 1000);
    if (HasFailure()) break;
  }
}

TEST_F(FaultsTest, AbortAtAnySocketCallCostsNothing) {
  bool reached = true;
  for (int n = 1; reached; ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.on_call = [n](int call) {
      if (call == n) RequestAbort();
    };
    Run();
    reached = sockets_.calls >= n;
    EXPECT_EQ(MissingAfterResuming(), 0U);
    ASSERT_LT(n, 1000);
    if (HasFailure()) break;
  }
}

TEST_F(FaultsTest, CancelAfterAnyProgressTextCostsNothing) {
  bool cancelled = true;
  for (int n = 0; cancelled; ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    ChooseGroups({0, 1});
    fake.display.CancelProgressAfter(n);
    RunWithProgress(u"Preparing to download...", [] { return OpenConnection(); });
    ExpectPromises();
    cancelled = AbortRequested();
    EXPECT_EQ(MissingAfterResuming(), 0U);
    ASSERT_LT(n, 1000);
    if (HasFailure()) break;
  }
}

TEST_F(FaultsTest, WrongReplyAtAnyStepCostsOneArticleAtMost) {
  const std::string half(5'000'000, 'x');
  const std::vector<std::string> wrong = {
      "500 what?\r\n",
      "503 not now\r\n",
      "400 closing\r\n",
      "423 no such number\r\n",
      "199 hm\r\n",
      "350 more\r\n",
      "garbage\r\n",
      "\r\n",
      "no line end",
      std::string(3, '\0') + "\r\n",
      std::string("22\0", 3) + "3 5 <x>\r\n",
      half + half,
      half + half + "\r\n",
      "",
  };
  for (std::size_t kind = 0; kind < wrong.size(); ++kind) {
    bool reached = true;
    for (int n = 1; reached; ++n) {
      SCOPED_TRACE(FormatNarrow("reply %d replaced by kind %d", n, static_cast<int>(kind)));
      StartAfresh();
      sockets_.on_reply = [&](int reply, const std::string& text) {
        return reply == n ? wrong[kind] : text;
      };
      Run();
      reached = sockets_.replies >= n;
      // What says nothing about the article costs none.
      const bool ends = wrong[kind].starts_with("503") || wrong[kind].starts_with("400");
      EXPECT_LE(MissingAfterResuming(), ends ? 0U : 1U);
      ASSERT_LT(n, 1000);
      if (HasFailure()) return;
    }
  }
}

TEST_F(FaultsTest, WrongNumbersAtAnyStepKeepTheStoreInOrder) {
  const std::vector<std::string> wrong = {"223 0 <x>\r\n",
                                          "223 4294967295 <x>\r\n",
                                          "223 99999999999999999999 <x>\r\n",
                                          "223\r\n",
                                          "223 -1 <x>\r\n",
                                          "211 0 0 0 g\r\n",
                                          "211 1 4294967295 1 g\r\n",
                                          "211 1 0 4294967295 g\r\n",
                                          "211\r\n",
                                          "221 5 <x>\r\n.\r\n",
                                          "222 5 <x>\r\n\r\n.\r\n"};
  for (const std::string& reply_text : wrong) {
    bool reached = true;
    for (int n = 1; reached; ++n) {
      SCOPED_TRACE(FormatNarrow("reply %d replaced by %s", n, reply_text));
      StartAfresh();
      sockets_.on_reply = [&](int reply, const std::string& text) {
        return reply == n ? reply_text : text;
      };
      gAbortRequested = 0;
      ChooseGroups({0, 1});
      OpenConnection();
      EXPECT_EQ(sockets_.open, 0);
      for (std::size_t group = 0; group < 2; ++group) {
        const Ids ids = IdsOf(gPrefs->groups[group]);
        EXPECT_EQ(gReadInfo[group]->totalCount, ids.size());
        for (const std::string& id : ids) EXPECT_TRUE(ArticleExists(id)) << id;
      }
      reached = sockets_.replies >= n;
      ASSERT_LT(n, 1000);
      if (HasFailure()) return;
    }
  }
}

TEST_F(FaultsTest, AnyFailingStoreLeavesChainsAndCountsInOrder) {
  stores_may_fail_ = true;
  for (const bool for_good : {false, true}) {
    bool failed = true;
    for (int n = 1; failed; ++n) {
      SCOPED_TRACE(FormatNarrow("store %d fails%s", n, for_good ? " for good" : ""));
      StartAfresh();
      gFaultyStore = {n, for_good};
      Run();
      failed = gFaultyStore.in == 0;
      EXPECT_EQ(MissingAfterResuming(), 0U);
      ASSERT_LT(n, 1000);
      if (HasFailure()) return;
    }
  }
}

TEST_F(FaultsTest, AnyFailingRegistryWriteCostsNothing) {
  for (int n = 1; n <= 8; ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.on_line = nullptr;  // the write before one fetch is the one that fails
    fake.registry.FailSet(n);
    Run();
    fake.registry.FailSet(0);
    ExpectComplete();
    if (HasFailure()) break;
  }
}

}  // namespace
}  // namespace quillet
