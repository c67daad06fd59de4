// SPDX-License-Identifier: GPL-3.0-or-later
// Articles that are stored already and are met in another group: with the extension they come onto
// that group's chain, without it they are passed over.
#include <algorithm>
#include <map>
#include <random>

#include "store/deletion.h"
#include "tests/nntp/faulty_libraries.h"
#include "tests/nntp/model_sockets.h"
#include "tests/nntp/nntp_fixture.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using Ids = std::vector<std::string>;
using Numbers = std::vector<std::uint32_t>;

constexpr char16_t kMisc[] = u"comp.lang.misc";
constexpr char16_t kTest[] = u"alt.test";

class CrossPostsTest : public NntpTest {
 protected:
  CrossPostsTest() {
    gPlatform = &platform_;
    gFaultyStore = gFaultyDelete = {};
    OpenStore();
    Connected();
    ChooseGroups({0});
  }
  ~CrossPostsTest() override {
    CloseDatabases();
    gPlatform = &fake.platform;
  }

  void SwitchOff() { fake.registry.PutDword(kExtensionsPath, u"crossposts", 0); }

  // An article that alt.test, or the group at that place, has already.
  static void Has(const std::string& id, bool read = false, std::size_t group = 1) {
    AsciiArticle article;
    article.messageId = id;
    article.body = "as it came first\r\n";
    article.articleNumber = 77;
    article.read = read ? 1 : 0;
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(gPrefs->groups[group], id));
    ++gReadInfo[group]->totalCount;
    gReadInfo[group]->readCount += article.read;
  }

  void Run() { end_ = RunWithProgress(u"Preparing to download...", DownloadNews); }

  void Enters(std::uint32_t first, std::uint32_t last) {
    Exchange("GROUP comp.lang.misc", FormatNarrow("211 9 %lu %lu comp.lang.misc", first, last));
  }
  // The command that leads to an article, of which no more than the head is asked for.
  void Meets(const std::string& command, int number, const std::string& id,
             const std::string& subject = "s") {
    Exchange(command, FormatNarrow("223 %d %s", number, id));
    FetchesHead(number, id, subject);
  }
  void Gets(const std::string& command, int number, const std::string& id) {
    Exchange(command, FormatNarrow("223 %d %s", number, id));
    Fetches(number, id);
  }

  static void ExpectCounts(std::size_t group, std::uint32_t read, std::uint32_t total) {
    EXPECT_EQ(gReadInfo[group]->readCount, read);
    EXPECT_EQ(gReadInfo[group]->totalCount, total);
    // As the next start has them.
    ReadInfo cached;
    PopulateReadArticlesInfo(cached, gPrefs->groups[group]);
    EXPECT_EQ(cached.readCount, read);
    EXPECT_EQ(cached.totalCount, total);
  }

  RunEnd end_ = RunEnd::kGoOn;
  FaultyLibraries libraries_;
  port::Platform platform_{fake.display.Services(),
                           fake.queues,
                           fake.registry,
                           fake.sockets,
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

TEST_F(CrossPostsTest, AnArticleOfAnotherGroupComesOntoThisGroupsChain) {
  Has("<a@x>");
  Enters(1, 2);
  Meets("STAT 1", 1, "<a@x>");
  Gets("NEXT", 2, "<b@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(end_, RunEnd::kGoOn);
  EXPECT_EQ(Chain(kMisc), (Ids{"<b@x>", "<a@x>"}));
  EXPECT_EQ(Chain(kTest), Ids{"<a@x>"});
  // The record is the one that it was.
  EXPECT_EQ(FetchArticle("<a@x>")->body, "as it came first\r\n");
  EXPECT_EQ(FetchArticle("<a@x>")->articleNumber, 77U);
  ExpectCounts(0, 0, 2);
  EXPECT_EQ(gReadInfo[1]->totalCount, 1U);
  EXPECT_EQ(SavedProgress(), (Numbers{2, 0}));
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(Details(), (std::vector<std::u16string>{u"article 1", u"article 1", u"article 2"}));
}

TEST_F(CrossPostsTest, SwitchedOffItIsDroppedSilently) {
  SwitchOff();
  Has("<a@x>");
  Enters(1, 2);
  Meets("STAT 1", 1, "<a@x>");
  Gets("NEXT", 2, "<b@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{"<b@x>"});
  ExpectCounts(0, 0, 1);
}

TEST_F(CrossPostsTest, OnOrOffAnArticleOfTheSameGroupIsDroppedSilently) {
  for (const bool off : {false, true}) {
    if (off) SwitchOff();
    Has(off ? "<b@x>" : "<a@x>", false, 0);
    gPrefs->lastdownloaded[0] = 0;
    Enters(1, 2);
    Meets("STAT 1", 1, off ? "<b@x>" : "<a@x>");
    Exchange("NEXT", "421 none");
    Run();
  }
  EXPECT_EQ(Chain(kMisc), (Ids{"<b@x>", "<a@x>"}));
  ExpectCounts(0, 0, 2);
}

TEST_F(CrossPostsTest, AnArticleThatCameInThisVisitIsOnTheChain) {
  Has("<z@x>");
  Enters(1, 3);
  Meets("STAT 1", 1, "<z@x>");  // the chain is read here
  Gets("NEXT", 2, "<a@x>");
  Meets("NEXT", 3, "<a@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(kMisc), (Ids{"<a@x>", "<z@x>"}));
  ExpectCounts(0, 0, 2);
}

TEST_F(CrossPostsTest, AnArticleOfTwoGroupsOfOneRunIsOnBothChains) {
  ChooseGroups({0, 1});
  Enters(1, 1);
  Gets("STAT 1", 1, "<a@x>");
  Exchange("GROUP alt.test", "211 1 5 5 alt.test");
  Meets("STAT 5", 5, "<a@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{"<a@x>"});
  EXPECT_EQ(Chain(kTest), Ids{"<a@x>"});
  EXPECT_EQ(SavedProgress(), (Numbers{1, 5}));
  ExpectCounts(0, 0, 1);
  ExpectCounts(1, 0, 1);
}

TEST_F(CrossPostsTest, OneThatWasReadInTheOtherGroupCountsAsRead) {
  Has("<a@x>", true);
  Has("<b@x>", false);
  Enters(1, 2);
  Meets("STAT 1", 1, "<a@x>");
  Meets("NEXT", 2, "<b@x>");
  Exchange("NEXT", "421 none");
  Run();
  ExpectCounts(0, 1, 2);
  EXPECT_EQ(FetchArticle("<a@x>")->read, 1U);
}

TEST_F(CrossPostsTest, TheKillfileComesFirst) {
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = {1};
  gPrefs->killfiletexts = {"spam"};
  gPrefs->killfilekills = {1};
  gPrefs->killfileauthors = {0};
  Has("<a@x>");
  Enters(1, 1);
  Meets("STAT 1", 1, "<a@x>", "spam");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{});
  ExpectCounts(0, 0, 0);
  EXPECT_EQ(Details().back(), u"Killed article 1");
}

// How many are still to get was planned without them.
TEST_F(CrossPostsTest, TheyDoNotLowerWhatIsStillToGetButFillTheGroup) {
  gPrefs->maxarticles = 2;
  Has("<a@x>");
  Enters(1, 9);
  Meets("STAT 1", 1, "<a@x>");
  Gets("NEXT", 2, "<b@x>");
  Gets("NEXT", 3, "<c@x>");
  Run();
  EXPECT_EQ(Chain(kMisc), (Ids{"<c@x>", "<b@x>", "<a@x>"}));
  ExpectCounts(0, 0, 3);
  Enters(1, 9);  // full: nothing is asked for
  Run();
  EXPECT_NE(TransactionLog().find("curcount: 3 max: 2 last: 3; starting with 4 getting 0)"),
            std::string::npos);
}

// After a loss the walk goes on with as many as without it.
TEST_F(CrossPostsTest, ALossLeavesWhatIsStillToGet) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 1);
  gPrefs->maxarticles = 2;
  ReleaseConnection();
  Has("<a@x>");
  Server("200 welcome\r\n");
  Enters(1, 9);
  Meets("STAT 1", 1, "<a@x>");
  Client("NEXT\r\n");
  fake.sockets.Closes();
  Server("200 welcome\r\n");
  Enters(1, 9);
  Exchange("STAT 1", "223 1 <a@x>");
  Gets("NEXT", 2, "<b@x>");
  Gets("NEXT", 3, "<c@x>");
  Quits();
  EXPECT_EQ(RunWithProgress(u"Preparing to download...", OpenConnection), RunEnd::kGoOn);
  EXPECT_EQ(Chain(kMisc), (Ids{"<c@x>", "<b@x>", "<a@x>"}));
  ExpectCounts(0, 0, 3);
}

TEST_F(CrossPostsTest, AServerThatStaysAtOneEndsTheGroup) {
  Has("<a@x>");
  Enters(1, 9);
  Meets("STAT 1", 1, "<a@x>");
  Meets("NEXT", 1, "<a@x>");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{"<a@x>"});
}

// Nothing says that two articles without a Message-ID are one.
TEST_F(CrossPostsTest, OneWithoutAMessageIdIsNoCrossPost) {
  Has("<error-extracting-messageid>");
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  Server("221 1 head\r\nSubject: s\r\n.\r\n");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{});
}

TEST_F(CrossPostsTest, AMessageIdEndsAtItsNulAsItIsStored) {
  Has("<a@x>");
  Enters(1, 2);
  const std::string with_nul = "<a@x>" + std::string(1, '\0') + "b";
  Exchange("STAT 1", "223 1 x");
  FetchesHead(1, with_nul);
  Exchange("NEXT", "223 2 x");
  FetchesHead(2, with_nul);
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{"<a@x>"});
}

TEST_F(CrossPostsTest, AChainThatCannotBeWrittenEndsTheRunAndCostsNothing) {
  Has("<a@x>");
  const FaultyCall head = {3, false};  // after the counter and the chain record
  const FaultyCall record = {2, true};
  for (const FaultyCall& fault : {head, record}) {
    Enters(1, 1);
    Exchange("STAT 1", "223 1 <a@x>");
    Client("HEAD\r\n");
    fake.sockets.Then([fault] { gFaultyStore = fault; });
    Server("221 1 head\r\n" + HeadOf("<a@x>", "s") + ".\r\n");
    Run();
    gFaultyStore = {};
    EXPECT_EQ(end_, RunEnd::kStoreFailed);
    EXPECT_TRUE(ArticleExists("<a@x>"));
    EXPECT_EQ(SavedProgress(), (Numbers{0, 0}));
    EXPECT_EQ(gReadInfo[0]->totalCount, 0U);
    EXPECT_EQ(Chain(kMisc), Ids{});
  }
  Enters(1, 1);
  Meets("STAT 1", 1, "<a@x>");
  Exchange("NEXT", "421 none");
  Run();
  EXPECT_EQ(Chain(kMisc), Ids{"<a@x>"});
  EXPECT_EQ(Chain(kTest), Ids{"<a@x>"});
  ExpectCounts(0, 0, 1);
}

// Its chain record was left when it was deleted in the other group.
TEST_F(CrossPostsTest, OneThatWasDeletedInAnotherGroupComesBackOnce) {
  Has("<a@x>");
  ASSERT_TRUE(AddArticleToGroup(kMisc, "<a@x>"));
  ++gReadInfo[0]->totalCount;
  const auto link = GroupChainFirst(kTest);
  ASSERT_TRUE(DeleteGroupArticle(1, *link, false));
  ASSERT_FALSE(ArticleExists("<a@x>"));
  Enters(1, 1);
  Gets("STAT 1", 1, "<a@x>");
  Run();
  EXPECT_TRUE(ArticleExists("<a@x>"));
  EXPECT_EQ(Chain(kMisc), Ids{"<a@x>"});
  ExpectCounts(0, 0, 1);
}

TEST_F(CrossPostsTest, MemoryThatRunsOutEndsTheRunAndTheArticleIsAskedForAgain) {
  for (int i = 0; i < 200; ++i) Has(FormatNarrow("<m%d@x>", i), false, 0);
  Has("<a@x>");
  gPrefs->maxarticles = 1000;
  Enters(1, 1);
  Exchange("STAT 1", "223 1 <a@x>");
  Client("HEAD\r\n");
  // The table of the set is the first large thing that is asked for.
  fake.sockets.Then([] { testing::FailNewOfAtLeast(1500); });
  Server("221 1 head\r\n" + HeadOf("<a@x>", "s") + ".\r\n");
  Run();
  testing::FailNewOfAtLeast(0);
  EXPECT_EQ(end_, RunEnd::kNoMemory);
  EXPECT_EQ(ErrorLog(), u"out of memory\r\n");
  EXPECT_EQ(SavedProgress(), (Numbers{0, 0}));
  EXPECT_EQ(Chain(kMisc).size(), 200U);
}

TEST_F(CrossPostsTest, TheChainIsReadOnceAVisitAndNotAtAllWithoutDuplicates) {
  constexpr int kMembers = 40, kCrossPosts = 30, kOwn = 5;
  for (int i = 0; i < kMembers; ++i) Has(FormatNarrow("<m%d@x>", i), false, 0);
  for (int i = 0; i < kCrossPosts; ++i) Has(FormatNarrow("<c%d@x>", i));
  gPrefs->maxarticles = 1000;
  Enters(1, kOwn);
  for (int i = 1; i <= kOwn; ++i) Gets(i == 1 ? "STAT 1" : "NEXT", i, FormatNarrow("<o%d@x>", i));
  gChainRecordsRead = 0;
  Run();
  EXPECT_EQ(gChainRecordsRead, kOwn);  // each addition reads the one before it, to link it

  Enters(1, kOwn + kCrossPosts + kMembers);
  int number = kOwn;
  const auto meets = [&](const char* id, int i) {
    ++number;
    Meets(number == kOwn + 1 ? "STAT 6" : "NEXT", number, FormatNarrow(id, i));
  };
  for (int i = 0; i < kCrossPosts; ++i) meets("<c%d@x>", i);
  for (int i = 0; i < kMembers; ++i) meets("<m%d@x>", i);
  Exchange("NEXT", "421 none");
  gChainRecordsRead = 0;
  Run();
  EXPECT_EQ(gChainRecordsRead, kMembers + kOwn + kCrossPosts);
  EXPECT_EQ(Chain(kMisc).size(), static_cast<std::size_t>(kMembers + kOwn + kCrossPosts));
}

// --- Whole runs against plain rules --------------------------------------------------------------

// The store and the progress as lists and maps.
struct PlainStore {
  struct Group {
    Ids chain;  // oldest first
    std::uint32_t downloaded = 0;
  };
  std::map<std::string, bool> read;  // by Message-ID of what is stored
  std::array<Group, 3> groups;

  void Download(const NewsModel& server, std::size_t group, std::uint32_t most, bool cross_posts) {
    const std::vector<ModelArticle>& articles = server.groups[group].articles;
    Group& own = groups[group];
    if (articles.empty()) return;
    std::uint32_t start = std::max(own.downloaded + 1, articles.front().number);
    const std::uint32_t last = articles.back().number;
    if (own.chain.size() >= most || start > last) return;
    auto left = std::min<std::size_t>(last - start + 1, most - own.chain.size());
    for (const ModelArticle& article : articles) {
      if (left == 0) return;
      if (article.number < start) continue;
      own.downloaded = article.number;
      const bool on_chain = std::ranges::find(own.chain, article.id) != own.chain.end();
      if (!read.contains(article.id)) {
        read[article.id] = false;
        --left;
        if (!on_chain || !cross_posts) own.chain.push_back(article.id);
      } else if (cross_posts && !on_chain) {
        own.chain.push_back(article.id);
      }
    }
  }
  std::uint32_t ReadOf(std::size_t group) const {
    std::uint32_t count = 0;
    for (const std::string& id : groups[group].chain) {
      const auto found = read.find(id);
      count += found != read.end() && found->second ? 1 : 0;
    }
    return count;
  }
};

class CrossPostRunsTest : public NntpTest, public ::testing::WithParamInterface<bool> {
 protected:
  CrossPostRunsTest() {
    gPlatform = &platform_;
    gFaultyStore = gFaultyDelete = {};
    OpenStore();
    AddGroup(*gPrefs, u"misc.misc");
    gPrefs->maxarticlesize = 4;
    CountArticles();
    fake.registry.PutDword(kExtensionsPath, u"crossposts", GetParam() ? 1 : 0);
    fake.registry.PutDword(kExtensionsPath, u"retries", 100);
  }
  ~CrossPostRunsTest() override {
    CloseDatabases();
    gPlatform = &fake.platform;
  }

  std::uint32_t Below(std::uint32_t limit) {
    return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(random_);
  }

  // Some articles more, each in one group or several, in the order of their numbers.
  void ServerGetsMore() {
    for (const std::uint32_t end = next_ + Below(12); next_ < end; ++next_) {
      const std::uint32_t groups = 1 + Below(7);
      for (std::size_t group = 0; group < 3; ++group) {
        if ((groups >> group & 1) == 0) continue;
        numbers_[group] += 1 + Below(8) / 7;  // now and then a number is missing
        model_.Add(Narrow(gPrefs->groups[group]), numbers_[group], FormatNarrow("<%d@x>", next_),
                   FormatNarrow("text of %d\r\n", next_));
      }
    }
  }

  void MarkSome() {
    for (auto& [id, read] : plain_.read) {
      if (Below(5) != 0) continue;
      read = !read;
      SetArticleReadById(id, nullptr, read, Below(3));
    }
  }
  void DeleteSome() {
    const std::size_t group = Below(3);
    auto link = GroupChainFirst(gPrefs->groups[group]);
    Ids& chain = plain_.groups[group].chain;
    for (; link; link = GroupChainNext()) {
      if (Below(3) != 0) continue;
      ASSERT_TRUE(DeleteGroupArticle(group, *link, IsArticleRead(link->messageId)));
      chain.erase(std::ranges::find(chain, link->messageId));
      plain_.read.erase(link->messageId);
    }
  }
  // Some groups are numbered from the start again for the user.
  void ForgetSomeProgress() {
    for (std::size_t group = 0; group < 3; ++group) {
      if (Below(4) == 0) plain_.groups[group].downloaded = gPrefs->lastdownloaded[group] = 0;
    }
  }

  void Run() {
    gAbortRequested = 0;
    std::vector<std::size_t> order = {0, 1, 2};
    std::ranges::shuffle(order, random_);
    ChooseGroups(order);
    gPrefs->maxarticles = 10 + Below(60);
    for (const std::size_t group : order) {
      plain_.Download(model_, group, gPrefs->maxarticles, GetParam());
    }
    // Every other run over a link that is cut again and again.
    sockets_.close_after.reset();
    sockets_.close_every = Below(2) == 0 ? 0 : 700 + Below(900);
    EXPECT_EQ(RunWithProgress(u"Preparing to download...", OpenConnection), RunEnd::kGoOn);
  }

  void ExpectAsPlain() {
    for (std::size_t group = 0; group < 3; ++group) {
      Ids chain = Chain(gPrefs->groups[group]);
      EXPECT_EQ(gReadInfo[group]->totalCount, chain.size());
      std::ranges::reverse(chain);
      EXPECT_EQ(chain, plain_.groups[group].chain) << group;
      EXPECT_EQ(gPrefs->lastdownloaded[group], plain_.groups[group].downloaded) << group;
      EXPECT_EQ(CountGroupArticles(gPrefs->groups[group], true), plain_.ReadOf(group)) << group;
    }
    for (const auto& [id, read] : plain_.read) {
      EXPECT_TRUE(ArticleExists(id)) << id;
      EXPECT_EQ(IsArticleRead(id), read) << id;
    }
  }

  // What a group's next opening does with its counts.
  static void CountAnew() {
    for (const std::u16string& group : gPrefs->groups) ForgetCachedCounts(group);
    CountArticles();
  }

  std::mt19937 random_{8};
  std::uint32_t next_ = 1;
  std::array<std::uint32_t, 3> numbers_ = {};
  PlainStore plain_;
  NewsModel model_{{{"comp.lang.misc", {}}, {"alt.test", {}}, {"misc.misc", {}}}, {}};
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

INSTANTIATE_TEST_SUITE_P(OnAndOff, CrossPostRunsTest, ::testing::Bool());

TEST_P(CrossPostRunsTest, ChainsCountsAndFlagsAreAsThePlainRulesSay) {
  for (int round = 0; round < 60 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    ServerGetsMore();
    CountAnew();
    Run();
    ExpectAsPlain();
    // Nothing has been marked since they were counted: what the run counted is right at once.
    for (std::size_t group = 0; group < 3; ++group) {
      EXPECT_EQ(gReadInfo[group]->readCount, plain_.ReadOf(group)) << group;
    }
    MarkSome();
    if (round % 3 == 1) DeleteSome();
    if (round % 4 == 2) ForgetSomeProgress();
  }
  EXPECT_GT(plain_.read.size(), 20U);
}

}  // namespace
}  // namespace quillet
