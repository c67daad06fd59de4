// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/counts.h"

#include <gmock/gmock.h>

#include "store/node.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CountsTest : public StoreTest {
 protected:
  static std::optional<std::string> Cache(std::u16string_view group) {
    return FetchValue(kArticles, GroupKey(group));
  }
  static void PutCache(std::u16string_view group, std::string_view hex) {
    ASSERT_TRUE(StoreValue(kArticles, GroupKey(group), Bytes(hex), StoreMode::kReplace));
  }
  static void ExpectCounts(std::size_t index, std::uint32_t read, std::uint32_t total) {
    EXPECT_EQ(gReadInfo[index]->readCount, read);
    EXPECT_EQ(gReadInfo[index]->totalCount, total);
  }
  static ReadInfo Populated(std::u16string_view group) {
    ReadInfo info;
    PopulateReadArticlesInfo(info, group);
    return info;
  }
};

TEST_F(CountsTest, OneEntryAGroupInTheOrderOfTheList) {
  OpenStore();
  ASSERT_EQ(gReadInfo.size(), 3U);
  EXPECT_EQ(gReadInfo[0]->groupName, u"comp.lang.misc");
  EXPECT_EQ(gReadInfo[2]->groupName, u"de.test");
  EXPECT_GE(fake.display.wait_cursor_shows(), 1);
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

TEST_F(CountsTest, AnAbsentCacheIsCountedAndWritten) {
  OpenStore();
  Add(u"alt.test", "<1@x>");
  Add(u"alt.test", "<2@x>", true);
  DeleteValue(kArticles, GroupKey(u"alt.test"));
  const ReadInfo info = Populated(u"alt.test");
  EXPECT_EQ(info.readCount, 1U);
  EXPECT_EQ(info.totalCount, 2U);
  // docs/store-format.md shows the same bytes.
  EXPECT_EQ(Cache(u"alt.test"), Bytes("01 00 00 00 01 00 00 00 02 00 00 00"));
}

TEST_F(CountsTest, ACacheIsTrustedUpToAllRead) {
  OpenStore();
  PutCache(u"alt.test", "01 00 00 00 05 00 00 00 05 00 00 00");
  EXPECT_EQ(Populated(u"alt.test").readCount, 5U);
  PutCache(u"alt.test", "01 00 00 00 06 00 00 00 05 00 00 00");
  EXPECT_EQ(Populated(u"alt.test").readCount, 0U);
  EXPECT_EQ(Cache(u"alt.test"), Bytes("01 00 00 00 00 00 00 00 00 00 00 00"));
}

TEST_F(CountsTest, ACacheOfAnotherLengthIsCountedAnew) {
  OpenStore();
  for (const char* hex : {"01 00 00 00", "01 00 00 00 05 00 00 00 05 00 00",
                          "01 00 00 00 05 00 00 00 05 00 00 00 00"}) {
    PutCache(u"alt.test", hex);
    EXPECT_EQ(Populated(u"alt.test").totalCount, 0U) << hex;
  }
}

// It was stored before the group was on the list.
TEST_F(CountsTest, AnArticleWithTheNameOfTheGroupForItsIdIsNeverOverwritten) {
  OpenStore();
  Add(u"de.test", "alt.test");
  Add(u"alt.test", "<1@x>", true);
  const ReadInfo info = Populated(u"alt.test");
  EXPECT_EQ(info.readCount, 1U);
  EXPECT_EQ(info.totalCount, 1U);
  CountArticles();
  ExpectCounts(1, 1, 1);
  UpdateGlobalGDBMArticleCountCache(1);
  EXPECT_EQ(FetchArticle("alt.test")->subject, "s");
  EXPECT_THAT(BoxTexts(), ::testing::IsEmpty());
}

TEST_F(CountsTest, AfterAKilledSessionNoCacheIsTrusted) {
  OpenStore();
  Add(u"alt.test", "<1@x>", true);
  PutCache(u"alt.test", "01 00 00 00 00 00 00 00 00 00 00 00");
  CloseDatabases();
  ASSERT_TRUE(OpenGDBMDatabases());
  ExpectCounts(1, 0, 0);
  CloseDatabases();
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", ""));
  ASSERT_TRUE(OpenGDBMDatabases());
  ExpectCounts(1, 1, 1);
}

TEST_F(CountsTest, AMissingArticleCountsInTheTotalOnly) {
  OpenStore();
  Add(u"alt.test", "<1@x>", true);
  ASSERT_TRUE(AddArticleToGroup(u"alt.test", "<gone@x>"));
  EXPECT_EQ(CountGroupArticles(u"alt.test", false), 2U);
  EXPECT_EQ(CountGroupArticles(u"alt.test", true), 1U);
}

TEST_F(CountsTest, UpdatingWritesTheCurrentPair) {
  OpenStore();
  gReadInfo[1]->readCount = 0x0102;
  gReadInfo[1]->totalCount = 0x01020304;
  UpdateGlobalGDBMArticleCountCache(1);
  EXPECT_EQ(Cache(u"alt.test"), Bytes("01 00 00 00 02 01 00 00 04 03 02 01"));
  UpdateGlobalGDBMArticleCountCache(3);  // beyond the list
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(CountsTest, FailedCacheWritesAreReportedUnderTheirOwnNames) {
  OpenStore();
  gDatabaseErrorFlag = true;
  UpdateGlobalGDBMArticleCountCache(0);
  DeleteValue(kArticles, GroupKey(u"alt.test"));
  Populated(u"alt.test");
  EXPECT_THAT(
      BoxTexts(),
      ElementsAre(u"An unexpected error (Error storing cached newsgroup counts.) occurred in "
                  u"UpdateGlobalGDBMArticleCountCache.",
                  u"An unexpected error (Error storing cached newsgroup counts.) occurred in "
                  u"PopulateReadArticlesInfo."));
}

TEST_F(CountsTest, MarkingByIdChangesArticleCountAndCache) {
  OpenStore();
  Add(u"alt.test", "<1@x>");
  gReadInfo[1]->totalCount = 1;
  SetArticleReadById("<1@x>", nullptr, true, 1);
  EXPECT_TRUE(IsArticleRead("<1@x>"));
  ExpectCounts(1, 1, 1);
  EXPECT_EQ(Cache(u"alt.test"), Bytes("01 00 00 00 01 00 00 00 01 00 00 00"));
  SetArticleReadById("<1@x>", nullptr, false, 1);
  EXPECT_FALSE(IsArticleRead("<1@x>"));
  ExpectCounts(1, 0, 1);
}

TEST_F(CountsTest, MarkingAgainChangesNoCountAndWritesNoCache) {
  OpenStore();
  Add(u"alt.test", "<1@x>", true);
  DeleteValue(kArticles, GroupKey(u"alt.test"));
  SetArticleReadById("<1@x>", nullptr, true, 1);
  ExpectCounts(1, 0, 0);
  EXPECT_EQ(Cache(u"alt.test"), std::nullopt);
}

TEST_F(CountsTest, AnyStoredNumberButZeroIsRead) {
  OpenStore();
  AsciiArticle article = ArticleWithId("<1@x>");
  article.read = 7;
  ASSERT_TRUE(StoreArticle(article));
  SetArticleReadById("<1@x>", nullptr, true, 1);
  ExpectCounts(1, 0, 0);
  EXPECT_EQ(FetchArticle("<1@x>")->read, 1U);
}

TEST_F(CountsTest, UnknownAndEmptyIdsDoNothing) {
  OpenStore();
  SetArticleReadById("", nullptr, true, 1);
  SetArticleReadById("<none@x>", nullptr, true, 1);
  AsciiArticle nameless;
  SetArticleRead(nameless, nullptr, true, 1);
  ExpectCounts(1, 0, 0);
  EXPECT_EQ(nameless.read, 0U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(CountsTest, AnIndexBeyondTheListChangesTheArticleOnly) {
  OpenStore();
  Add(u"alt.test", "<1@x>");
  SetArticleReadById("<1@x>", nullptr, true, 3);
  EXPECT_TRUE(IsArticleRead("<1@x>"));
  for (std::size_t i = 0; i < 3; ++i) ExpectCounts(i, 0, 0);
}

TEST_F(CountsTest, AFailedStoreLeavesEveryCount) {
  OpenStore();
  Add(u"alt.test", "<1@x>");
  Node root;
  Node node;
  node.parent = &root;
  node.messageId = "<1@x>";
  node.kind = NodeKind::kArticle;
  root.descendantCount = 1;
  gDatabaseErrorFlag = true;
  SetArticleReadById("<1@x>", &node, true, 1);
  ExpectCounts(1, 0, 0);
  EXPECT_EQ(node.read, 0U);
  EXPECT_EQ(root.readDescendantCount, 0U);
}

TEST_F(CountsTest, ACountBelowZeroIsHealedByTheNextStart) {
  OpenStore();
  Add(u"alt.test", "<1@x>", true);
  gReadInfo[1]->totalCount = 1;  // read articles not counted
  SetArticleReadById("<1@x>", nullptr, false, 1);
  CountArticles();
  ExpectCounts(1, 0, 1);
}

// root - subject - reply1 - reply2
class TreeTest : public CountsTest {
 protected:
  TreeTest() {
    OpenStore();
    Add(u"alt.test", "<1@x>");
    Add(u"alt.test", "<2@x>");
    gReadInfo[1]->totalCount = 2;
    subject.parent = &root;
    first.parent = &subject;
    second.parent = &first;
    first.kind = second.kind = NodeKind::kArticle;
    first.messageId = "<1@x>";
    second.messageId = "<2@x>";
    root.descendantCount = subject.descendantCount = 2;
    first.descendantCount = 1;
  }
  Node root, subject, first, second;
};

TEST_F(TreeTest, EveryAncestorIsCounted) {
  SetArticleReadById("<2@x>", &second, true, 1);
  EXPECT_EQ(second.read, 1U);
  EXPECT_EQ(first.readDescendantCount, 1U);
  EXPECT_EQ(first.read, 0U);  // an article's own flag stays
  EXPECT_EQ(subject.readDescendantCount, 1U);
  EXPECT_EQ(subject.read, 0U);
  EXPECT_EQ(root.readDescendantCount, 1U);
  ExpectCounts(1, 1, 2);
}

TEST_F(TreeTest, ASubjectTurnsReadWithItsLastArticleAndBack) {
  SetArticleReadById("<2@x>", &second, true, 1);
  SetArticleReadById("<1@x>", &first, true, 1);
  EXPECT_EQ(subject.read, 1U);
  EXPECT_EQ(root.read, 1U);
  ExpectCounts(1, 2, 2);
  SetArticleReadById("<1@x>", &first, false, 1);
  EXPECT_EQ(subject.read, 0U);
  EXPECT_EQ(root.read, 0U);
  EXPECT_EQ(subject.readDescendantCount, 1U);
  EXPECT_EQ(first.readDescendantCount, 1U);
  ExpectCounts(1, 1, 2);
}

TEST_F(TreeTest, TheNodeDecidesWhetherAnythingChanged) {
  second.read = 1;  // the stored flag is still 0
  SetArticleReadById("<2@x>", &second, true, 1);
  EXPECT_TRUE(IsArticleRead("<2@x>"));
  EXPECT_EQ(root.readDescendantCount, 0U);
  ExpectCounts(1, 0, 2);
}

TEST_F(TreeTest, AnArticleInMemoryIsMarkedWithoutFetching) {
  const auto article = FetchArticle("<1@x>");
  article->subject = "changed in memory";
  SetArticleRead(*article, &first, true, 1);
  EXPECT_EQ(article->read, 1U);
  EXPECT_EQ(FetchArticle("<1@x>")->subject, "changed in memory");
  EXPECT_EQ(root.readDescendantCount, 1U);
  ExpectCounts(1, 1, 2);
}

}  // namespace
}  // namespace quillet
