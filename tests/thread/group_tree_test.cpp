// SPDX-License-Identifier: GPL-3.0-or-later
// Groups of the store as trees: healing, damaged chains, stores that are closed or fail, aborts.
#include <gmock/gmock.h>

#include "base/extensions.h"
#include "base/window_procedures.h"
#include "mime/shown_text.h"
#include "store/bulk_store.h"
#include "tests/mime/without_decoding.h"
#include "tests/store/store_fixture.h"
#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"
#include "thread/group_tree.h"
#include "thread/moves.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using testing::Forests;
using ::testing::IsEmpty;
using testing::ReferenceTree;
using testing::TestArticle;
using testing::TreeFault;
using testing::TreeText;

constexpr std::u16string_view kGroup = u"alt.test";

class GroupTreeTest : public StoreTest {
 protected:
  GroupTreeTest() {
    gPrefs->usethreading = 1;
    gPrefs->reversethread = 0;
  }

  static AsciiArticle StoredForm(const TestArticle& article) {
    AsciiArticle stored = ArticleWithId(article.id);
    stored.parentId = article.parent;
    if (!article.references.empty()) {
      stored.headers = "Path: a\r\nReferences:" + article.references + "\r\nLines: 1";
    }
    stored.subject = article.subject;
    stored.source = article.source;
    stored.from = article.from;
    stored.articleNumber = static_cast<std::uint32_t>(article.number);
    stored.read = article.read ? 1 : 0;
    return stored;
  }

  static void Put(const std::vector<std::u16string_view>& groups, const TestArticle& article) {
    AsciiArticle stored = StoredForm(article);
    ASSERT_TRUE(StoreArticle(stored));
    for (const std::u16string_view group : groups)
      ASSERT_TRUE(AddArticleToGroup(group, article.id));
  }

  // The articles that the chain names, as they are stored.
  static std::vector<TestArticle> Read(std::u16string_view group) {
    std::vector<std::pair<std::string, std::uint32_t>> chain;
    for (auto record = GroupChainFirst(group); record; record = GroupChainNext()) {
      chain.emplace_back(record->messageId, record->number);
    }
    std::vector<TestArticle> articles;
    for (const auto& [id, number] : chain) {
      const auto stored = FetchArticle(id);
      if (!stored) continue;
      articles.push_back({id, *stored->parentId, JoinedSubject(*stored->subject, *stored->headers),
                          *stored->source, *stored->from,
                          static_cast<std::int32_t>(stored->articleNumber), stored->read != 0,
                          number});
      if (ReadExtensions().ancestors == 0 || stored->headers->empty()) continue;
      // Between what StoredForm wrote before and behind it.
      constexpr std::size_t kBegin = std::string_view("Path: a\r\nReferences:").size();
      const std::size_t end = stored->headers->rfind("\r\nLines: 1");
      articles.back().references = stored->headers->substr(kBegin, end - kBegin);
    }
    return articles;
  }

  // Builds and compares with the rules.
  static void ExpectTree(std::u16string_view group) {
    for (const std::uint32_t threading : {1U, 0U}) {
      for (const std::uint32_t reverse : {0U, 1U}) {
        gPrefs->usethreading = threading;
        gPrefs->reversethread = reverse;
        const ThreadOptions options{threading != 0, reverse != 0};
        const BuiltTree built = BuildNodeTree(group);
        ASSERT_NE(built.tree, nullptr);
        EXPECT_TRUE(built.complete);
        const auto articles = Read(group);
        ASSERT_EQ(TreeFault(built.tree->root(), articles.size(), options), "");
        ASSERT_EQ(TreeText(built.tree->root()), ReferenceTree(articles, options));
      }
    }
    gPrefs->usethreading = 1;
    gPrefs->reversethread = 0;
  }

  static std::vector<std::string> Shown(const BuiltTree& built) {
    std::vector<std::string> ids;
    for (Node* at = NextArticle(built.tree->root()); at; at = NextArticle(*at)) {
      ids.emplace_back(at->messageId);
    }
    return ids;
  }

  // What a killed or faulty writer may leave under a chain number.
  static void PutChainRecord(std::uint32_t number, std::uint32_t next, std::string_view id) {
    std::string key;
    AppendU32(key, number);
    const GDBMGroup record{0, next, number, std::u16string(kGroup), std::string(id)};
    ASSERT_TRUE(StoreGroupRecord(key, record, StoreMode::kReplace));
  }
};

TEST_F(GroupTreeTest, RandomForestsWithCrossPostsAreAsTheRulesSay) {
  OpenStore();
  Forests forests(31);
  std::vector<std::u16string> names;
  for (int round = 0; round < 210; ++round) {
    names.push_back(u"g." + Widen(std::to_string(round)));
    auto articles = forests.Small();
    // Oldest first into the store. Every fifth article is on the chain of the group before as well,
    // whose forest has articles of the same Message-IDs.
    for (std::size_t i = articles.size(); i > 0; --i) {
      std::vector<std::u16string_view> groups = {names.back()};
      if (round % 2 == 1 && i % 5 == 0) groups.push_back(names[names.size() - 2]);
      TestArticle& article = articles[i - 1];
      const std::string group = "." + std::to_string(round / 2) + "@";
      for (std::string* id : {&article.id, &article.parent}) {
        if (const auto at = id->find('@'); at != std::string::npos) id->replace(at, 1, group);
      }
      ASSERT_NO_FATAL_FAILURE(Put(groups, article));
    }
  }
  for (const std::u16string& name : names) ASSERT_NO_FATAL_FAILURE(ExpectTree(name));
}

TEST_F(GroupTreeTest, RandomForestsWithReferencesAreAsTheRulesSayOnAndOff) {
  OpenStore();
  Forests forests(32);
  for (int round = 0; round < 60; ++round) {
    // The store has one article of an id: each group is looked at before the next one takes some.
    const std::u16string name = u"g." + Widen(std::to_string(round));
    auto articles = forests.SmallWithReferences();
    std::ranges::reverse(articles);
    for (const TestArticle& article : articles) {
      if (article.id.empty()) continue;
      ASSERT_NO_FATAL_FAILURE(Put({name}, article));
    }
    for (const std::uint32_t on : {1U, 0U}) {
      fake.registry.PutDword(kExtensionsPath, u"ancestors", on);
      ASSERT_NO_FATAL_FAILURE(ExpectTree(name));
    }
  }
}

TEST_F(GroupTreeTest, TheNearestStoredForerunnerIsTheParentUnlessSwitchedOff) {
  OpenStore();
  Put({kGroup}, {"<1@x>", "", "Topic", "a", "f", 1, false, 0});
  Put({kGroup},
      {"<9@x>", "<gone@x>", "Something else", "a", "f", 2, false, 0, " <1@x>\r\n <gone@x>"});
  const auto parent = [] {
    const BuiltTree built = BuildNodeTree(kGroup);
    return std::string(built.tree->FindNodeByMessageId("<9@x>")->parent->messageId);
  };
  EXPECT_EQ(parent(), "<1@x>");
  fake.registry.PutDword(kExtensionsPath, u"ancestors", 0);
  EXPECT_EQ(parent(), "");
  // What is stored is as it came.
  EXPECT_EQ(FetchArticle("<9@x>")->parentId, "<gone@x>");
}

TEST_F(GroupTreeTest, CompressedArticlesHaveForerunnersToo) {
  OpenStore();
  Put({kGroup}, {"<1@x>", "", "Topic", "a", "f", 1, false, 0});
  AsciiArticle article =
      StoredForm({"<9@x>", "<gone@x>", "Re", "a", "f", 2, false, 0, " <1@x>\r\n <gone@x>"});
  const std::string value = *SerializeArticle(article, SerializeMode::kCompress);
  ASSERT_TRUE(StoreValue(kArticles, Raw("<9@x>\0"), value, StoreMode::kReplace));
  ASSERT_TRUE(AddArticleToGroup(kGroup, "<9@x>"));
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_EQ(built.tree->FindNodeByMessageId("<9@x>")->parent->messageId, "<1@x>");
}

TEST_F(GroupTreeTest, TheNodeCarriesWhatTheRecordsSay) {
  OpenStore();
  Put({u"de.test", kGroup}, {"<1@x>", "<0@x>", "subject", "news", "writer", -5, true, 0});
  const BuiltTree built = BuildNodeTree(kGroup);
  const Node* node = built.tree->FindNodeByMessageId("<1@x>");
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->subject, "subject");
  EXPECT_EQ(node->source, "news");
  EXPECT_EQ(node->from, "writer");
  EXPECT_EQ(node->articleNumber, -5);
  EXPECT_EQ(node->read, 1U);
  EXPECT_EQ(node->chainNumber, 2U);
  EXPECT_EQ(node->treeItem, 2U);
  EXPECT_EQ(node->parent->treeItem, 0x80000002U);
  EXPECT_TRUE(built.complete);
}

TEST_F(GroupTreeTest, TheMessageIdIsTheChainRecordsOwn) {
  OpenStore();
  AsciiArticle stored = ArticleWithId("<other@x>");
  const auto value = SerializeArticle(stored, SerializeMode::kPlain);
  ASSERT_TRUE(StoreValue(kArticles, Raw("<1@x>\0"), *value, StoreMode::kInsert));
  ASSERT_TRUE(AddArticleToGroup(kGroup, "<1@x>"));
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_THAT(Shown(built), ElementsAre("<1@x>"));
}

TEST_F(GroupTreeTest, AnyStoredFlagButZeroIsRead) {
  OpenStore();
  AsciiArticle stored = ArticleWithId("<1@x>");
  stored.read = 0x80000000;
  ASSERT_TRUE(StoreArticle(stored));
  ASSERT_TRUE(AddArticleToGroup(kGroup, "<1@x>"));
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_EQ(built.tree->FindNodeByMessageId("<1@x>")->read, 1U);
  EXPECT_EQ(built.tree->root().readDescendantCount, 1U);
}

TEST_F(GroupTreeTest, AnUnknownGroupIsARootWithoutChildren) {
  OpenStore();
  const BuiltTree built = BuildNodeTree(u"no.such.group");
  EXPECT_EQ(built.tree->root().firstChild, nullptr);
  EXPECT_TRUE(built.complete);
}

TEST_F(GroupTreeTest, CompressedArticlesAreThreadedLikeOthers) {
  OpenStore();
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  Put({kGroup}, {"<1@x>", "", "Hello", "a", "f", 1, true, 0});
  gPrefs->usecompression = 0;
  Put({kGroup}, {"<2@x>", "<1@x>", "Re: Hello", "a", "f", 2, false, 0});
  ASSERT_EQ(GetU32(*FetchValue(kArticles, Raw("<1@x>\0")), 0), 2U);
  ExpectTree(kGroup);
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_EQ(built.tree->FindNodeByMessageId("<2@x>")->parent->messageId, "<1@x>");
}

TEST_F(GroupTreeTest, OddSubjectsThreadLikeOthers) {
  OpenStore();
  const std::string subjects[] = {std::string(100000, 's'),
                                  "Re: " + std::string(100000, 's'),
                                  "re:re: RE:",
                                  "",
                                  Raw("cut\0off"),
                                  "cut",
                                  "\x01\x02\t\x7F\x81",
                                  "\xE2\x80\xAE right to left"};
  std::int32_t number = 0;
  for (const std::string& subject : subjects) {
    ++number;
    Put({kGroup}, {"<" + std::to_string(number) + "@x>", "", subject, "a", "f", number, false, 0});
  }
  ExpectTree(kGroup);
  const BuiltTree built = BuildNodeTree(kGroup);
  std::vector<std::uint32_t> sizes;
  for (Node* thread = built.tree->root().firstChild; thread; thread = thread->nextSibling) {
    sizes.push_back(thread->descendantCount);
  }
  EXPECT_THAT(sizes, ElementsAre(2, 2, 2, 1, 1));
}

// --- Articles that are missing -------------------------------------------------------------------

TEST_F(GroupTreeTest, ChainRecordsOfMissingArticlesAreRemoved) {
  OpenStore();
  for (const char* id : {"<1@x>", "<2@x>", "<3@x>", "<4@x>", "<5@x>"}) Add(kGroup, id);
  for (const char* id : {"<1@x>", "<3@x>", "<5@x>"}) DeleteArticle(id);
  std::uint64_t units = 0;
  const BuiltTree built = BuildNodeTree(kGroup, [&](std::uint64_t step) { units += step; });
  EXPECT_TRUE(built.complete);
  EXPECT_THAT(Shown(built), ElementsAre("<4@x>", "<2@x>"));
  EXPECT_THAT(Chain(kGroup), ElementsAre("<4@x>", "<2@x>"));
  EXPECT_EQ(FetchValue(kNewsgroups, Raw("\x03\0\0\0")), std::nullopt);
  EXPECT_EQ(StoredChain(4).previous, 0U);
  EXPECT_EQ(StoredChain(4).next, 2U);
  EXPECT_EQ(StoredChain(2).previous, 4U);
  EXPECT_EQ(StoredChain(2).next, 0U);
  EXPECT_EQ(units, 5U + 2U * 2U);  // every record is a step of the reading
}

TEST_F(GroupTreeTest, ACrossPostDeletedInTheOtherGroupHeals) {
  OpenStore();
  Put({u"de.test", kGroup}, {"<1@x>", "", "s", "a", "f", 1, false, 0});
  DeleteArticle("<1@x>");
  EXPECT_EQ(BuildNodeTree(kGroup).tree->root().firstChild, nullptr);
  EXPECT_THAT(Chain(kGroup), IsEmpty());
  EXPECT_THAT(Chain(u"de.test"), ElementsAre("<1@x>"));  // until that one is opened
}

TEST_F(GroupTreeTest, WithClosedDatabasesNothingIsRemovedOrComplete) {
  OpenStore();
  Add(kGroup, "<1@x>");
  CloseDatabases();
  const BuiltTree built = BuildNodeTree(kGroup);
  ASSERT_NE(built.tree, nullptr);
  EXPECT_EQ(built.tree->root().firstChild, nullptr);
  EXPECT_FALSE(built.complete);
  OpenStore();
  EXPECT_THAT(Chain(kGroup), ElementsAre("<1@x>"));
}

TEST_F(GroupTreeTest, AfterADatabaseErrorNothingIsRemovedOrComplete) {
  OpenStore();
  Add(kGroup, "<1@x>");
  Add(kGroup, "<2@x>");
  DeleteArticle("<1@x>");
  gDatabaseErrorFlag = true;
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_THAT(Shown(built), ElementsAre("<2@x>"));
  EXPECT_FALSE(built.complete);
  gDatabaseErrorFlag = false;
  EXPECT_THAT(Chain(kGroup), ElementsAre("<2@x>", "<1@x>"));
}

// What is asked for may be what shows that the file has failed.
TEST_F(GroupTreeTest, WhenTheQuestionItselfFailsTheStoreNothingIsRemoved) {
  OpenStore();
  Add(kGroup, "<1@x>");
  Add(kGroup, "<2@x>");
  DeleteArticle("<1@x>");
  const auto exists = gGdbm.exists;
  gGdbm.exists = [](GDBM_FILE, datum) {
    gDatabaseErrorFlag = true;
    return 0;
  };
  const BuiltTree built = BuildNodeTree(kGroup);
  gGdbm.exists = exists;
  gDatabaseErrorFlag = false;
  EXPECT_FALSE(built.complete);
  EXPECT_THAT(Chain(kGroup), ElementsAre("<2@x>", "<1@x>"));
}

TEST_F(GroupTreeTest, WhatIsThereButCannotBeReadStaysOnTheChain) {
  OpenStore();
  Add(kGroup, "<1@x>");
  Add(kGroup, "<2@x>");
  ASSERT_TRUE(StoreValue(kArticles, Raw("<1@x>\0"), std::string(24, '\x07'), StoreMode::kReplace));
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_THAT(Shown(built), ElementsAre("<2@x>"));
  EXPECT_THAT(Chain(kGroup), ElementsAre("<2@x>", "<1@x>"));
}

TEST_F(GroupTreeTest, CompressedArticlesWithoutTheLibraryStayOnTheChain) {
  OpenStore();
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  Add(kGroup, "<1@x>");
  UnloadCompressionLibrary();
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_EQ(built.tree->root().firstChild, nullptr);
  EXPECT_THAT(Chain(kGroup), ElementsAre("<1@x>"));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"You have requested that an article be opened which contains compressed "
                          u"data, but the BZIP2 DLL is not available. Quillet CE will now quit."));
}

TEST_F(GroupTreeTest, WhenTheProgramQuitsOverAnArticleTheTreeIsNotComplete) {
  OpenStore();
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  for (const char* id : {"<1@x>", "<2@x>", "<3@x>"}) Add(kGroup, id);
  UnloadCompressionLibrary();
  CreateWindow();
  SetProcedure(gMainWindow, [](const port::Message& message) {
    if (message.kind == port::MessageKind::kClose) CloseDatabases();
  });
  EXPECT_FALSE(BuildNodeTree(kGroup).complete);
  EXPECT_EQ(BoxTexts().size(), 1U);
  OpenStore();
  EXPECT_THAT(Chain(kGroup), ElementsAre("<3@x>", "<2@x>", "<1@x>"));
}

TEST_F(GroupTreeTest, NamesAreFetchedOfExactlyTheRecordsThatCanBeRead) {
  OpenStore();
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", "a body of some length, so that it can be cut\r\n");
  article.headers = "Lines: 1";
  article.parentId = "<0@x>";
  article.from = "writer";
  article.source = "news";
  article.read = 1;
  article.articleNumber = 7;
  const std::string key = Raw("<1@x>\0");
  for (const SerializeMode mode : {SerializeMode::kPlain, SerializeMode::kCompress}) {
    const std::string value = *SerializeArticle(article, mode);
    for (std::size_t length = 0; length <= value.size(); ++length) {
      ASSERT_TRUE(StoreValue(kArticles, key, value.substr(0, length), StoreMode::kReplace));
      const auto whole = FetchArticle("<1@x>");
      const auto names = FetchArticleNames("<1@x>");
      ASSERT_EQ(whole == nullptr, names == nullptr) << length;
      if (!names) continue;
      EXPECT_EQ(names->parentId, whole->parentId);
      EXPECT_EQ(names->subject, whole->subject);
      EXPECT_EQ(names->from, whole->from);
      EXPECT_EQ(names->source, whole->source);
      EXPECT_EQ(names->read, whole->read);
      EXPECT_EQ(names->articleNumber, whole->articleNumber);
      EXPECT_EQ(names->date, whole->date);
      EXPECT_FALSE(names->messageId || names->headers || names->body || names->replyTo);
    }
  }
  EXPECT_EQ(FetchArticleNames("<absent@x>"), nullptr);
  // The same box twice for each compressed record that is cut.
  const auto boxes = BoxTexts();
  EXPECT_GT(boxes.size(), 0U);
  EXPECT_EQ(boxes.size() % 2, 0U);
  for (const auto& text : boxes) EXPECT_EQ(text, u"Decompress returned an error");
}

constexpr std::string_view kFolded = "=?utf-8?Q?Une_=C3=A9?=";
constexpr std::string_view kContinued = "Path: a\r\n =?utf-8?Q?tude?=\r\nLines: 1";

TEST_F(GroupTreeTest, FoldedSubjectsAreJoinedWhereTheHeadHasTheirRest) {
  OpenStore();
  AsciiArticle article = ArticleWithId("<1@x>", "text\r\n");
  article.subject = std::string(kFolded);
  article.headers = std::string(kContinued);
  ASSERT_TRUE(StoreArticle(article));
  ASSERT_TRUE(AddArticleToGroup(kGroup, "<1@x>"));
  Put({kGroup}, {"<2@x>", "", "Re: =?iso-8859-1?Q?Une_=E9tude?=", "a", "f", 2, false, 0});
  EXPECT_EQ(FetchArticleNames("<1@x>")->subject, "=?utf-8?Q?Une_=C3=A9?= =?utf-8?Q?tude?=");
  const BuiltTree built = BuildNodeTree(kGroup);
  const Node& node = *built.tree->FindNodeByMessageId("<1@x>");
  EXPECT_EQ(ShownHeader(node.subject), u"Une \u00E9tude");
  EXPECT_EQ(node.parent, built.tree->FindNodeByMessageId("<2@x>")->parent);
  const testing::WithoutDecoding scope;
  EXPECT_EQ(FetchArticleNames("<1@x>")->subject, kFolded);
  EXPECT_EQ(BuildNodeTree(kGroup).tree->FindNodeByMessageId("<1@x>")->subject, kFolded);
}

// --- Damaged chains ------------------------------------------------------------------------------

TEST_F(GroupTreeTest, AChainThatLeadsInACircleIsReadOnce) {
  OpenStore();
  for (int i = 1; i <= 20; ++i) Add(kGroup, "<" + std::to_string(i) + "@x>");
  for (const std::uint32_t back_to : {20U, 19U, 12U, 5U, 1U}) {
    PutChainRecord(1, back_to, "<1@x>");
    const BuiltTree built = BuildNodeTree(kGroup);
    EXPECT_EQ(TreeFault(built.tree->root(), 20, {true, false}), "") << back_to;
  }
}

TEST_F(GroupTreeTest, ACircleOfMissingArticlesHeals) {
  OpenStore();
  for (int i = 1; i <= 9; ++i) Add(kGroup, "<" + std::to_string(i) + "@x>");
  PutChainRecord(1, 9, "<1@x>");
  for (int i = 1; i <= 9; ++i) DeleteArticle("<" + std::to_string(i) + "@x>");
  EXPECT_EQ(BuildNodeTree(kGroup).tree->root().firstChild, nullptr);
  EXPECT_THAT(Chain(kGroup), IsEmpty());
}

TEST_F(GroupTreeTest, AMessageIdOnTheChainTwiceIsShownTwice) {
  OpenStore();
  Add(kGroup, "<1@x>");
  ASSERT_TRUE(AddArticleToGroup(kGroup, "<1@x>"));
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_EQ(TreeFault(built.tree->root(), 2, {true, false}), "");
  EXPECT_EQ(built.tree->FindNodeByMessageId("<1@x>")->chainNumber, 1U);  // entered last
}

TEST_F(GroupTreeTest, ChainNumbersThatRiseAreRead) {
  OpenStore();
  for (const char* id : {"<1@x>", "<2@x>", "<3@x>", "<4@x>"}) Add(kGroup, id);
  PutChainRecord(4, 1, "<4@x>");
  PutChainRecord(1, 3, "<1@x>");
  PutChainRecord(3, 2, "<3@x>");
  PutChainRecord(2, 0, "<2@x>");
  const BuiltTree built = BuildNodeTree(kGroup);
  EXPECT_THAT(Shown(built), ElementsAre("<4@x>", "<1@x>", "<3@x>", "<2@x>"));
  EXPECT_EQ(TreeFault(built.tree->root(), 4, {true, false}), "");
}

// --- Aborts --------------------------------------------------------------------------------------

TEST_F(GroupTreeTest, AnAbortWhileReadingShowsWhatWasRead) {
  OpenStore();
  Put({kGroup}, {"<1@x>", "", "Hello", "a", "f", 1, false, 0});
  Put({kGroup}, {"<2@x>", "<1@x>", "Re: Hello", "a", "f", 2, false, 0});
  Put({kGroup}, {"<3@x>", "<2@x>", "Re: Hello", "a", "f", 3, false, 0});
  for (std::uint64_t stop_after = 0; stop_after <= 3; ++stop_after) {
    gAbortRequested = stop_after == 0 ? 1 : 0;
    std::uint64_t units = 0;
    const BuiltTree built = BuildNodeTree(kGroup, [&](std::uint64_t step) {
      units += step;
      if (units == stop_after) gAbortRequested = 1;
    });
    EXPECT_FALSE(built.complete);
    EXPECT_EQ(built.end, RunEnd::kCancelled);
    auto articles = Read(kGroup);
    articles.resize(stop_after);
    EXPECT_EQ(TreeText(built.tree->root()), ReferenceTree(articles, {true, false}, {0, 0}));
    EXPECT_EQ(TreeFault(built.tree->root(), stop_after, {true, false}), "");
  }
  gAbortRequested = 0;
  EXPECT_TRUE(BuildNodeTree(kGroup).complete);
}

TEST_F(GroupTreeTest, AnAbortAtAnyStepLeavesAWholeTree) {
  OpenStore();
  Forests forests(41);
  auto articles = forests.Small();
  while (articles.size() < 25) articles = forests.Small();
  for (std::size_t i = articles.size(); i > 0; --i) Put({kGroup}, articles[i - 1]);
  const std::uint64_t all = 3 * articles.size();
  for (std::uint64_t stop_after = 1; stop_after <= all; ++stop_after) {
    gAbortRequested = 0;
    std::uint64_t units = 0;
    const BuiltTree built = BuildNodeTree(kGroup, [&](std::uint64_t step) {
      units += step;
      if (units >= stop_after) gAbortRequested = 1;
    });
    const std::size_t read = std::min<std::uint64_t>(stop_after, articles.size());
    ASSERT_EQ(TreeFault(built.tree->root(), read, {true, false}), "") << stop_after;
    if (stop_after <= articles.size()) {
      EXPECT_FALSE(built.complete);
    }
  }
  gAbortRequested = 0;
}

TEST_F(GroupTreeTest, WithoutThreadingAnAbortAfterTheReadingChangesNothing) {
  OpenStore();
  gPrefs->usethreading = 0;
  for (const char* id : {"<1@x>", "<2@x>"}) Add(kGroup, id);
  std::uint64_t units = 0;
  const BuiltTree built = BuildNodeTree(kGroup, [&](std::uint64_t step) {
    units += step;
    if (units == 3) gAbortRequested = 1;
  });
  EXPECT_EQ(built.end, RunEnd::kGoOn);
  EXPECT_TRUE(built.complete);
  EXPECT_EQ(units, 6U);
}

}  // namespace
}  // namespace quillet
