// SPDX-License-Identifier: GPL-3.0-or-later
// Purging, and what the storage page asks of stores and cards.
#include <gmock/gmock.h>

#include <array>
#include <filesystem>

#include "base/changes.h"
#include "base/upward_calls.h"
#include "store/lost_articles.h"
#include "store/maintenance.h"
#include "store/pending_posts.h"
#include "store/refusals.h"
#include "store/use_mark.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

int gThreadsCleared = 0;
int gArticlesCleared = 0;

class Purging : public StoreTest {
 protected:
  Purging() {
    OpenStore();
    CreateWindow();
    Add(u"alt.test", "<1@x>", true);
    Add(u"alt.test", "<2@x>");
    AsciiArticle post = ArticleWithId("<p@x>");
    EXPECT_TRUE(StoreAsciiGDBMPost(post));
    gReadInfo[1]->totalCount = 2;
    UpdateGlobalGDBMArticleCountCache(1);
    PostedToMainWindow();
    gThreadsCleared = gArticlesCleared = 0;
    gUpwardCalls.shown_tree.clear = [] { ++gThreadsCleared; };
    gUpwardCalls.article_view.clear = [] { ++gArticlesCleared; };
  }
  std::vector<std::u16string> Names() { return fake.files.FileNames(gDatabaseFolder); }
  static void ExpectEmpty() {
    EXPECT_TRUE(DatabasesOpen());
    EXPECT_THAT(Chain(u"alt.test"), IsEmpty());
    EXPECT_FALSE(ArticleExists("<1@x>"));
    EXPECT_EQ(FetchPendingPost("<p@x>"), nullptr);
    EXPECT_EQ(gPendingPostCount, 0U);
    for (const auto& info : gReadInfo) EXPECT_EQ(info->totalCount, 0U);
  }
};

TEST_F(Purging, AllThreeDatabasesAreEmptyAndOpen) {
  SeenChanges seen(Change::kStore);
  EXPECT_TRUE(PurgeDatabases());
  ExpectEmpty();
  EXPECT_EQ(gReadInfo.size(), 3U);
  EXPECT_EQ(gThreadsCleared, 1);
  EXPECT_EQ(gArticlesCleared, 1);
  EXPECT_TRUE(seen.OutOfDate());
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefillGroupList));
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  Add(u"alt.test", "<1@x>");
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
}

TEST_F(Purging, TheFilesBecomeSmall) {
  AsciiArticle large = ArticleWithId("<l@x>", std::string(1 << 20, 'b'));
  ASSERT_TRUE(StoreArticle(large));
  EXPECT_GT(DatabaseFileSize(kArticles), 1U << 20);
  EXPECT_TRUE(PurgeDatabases());
  EXPECT_LT(DatabaseFileSize(kArticles), 1U << 20);
}

TEST_F(Purging, NothingOfTheOldStoreIsLeftBeside) {
  ASSERT_TRUE(AddLostArticles({{"<lost@x>", {"alt.test"}}}));
  KeepRefusal("<p@x>", u"441 no");
  EXPECT_TRUE(PurgeDatabases());
  EXPECT_THAT(LostArticles(), IsEmpty());
  EXPECT_EQ(RefusalOfPost("<p@x>"), u"");
  CloseDatabases();
  EXPECT_THAT(Names(), ElementsAre(u"Quillet articles.gdb", u"Quillet newsgroups.gdb",
                                   u"Quillet pending posts.gdb"));
}

// The copies that an end without closing leaves are for bringing back what was not deleted.
TEST_F(Purging, CopiesOfAKilledWriterBringNothingBack) {
  CloseDatabases();
  const std::u16string groups = DatabasePath(kNewsgroups);
  const std::u16string posts = DatabasePath(kPosts);
  ASSERT_TRUE(fake.files.Copy(groups, groups + u".copy"));
  ASSERT_TRUE(fake.files.Copy(posts, posts + u".copy"));
  ASSERT_TRUE(OpenGDBMDatabases());
  KeepUseMark();
  SetUseMark();
  NameCopyInMark(kNewsgroups);
  NameCopyInMark(kPosts);
  EXPECT_TRUE(PurgeDatabases());
  ExpectEmpty();
  EXPECT_THAT(LostArticles(), IsEmpty());
}

class PurgingFails : public Purging, public testing::WithParamInterface<int> {};
// Of the deletions the third and fourth are of lists that are not there.
INSTANTIATE_TEST_SUITE_P(AtEach, PurgingFails, testing::Values(0, 1, 2));

TEST_P(PurgingFails, WhatCannotBeDeletedIsToldAndTheRestIsOpen) {
  CloseDatabases();
  ASSERT_TRUE(OpenGDBMDatabases());
  KeepRefusal("<p@x>", u"441 no");
  constexpr std::array kDeletions = {1, 2, 5};
  fake.files.FailNth(port::FileCall::kDelete, kDeletions.at(static_cast<std::size_t>(GetParam())));
  EXPECT_FALSE(PurgeDatabases());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"There was an error deleting one or more of the databases. "
                                      u"Your CE device may need to be rebooted."));
  EXPECT_TRUE(DatabasesOpen());
  EXPECT_EQ(ArticleExists("<2@x>"), GetParam() == 0);
  EXPECT_EQ(FetchPendingPost("<p@x>") != nullptr, GetParam() == 2);
  EXPECT_EQ(RefusalOfPost("<p@x>"), GetParam() == 2 ? u"441 no" : u"");
}

TEST_F(Purging, FilesThatCannotBeMadeAnewAreReported) {
  const std::string folder = fake.files.NativePath(gDatabaseFolder);
  fake.files.BeforeNth(port::FileCall::kDelete, 6,
                       [&] { std::filesystem::rename(folder, folder + " gone"); });
  EXPECT_FALSE(PurgeDatabases());
  std::filesystem::rename(folder + " gone", folder);
  ASSERT_FALSE(BoxTexts().empty());
}

// --- Stores and cards ----------------------------------------------------------------------------

class Stores : public StoreTest {};

TEST_F(Stores, TheSizesAreThoseOfTheOpenFiles) {
  OpenStore();
  for (const DatabaseIndex index : {kArticles, kNewsgroups, kPosts}) {
    const std::string path = fake.files.NativePath(DatabasePath(index));
    EXPECT_EQ(DatabaseFileSize(index), std::filesystem::file_size(path));
    EXPECT_GT(DatabaseFileSize(index), 0U);
  }
}

TEST_F(Stores, TheShareInUseIsThatOfTheStoresVolume) {
  fake.files.SetFreeSpace({195, 1000});
  EXPECT_EQ(StoreUsedPercent(u""), 81U);
  fake.files.AddCard(u"Card");
  EXPECT_EQ(StoreUsedPercent(u"Card"), 81U);  // there is no folder on it yet
  ASSERT_TRUE(fake.files.CreateFolder(u"\\Card\\Quillet CE News"));
  EXPECT_EQ(StoreUsedPercent(u"Card"), 81U);
  fake.files.RemoveCard(u"Card");
  EXPECT_EQ(StoreUsedPercent(u"Card"), std::nullopt);
  EXPECT_EQ(StoreUsedPercent(u"..\\etc"), std::nullopt);
}

TEST_F(Stores, OnlyCardsThatCanBeWrittenAreOffered) {
  fake.files.AddCard(u"Second");
  fake.files.AddCard(u"First");
  EXPECT_THAT(StorageCards(), ElementsAre(u"First", u"Second"));
  int asked = 0;
  fake.files.before_call = [&](port::FileCall call) {
    if (call != port::FileCall::kCanWriteFolder) return;
    // Of "First" both folders.
    if (++asked <= 2) fake.files.FailNth(port::FileCall::kCanWriteFolder, 1);
  };
  EXPECT_THAT(StorageCards(), ElementsAre(u"Second"));
}

TEST_F(Stores, ACardWithAFolderForTheDatabasesIsOffered) {
  fake.files.AddCard(u"Card");
  ASSERT_TRUE(fake.files.CreateFolder(u"\\Card\\Quillet CE News"));
  fake.files.FailNth(port::FileCall::kCanWriteFolder, 1);
  EXPECT_THAT(StorageCards(), ElementsAre(u"Card"));
  std::filesystem::remove(fake.files.NativePath(u"\\Card\\Quillet CE News"));
  fake.files.FailNth(port::FileCall::kCanWriteFolder, 1);
  EXPECT_THAT(StorageCards(), IsEmpty());
}

}  // namespace
}  // namespace quillet
