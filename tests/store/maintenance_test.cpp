// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/maintenance.h"
#include "base/changes.h"
#include "base/upward_calls.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>

#include "base/views.h"
#include "res/resource.h"
#include "store/deletion.h"
#include "store/pending_posts.h"
#include "store/rewrite.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Text = port::FakeDisplay::ProgressText;
constexpr std::uint32_t kTitle = 1020;
constexpr std::uint32_t kDetail = 1022;

TEST(ByteSize, IsExactAtTheBorders) {
  EXPECT_EQ(FormatByteSize(0), u"0 bytes");
  EXPECT_EQ(FormatByteSize(1024), u"1024 bytes");
  EXPECT_EQ(FormatByteSize(1025), u"1.0K");
  EXPECT_EQ(FormatByteSize(1126), u"1.0K");
  EXPECT_EQ(FormatByteSize(1127), u"1.1K");
  EXPECT_EQ(FormatByteSize(1048575), u"1023.9K");
  EXPECT_EQ(FormatByteSize(1048576), u"1024.0K");
  EXPECT_EQ(FormatByteSize(1048577), u"1.0M");
  EXPECT_EQ(FormatByteSize(1572864), u"1.5M");
  EXPECT_EQ(FormatByteSize(2097151), u"1.9M");
  EXPECT_EQ(FormatByteSize(4294967295), u"4096.0M");  // rounded up by the single precision
}

TEST(VolumeUse, TruncatesTheFreeShare) {
  EXPECT_EQ(UsedPercent({195, 1000}), 81U);
  EXPECT_EQ(UsedPercent({200, 1000}), 80U);
  EXPECT_EQ(UsedPercent({0, 1000}), 100U);
  EXPECT_EQ(UsedPercent({1000, 1000}), 0U);
  EXPECT_EQ(UsedPercent({2000, 1000}), 0U);
  EXPECT_EQ(UsedPercent({0, 0}), 0U);
  EXPECT_EQ(UsedPercent({19'000'000'000'000, 100'000'000'000'000}), 81U);
  EXPECT_EQ(UsedPercent({1ULL << 63, ~0ULL}), 50U);
}

class MaintenanceTest : public StoreTest {
 protected:
  static constexpr std::u16string_view kTooFull =
      u"There is not enough free space on the selected store to download news. Either free some "
      u"space or change the allowed percentage in the preferences.";

  std::uint64_t Size(DatabaseIndex index) {
    return fake.files.FileSize(DatabasePath(index)).value_or(0);
  }
  static std::map<std::string, std::string> Records(DatabaseIndex index) {
    std::map<std::string, std::string> records;
    for (auto key = FirstKey(index); key; key = NextKey(index, *key)) {
      records[*key] = *FetchValue(index, *key);
    }
    return records;
  }
  void Count(std::size_t group, std::uint32_t read, std::uint32_t total) {
    EXPECT_EQ(gReadInfo[group]->readCount, read) << group;
    EXPECT_EQ(gReadInfo[group]->totalCount, total) << group;
  }
};

TEST_F(MaintenanceTest, RoomDependsOnTheTruncatedFreeShare) {
  gPrefs->maxstore = 80;
  fake.files.SetFreeSpace({195, 1000});
  EXPECT_FALSE(StoreHasRoom());
  EXPECT_THAT(BoxTexts(), ElementsAre(kTooFull));
  fake.files.SetFreeSpace({200, 1000});
  EXPECT_TRUE(StoreHasRoom());
}

TEST_F(MaintenanceTest, AFailedQueryMeansRoom) {
  gPrefs->maxstore = 0;
  fake.files.SetFreeSpace({0, 1000});
  fake.files.FailNth(port::FileCall::kFreeSpace, 1);
  EXPECT_TRUE(StoreHasRoom());
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- deletion ---

class DeletionTest : public MaintenanceTest {
 protected:
  DeletionTest() {
    OpenStore();
    Add(u"comp.lang.misc", "<c1@x>", true);
    Add(u"comp.lang.misc", "<c2@x>");
    Add(u"alt.test", "<a1@x>", true);
    Add(u"alt.test", "<a2@x>");
    Add(u"alt.test", "<a3@x>", true);
    for (const auto& group : gPrefs->groups) DeleteValue(kArticles, GroupKey(group));
    CountArticles();
  }
};

TEST_F(DeletionTest, ReadArticlesOfOneGroup) {
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<a2@x>"));
  EXPECT_FALSE(ArticleExists("<a1@x>"));
  EXPECT_FALSE(ArticleExists("<a3@x>"));
  EXPECT_TRUE(ArticleExists("<c1@x>"));
  Count(1, 0, 1);
  Count(0, 1, 2);
  EXPECT_EQ(FetchValue(kArticles, GroupKey(u"alt.test")),
            Bytes("01 00 00 00 00 00 00 00 01 00 00 00"));
  EXPECT_THAT(fake.display.progress_texts(),
              ElementsAre(Text{kTitle, u"Deleting read articles in alt.test..."}));
}

TEST_F(DeletionTest, AllArticlesOfOneGroup) {
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(u"alt.test"), IsEmpty());
  EXPECT_FALSE(ArticleExists("<a2@x>"));
  Count(1, 0, 0);
  EXPECT_THAT(fake.display.progress_texts(),
              ElementsAre(Text{kTitle, u"Deleting all articles in alt.test..."}));
}

TEST_F(DeletionTest, CheckedGroupsOnlyWithTheirPosition) {
  CheckGroups({1, 0, 7});
  Add(u"de.test", "<d1@x>", true);
  gReadInfo[2]->readCount = gReadInfo[2]->totalCount = 1;
  EXPECT_EQ(DeleteCheckedArticles(true), RunEnd::kGoOn);
  EXPECT_THAT(Chain(u"comp.lang.misc"), ElementsAre("<c2@x>"));
  EXPECT_THAT(Chain(u"de.test"), IsEmpty());  // any mark but 0 counts
  EXPECT_EQ(Chain(u"alt.test").size(), 3U);
  EXPECT_THAT(fake.display.progress_texts(),
              ElementsAre(Text{kTitle, u"Deleting read articles in selected groups..."},
                          Text{kDetail, u"Deleting in comp.lang.misc (1/2)"},
                          Text{kDetail, u"Deleting in de.test (2/2)"}));
}

TEST_F(DeletionTest, GroupsWithNothingToDeleteAreSkipped) {
  CheckGroups({1, 0, 1});
  EXPECT_EQ(DeleteCheckedArticles(false), RunEnd::kGoOn);
  EXPECT_THAT(fake.display.progress_texts(),
              ElementsAre(Text{kTitle, u"Deleting all articles in selected groups..."},
                          Text{kDetail, u"Deleting in comp.lang.misc (1/2)"}));
  EXPECT_EQ(Chain(u"alt.test").size(), 3U);
}

TEST_F(DeletionTest, AReadCountOfZeroTouchesNothing) {
  gReadInfo[1]->readCount = 0;
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_EQ(Chain(u"alt.test").size(), 3U);
}

TEST_F(DeletionTest, TheOtherGroupsOfACrossPostKeepTheirRecords) {
  ASSERT_TRUE(AddArticleToGroup(u"de.test", "<a1@x>"));
  DeleteArticlesOf(false, GroupAt(1));
  EXPECT_THAT(Chain(u"de.test"), ElementsAre("<a1@x>"));
  EXPECT_FALSE(ArticleExists("<a1@x>"));
  EXPECT_EQ(CountGroupArticles(u"de.test", false), 1U);
  EXPECT_EQ(CountGroupArticles(u"de.test", true), 0U);
}

TEST_F(DeletionTest, RecordsOfMissingArticlesGoWithAllTheRest) {
  DeleteArticle("<a1@x>");
  DeleteArticlesOf(false, GroupAt(1));
  EXPECT_THAT(Chain(u"alt.test"), IsEmpty());
  EXPECT_EQ(gReadInfo[1]->totalCount, 0U);
}

TEST_F(DeletionTest, AReadArticleThatWentByAnotherGroupIsCountedNoMore) {
  ASSERT_TRUE(AddArticleToGroup(u"de.test", "<a1@x>"));
  gReadInfo[2]->totalCount = 1;
  gReadInfo[2]->readCount = 1;
  DeleteArticlesOf(false, GroupAt(1));
  DeleteArticlesOf(false, GroupAt(2));
  Count(2, 0, 0);
}

TEST_F(DeletionTest, CountsThatWereWrongStopAtZero) {
  gReadInfo[1]->totalCount = 1;
  gReadInfo[1]->readCount = 1;
  DeleteArticlesOf(false, GroupAt(1));
  Count(1, 0, 0);
}

TEST_F(DeletionTest, ACancelStopsBetweenTwoArticles) {
  fake.display.CancelProgressAfter(1);
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(1)), RunEnd::kCancelled);
  EXPECT_EQ(Chain(u"alt.test").size(), gReadInfo[1]->totalCount);
  gAbortRequested = 0;
}

TEST_F(DeletionTest, WithoutGroupsNothingHappens) {
  gPrefs->groups.clear();
  gPrefs->numgroups = 0;
  EXPECT_EQ(DeleteCheckedArticles(false), RunEnd::kGoOn);
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(0)), RunEnd::kGoOn);
  EXPECT_THAT(fake.display.progress_texts(), IsEmpty());
}

TEST_F(DeletionTest, AnIndexBeyondTheListDeletesNothing) {
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(3)), RunEnd::kGoOn);
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(~std::size_t{0})), RunEnd::kGoOn);
  EXPECT_TRUE(ArticleExists("<a1@x>"));
}

TEST_F(DeletionTest, MissingCountsAreTakenFirst) {
  gReadInfo.clear();
  DeleteArticlesOf(true, GroupAt(1));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<a2@x>"));
}

TEST_F(DeletionTest, EverythingGoesByDeletingTheFilesButNotTheQueue) {
  CreateWindow();
  CheckGroups({1, 1, 7});
  AsciiArticle post = ArticleWithId("<p@x>");
  ASSERT_TRUE(StoreAsciiGDBMPost(post));
  PostedToMainWindow();
  EXPECT_EQ(DeleteCheckedArticles(false), RunEnd::kGoOn);
  EXPECT_THAT(fake.display.progress_texts(), IsEmpty());
  EXPECT_TRUE(DatabasesOpen());
  EXPECT_TRUE(Records(kNewsgroups).empty());
  EXPECT_FALSE(ArticleExists("<c1@x>"));
  EXPECT_NE(FetchPendingPost("<p@x>"), nullptr);
  EXPECT_EQ(gPendingPostCount, 1U);
  for (std::size_t i = 0; i < 3; ++i) Count(i, 0, 0);
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefillGroupList));
}

TEST_F(DeletionTest, WithoutQueuedPostsTheirFileGoesToo) {
  CheckGroups({1, 1, 1});
  ASSERT_TRUE(StoreValue(kPosts, "stray", "x", StoreMode::kInsert));
  EXPECT_EQ(DeleteCheckedArticles(false), RunEnd::kGoOn);
  EXPECT_EQ(FetchValue(kPosts, "stray"), std::nullopt);
}

TEST_F(DeletionTest, DeletingReadOnesNeverTakesTheFastWay) {
  CheckGroups({1, 1, 1});
  EXPECT_EQ(DeleteCheckedArticles(true), RunEnd::kGoOn);
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<a2@x>"));
}

// --- deletion and the shown tree ---

std::optional<GroupIndex> gShownGroup;
int gTreeDeletions = 0;
int gClearings = 0;
RunEnd gTreeEnd = RunEnd::kGoOn;
bool gTreeOutOfDate = false;
// As the thread view does: a tree that is out of date is left alone.
std::optional<RunEnd> DeleteReadOfTree() {
  if (gTreeOutOfDate) return std::nullopt;
  ++gTreeDeletions;
  return gTreeEnd;
}
void ClearTree() {
  ++gClearings;
}

class ShownTreeTest : public DeletionTest {
 protected:
  ShownTreeTest() {
    gUpwardCalls.shown_tree = {[] { return gShownGroup; }, DeleteReadOfTree, ClearTree};
    gShownGroup = GroupAt(1);
    gTreeDeletions = 0;
    gClearings = 0;
    gTreeEnd = RunEnd::kGoOn;
    gTreeOutOfDate = false;
  }

  SeenChanges seen{Change::kStore};
};

TEST_F(ShownTreeTest, ReadArticlesOfTheShownGroupAreLeftToTheTree) {
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_EQ(gTreeDeletions, 1);
  EXPECT_EQ(Chain(u"alt.test").size(), 3U);
  EXPECT_FALSE(seen.OutOfDate());
  EXPECT_EQ(gClearings, 0);
}

TEST_F(ShownTreeTest, ATreeThatIsOutOfDateIsNotAsked) {
  gTreeOutOfDate = true;
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_EQ(gTreeDeletions, 0);
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<a2@x>"));
  EXPECT_TRUE(seen.OutOfDate());
}

TEST_F(ShownTreeTest, OtherGroupsDoNotTouchTheTree) {
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(0)), RunEnd::kGoOn);
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(0)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(u"comp.lang.misc"), IsEmpty());
  EXPECT_EQ(gTreeDeletions, 0);
  EXPECT_EQ(gClearings, 0);
  EXPECT_FALSE(seen.OutOfDate());
}

TEST_F(ShownTreeTest, WithoutAReadArticleTheTreeIsNotAsked) {
  gReadInfo[1]->readCount = 0;
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_EQ(gTreeDeletions, 0);
}

TEST_F(ShownTreeTest, AllArticlesOfTheShownGroupClearIt) {
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(1)), RunEnd::kGoOn);
  EXPECT_EQ(gClearings, 1);
  EXPECT_THAT(Chain(u"alt.test"), IsEmpty());
}

TEST_F(ShownTreeTest, AnAbortLeavesTheTreeToBeBuiltAnew) {
  fake.display.CancelProgressAfter(1);
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(1)), RunEnd::kCancelled);
  // The cancel may come before the group is reached at all.
  if (Chain(u"alt.test").size() < 3) {
    EXPECT_TRUE(seen.OutOfDate());
  }
  EXPECT_EQ(gClearings, 0);
}

TEST_F(ShownTreeTest, TheCheckedGroupsTakeTheTreeAlong) {
  CheckGroups({1, 1, 0});
  EXPECT_EQ(DeleteCheckedArticles(true), RunEnd::kGoOn);
  EXPECT_EQ(gTreeDeletions, 1);
  EXPECT_THAT(Chain(u"comp.lang.misc"), ElementsAre("<c2@x>"));
  EXPECT_EQ(DeleteCheckedArticles(false), RunEnd::kGoOn);
  EXPECT_EQ(gClearings, 1);
}

TEST_F(ShownTreeTest, GroupsAfterOneWhoseTreeWasRefusedStay) {
  CheckGroups({1, 1, 0});
  gShownGroup = GroupAt(0);
  gTreeEnd = RunEnd::kStoreFailed;
  EXPECT_EQ(DeleteCheckedArticles(true), RunEnd::kStoreFailed);
  EXPECT_EQ(gTreeDeletions, 1);
  EXPECT_EQ(Chain(u"alt.test").size(), 3U);
}

TEST_F(ShownTreeTest, DeletingEverythingClearsItAfterTheFilesWereOpened) {
  CheckGroups({1, 1, 1});
  static bool open = false;
  gUpwardCalls.shown_tree.clear = [] { open = DatabasesOpen(); };
  EXPECT_EQ(DeleteCheckedArticles(false), RunEnd::kGoOn);
  EXPECT_TRUE(open);
}

TEST_F(DeletionTest, OneArticleGoesWithItsChainRecordAndCounts) {
  const auto record = GroupChainFirst(u"alt.test");
  ASSERT_EQ(record->messageId, "<a3@x>");
  EXPECT_TRUE(DeleteGroupArticle(1, *record, true));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<a2@x>", "<a1@x>"));
  EXPECT_FALSE(ArticleExists("<a3@x>"));
  Count(1, 1, 2);
  EXPECT_EQ(FetchValue(kArticles, GroupKey(u"alt.test")),
            Bytes("01 00 00 00 01 00 00 00 02 00 00 00"));
  EXPECT_FALSE(DeleteGroupArticle(3, *record, true));
}

TEST_F(DeletionTest, AnArticleWithoutAMessageIdHasNoRecordOfItsOwn) {
  Add(u"alt.test", "");
  gReadInfo[1]->totalCount = 4;
  EXPECT_TRUE(DeleteGroupArticle(1, *GroupChainFirst(u"alt.test"), false));
  EXPECT_TRUE(ArticleExists(""));
  Count(1, 2, 3);
}

// --- rewriting ---

class RewriteTest : public MaintenanceTest {
 protected:
  RewriteTest() {
    OpenStore();
    for (int i = 0; i < 40; ++i) {
      AsciiArticle article = ArticleWithId(FormatNarrow("<%d@x>", i), std::string(3000, 'b'));
      article.articleNumber = static_cast<std::uint32_t>(i);
      EXPECT_TRUE(StoreArticle(article) && AddArticleToGroup(u"alt.test", *article.messageId));
    }
    gReadInfo[1]->totalCount = 40;
    UpdateGlobalGDBMArticleCountCache(1);
    LoadCompressionLibrary();
  }
  static constexpr std::u16string_view kTemporary = u"#Quillet articles.gdb#";
};

TEST_F(RewriteTest, CompactionShrinksTheArticlesAndKeepsEveryRecord) {
  for (int i = 0; i < 30; ++i) DeleteArticle(FormatNarrow("<%d@x>", i));
  const auto articles = Records(kArticles);
  const auto groups = Records(kNewsgroups);
  const std::uint64_t before = Size(kArticles);
  CreateWindow();
  PostedToMainWindow();
  CompactDatabases();
  EXPECT_LT(Size(kArticles), before);
  EXPECT_EQ(Records(kArticles), articles);
  EXPECT_EQ(Records(kNewsgroups), groups);
  EXPECT_FALSE(FileThere(kTemporary));
  EXPECT_THAT(fake.display.progress_texts(), ElementsAre(Text{kTitle, u"Compacting databases"}));
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefillGroupList));
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(RewriteTest, TheRunEndsWithTheFirstFileThatWasReplaced) {
  const auto path = fake.files.NativePath(DatabasePath(kNewsgroups));
  struct stat before {};
  ASSERT_EQ(stat(path.c_str(), &before), 0);
  EXPECT_EQ(RewriteDatabases(RewriteMode::kCompact), -1);
  struct stat after {};
  ASSERT_EQ(stat(path.c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_FALSE(DatabaseFile(kArticles));
  EXPECT_TRUE(DatabaseFile(kNewsgroups));
}

TEST_F(RewriteTest, OnlyAFailedRenameLetsItGoOn) {
  fake.files.FailNth(port::FileCall::kRename, 1);
  EXPECT_EQ(RewriteDatabases(RewriteMode::kCompact), -1);
  EXPECT_FALSE(DatabaseFile(kArticles));
  EXPECT_FALSE(DatabaseFile(kNewsgroups));  // this one was replaced
  EXPECT_TRUE(DatabaseFile(kPosts));
  EXPECT_TRUE(ReopenDatabases());
  EXPECT_TRUE(ArticleExists("<7@x>"));
  EXPECT_EQ(CountGroupArticles(u"alt.test", false), 40U);
}

TEST_F(RewriteTest, AConversionWhoseRenameFailsReachesItsEnd) {
  fake.files.FailNth(port::FileCall::kRename, 1);
  EXPECT_EQ(RewriteDatabases(RewriteMode::kCompress), 0);
  EXPECT_TRUE(ReopenDatabases());
  EXPECT_EQ(FetchValue(kArticles, Raw("<7@x>\0"))->front(), 1);
}

TEST_F(RewriteTest, TheNewFileHasTheModeOfTheOldOne) {
  const auto path = fake.files.NativePath(DatabasePath(kArticles));
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  CompactDatabases();
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(RewriteTest, AStaleTemporaryFileIsRemovedFirst) {
  const auto articles = Records(kArticles);
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\" + std::u16string(kTemporary), "stale"));
  CompactDatabases();
  EXPECT_EQ(Records(kArticles), articles);
}

TEST_F(RewriteTest, ACancelledRunLeavesTheSourceAlone) {
  const auto articles = Records(kArticles);
  fake.display.CancelProgressAfter(0);
  CompactDatabases();
  EXPECT_EQ(Records(kArticles), articles);
  EXPECT_FALSE(FileThere(kTemporary));
  EXPECT_THAT(BoxTexts(), IsEmpty());
  gAbortRequested = 0;
  CompactDatabases();
  EXPECT_EQ(Records(kArticles), articles);
  EXPECT_FALSE(FileThere(kTemporary));
}

TEST_F(RewriteTest, WhatAKillHasLeftGoesAtTheNextOpening) {
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\" + std::u16string(kTemporary), "stale"));
  ASSERT_TRUE(ReopenDatabases());
  EXPECT_FALSE(FileThere(kTemporary));
}

constexpr std::u16string_view kNoRoomToRewrite =
    u"There is not enough free space to rewrite the databases. They stay as they are.";
constexpr std::u16string_view kNotRewritten =
    u"The databases could not be rewritten. They stay as they are.";

TEST_F(RewriteTest, AFullVolumeIsToldAndTheCopyGoes) {
  const auto articles = Records(kArticles);
  for (const bool compress : {true, false}) {
    fake.display.ForgetBoxes();
    fake.files.SetFreeSpace({300'000, 1'000'000'000});
    int looks = 0;
    fake.files.before_call = [&](port::FileCall call) {
      if (call == port::FileCall::kFreeSpace && ++looks == 3) {
        EXPECT_TRUE(FileThere(kTemporary));
        fake.files.SetFreeSpace({0, 1'000'000'000});
      }
    };
    CompressAllArticles(compress);
    fake.files.before_call = nullptr;
    EXPECT_GE(looks, 3);
    EXPECT_THAT(BoxTexts(), ElementsAre(kNoRoomToRewrite));
    EXPECT_EQ(Records(kArticles), articles);
    EXPECT_FALSE(FileThere(kTemporary));
  }
}

TEST_F(RewriteTest, ACopyThatCannotBeMadeIsTold) {
  const auto articles = Records(kArticles);
  const std::string temporary =
      fake.files.NativePath(gDatabaseFolder + u"\\" + std::u16string(kTemporary));
  std::filesystem::create_directory(temporary);
  CompressAllArticles(true);
  std::filesystem::remove(temporary);
  EXPECT_THAT(BoxTexts(), ElementsAre(kNotRewritten));
  EXPECT_EQ(Records(kArticles), articles);
}

TEST_F(RewriteTest, AFileThatCannotBeReplacedIsTold) {
  const auto articles = Records(kArticles);
  fake.files.FailNth(port::FileCall::kRename, 1);
  CompressAllArticles(true);
  EXPECT_THAT(BoxTexts(), ElementsAre(kNotRewritten));
  EXPECT_EQ(Records(kArticles), articles);
}

// One box for each of thousands could not be left.
TEST_F(RewriteTest, TextsThatCannotBeExpandedAreToldOnceAndCopiedAsTheyAre) {
  CompressAllArticles(true);
  std::map<std::string, std::string> damaged;
  for (const char* id : {"<3@x>", "<5@x>", "<8@x>"}) {
    const std::string key = std::string(id) + '\0';
    std::string value = *FetchValue(kArticles, key);
    value[30] = static_cast<char>(value[30] ^ 0x55);
    ASSERT_TRUE(StoreValue(kArticles, key, value, StoreMode::kReplace));
    damaged[key] = value;
  }
  CompressAllArticles(false);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Decompress returned an error"));
  for (const auto& [key, value] : damaged) EXPECT_EQ(FetchValue(kArticles, key), value);
  EXPECT_EQ(FetchValue(kArticles, Raw("<7@x>\0"))->front(), 1);
}

// No article is as short as this, whatever the record begins with.
TEST_F(RewriteTest, RecordsTooShortForAnArticleAreCopied) {
  std::map<std::string, std::string> records;
  for (std::size_t length = 0; length < 24; ++length) {
    for (const int format : {1, 2}) {
      std::string value =
          (std::string(1, static_cast<char>(format)) + std::string(23, '\0')).substr(0, length);
      const std::string key = FormatNarrow("short %d %d", length, format) + '\0';
      ASSERT_TRUE(StoreValue(kArticles, key, value, StoreMode::kInsert));
      records[key] = value;
    }
  }
  CompressAllArticles(true);
  CompressAllArticles(false);
  for (const auto& [key, value] : records) EXPECT_EQ(FetchValue(kArticles, key), value);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

GdbmLibrary gRealLibrary;
int gCallsUntilFailure = 0;
datum FetchThatFailsOnce(GDBM_FILE file, datum key) {
  return --gCallsUntilFailure == 0 ? datum{nullptr, 0} : gRealLibrary.fetch(file, key);
}
datum NextThatBreaksOff(GDBM_FILE file, datum key) {
  if (--gCallsUntilFailure != 0) return gRealLibrary.nextkey(file, key);
  *gRealLibrary.errno_location() = GDBM_FILE_READ_ERROR;
  return {nullptr, 0};
}
int StoreThatFails(GDBM_FILE file, datum key, datum value, int flag) {
  return --gCallsUntilFailure == 0 ? -1 : gRealLibrary.store(file, key, value, flag);
}

class FaultyRewriteTest : public RewriteTest {
 protected:
  FaultyRewriteTest() { gRealLibrary = gGdbm; }
  ~FaultyRewriteTest() override { gGdbm = gRealLibrary; }
  // Runs the rewriting with one failure after the other, until none is met any more.
  template <class Break>
  void ExpectSourceSurvives(const Break& break_library) {
    const auto articles = Records(kArticles);
    int failures = 0;
    for (int n = 1; n < 1000; ++n) {
      gCallsUntilFailure = n;
      break_library();
      EXPECT_EQ(RewriteDatabases(RewriteMode::kCompact), -1);
      gGdbm = gRealLibrary;
      if (gCallsUntilFailure > 0) break;
      ++failures;
      ASSERT_TRUE(DatabaseFile(kArticles)) << n;
      ASSERT_EQ(Records(kArticles), articles) << n;
    }
    EXPECT_GE(failures, 40);
    ASSERT_TRUE(ReopenDatabases());
    EXPECT_EQ(Records(kArticles), articles);
  }
};

TEST_F(FaultyRewriteTest, AValueThatIsMissingEndsItWithoutTraces) {
  ExpectSourceSurvives([] { gGdbm.fetch = FetchThatFailsOnce; });
  EXPECT_FALSE(FileThere(kTemporary));
}

TEST_F(FaultyRewriteTest, AWalkThatBreaksOffDoesNotReplaceTheWhole) {
  ExpectSourceSurvives([] { gGdbm.nextkey = NextThatBreaksOff; });
}

TEST_F(FaultyRewriteTest, AFailedStoreEndsIt) {
  ExpectSourceSurvives([] { gGdbm.store = StoreThatFails; });
  EXPECT_THAT(BoxTexts(), Each(kNotRewritten));
  EXPECT_FALSE(FileThere(kTemporary));
}

int StoreAndCancel(GDBM_FILE file, datum key, datum value, int flag) {
  if (--gCallsUntilFailure == 0) RequestAbort();
  return gRealLibrary.store(file, key, value, flag);
}

TEST_F(FaultyRewriteTest, ACancelAfterAnyRecordLosesNothing) {
  const auto articles = Records(kArticles);
  for (const int n : {1, 2, 20, 40, 41}) {
    gCallsUntilFailure = n;
    gGdbm.store = StoreAndCancel;
    CompressAllArticles(true);
    gGdbm = gRealLibrary;
    EXPECT_LE(gCallsUntilFailure, 0);
    ASSERT_TRUE(Records(kArticles) == articles) << n;
    EXPECT_FALSE(FileThere(kTemporary));
    EXPECT_TRUE(DatabasesOpen());
  }
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

int StoreWithoutRoom(GDBM_FILE file, datum key, datum value, int flag) {
  if (--gCallsUntilFailure != 0) return gRealLibrary.store(file, key, value, flag);
  errno = ENOSPC;
  return -1;
}
int SyncWithoutRoom(GDBM_FILE /*file*/) {
  errno = ENOSPC;
  return -1;
}

TEST_F(FaultyRewriteTest, AFullDiskThatTheLibraryMeetsIsTold) {
  const auto articles = Records(kArticles);
  gCallsUntilFailure = 10;
  gGdbm.store = StoreWithoutRoom;
  EXPECT_EQ(RewriteDatabases(RewriteMode::kCompress), -1);
  gGdbm = gRealLibrary;
  gGdbm.sync = SyncWithoutRoom;
  EXPECT_EQ(RewriteDatabases(RewriteMode::kCompress), -1);
  gGdbm = gRealLibrary;
  EXPECT_THAT(BoxTexts(), ElementsAre(kNoRoomToRewrite, kNoRoomToRewrite));
  EXPECT_EQ(Records(kArticles), articles);
  EXPECT_FALSE(FileThere(kTemporary));
}

class FaultyDeletionTest : public DeletionTest {
 protected:
  FaultyDeletionTest() { gRealLibrary = gGdbm; }
  ~FaultyDeletionTest() override { gGdbm = gRealLibrary; }
};

TEST_F(FaultyDeletionTest, AChainRecordThatCannotBeRemovedStaysCounted) {
  int refusals = 0;
  for (int n = 1; n < 100; ++n) {
    fake.display.ForgetBoxes();
    gCallsUntilFailure = n;
    gGdbm.store = StoreThatFails;
    const RunEnd end = DeleteArticlesOf(false, GroupAt(1));
    gGdbm = gRealLibrary;
    EXPECT_EQ(gReadInfo[1]->totalCount, CountGroupArticles(u"alt.test", false)) << n;
    EXPECT_EQ(gReadInfo[1]->readCount, CountGroupArticles(u"alt.test", true)) << n;
    const auto chain = Chain(u"alt.test");
    EXPECT_LE(std::ranges::count_if(chain, [](const auto& id) { return !ArticleExists(id); }), 1);
    if (gCallsUntilFailure > 0) break;
    EXPECT_EQ(end == RunEnd::kStoreFailed, !Chain(u"alt.test").empty()) << n;
    EXPECT_FALSE(AbortRequested()) << n;
    if (end != RunEnd::kGoOn) {
      ++refusals;
      EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (unable to delete article) "
                                          u"occurred in DeleteArticles."));
    }
    DeleteArticlesOf(false, GroupAt(1));
    for (const char* id : {"<a1@x>", "<a2@x>", "<a3@x>"}) Add(u"alt.test", id, true);
    gReadInfo[1]->readCount = gReadInfo[1]->totalCount = 3;
    UpdateGlobalGDBMArticleCountCache(1);
  }
  EXPECT_EQ(refusals, 3);
}

TEST_F(RewriteTest, NothingIsRewrittenWithoutOpenFiles) {
  CloseDatabases();
  const std::uint64_t before = Size(kArticles);
  EXPECT_EQ(RewriteDatabases(RewriteMode::kCompact), -1);
  EXPECT_EQ(Size(kArticles), before);
  EXPECT_FALSE(FileThere(kTemporary));
}

TEST_F(RewriteTest, CompressingAndBackYieldsTheSameRecords) {
  const auto articles = Records(kArticles);
  CompressAllArticles(true);
  EXPECT_EQ(FetchValue(kArticles, Raw("<7@x>\0"))->front(), 2);
  EXPECT_EQ(FetchArticle("<7@x>")->body, std::string(3000, 'b'));
  EXPECT_EQ(FetchArticle("<7@x>")->articleNumber, 7U);
  EXPECT_EQ(FetchValue(kArticles, GroupKey(u"alt.test")),
            Bytes("01 00 00 00 00 00 00 00 28 00 00 00"));
  const auto compressed = Records(kArticles);
  CompressAllArticles(true);
  EXPECT_EQ(Records(kArticles), compressed);
  CompressAllArticles(false);
  EXPECT_EQ(Records(kArticles), articles);
  EXPECT_THAT(fake.display.progress_texts(), ElementsAre(Text{kTitle, u"Compressing articles"},
                                                         Text{kTitle, u"Compressing articles"},
                                                         Text{kTitle, u"Uncompressing articles"}));
}

TEST_F(RewriteTest, AnIncompressibleTinyArticleStaysCompressed) {
  AsciiArticle tiny;
  tiny.messageId = "<t@x>";
  ASSERT_TRUE(StoreArticle(tiny));
  CompressAllArticles(true);
  EXPECT_EQ(FetchValue(kArticles, Raw("<t@x>\0"))->front(), 2);
  EXPECT_LT(FetchArticle("<t@x>")->compressionSavings, 0);
}

TEST_F(RewriteTest, WhatCannotBeReadIsCopiedAsItIs) {
  const std::string broken = Bytes("01 00 00 00") + std::string(30, 'x');
  const std::string foreign = Bytes("09 00 00 00") + std::string(30, 'x');
  ASSERT_TRUE(StoreValue(kArticles, Raw("<broken>\0"), broken, StoreMode::kInsert));
  ASSERT_TRUE(StoreValue(kArticles, Raw("<foreign>\0"), foreign, StoreMode::kInsert));
  CompressAllArticles(true);
  EXPECT_EQ(FetchValue(kArticles, Raw("<broken>\0")), broken);
  EXPECT_EQ(FetchValue(kArticles, Raw("<foreign>\0")), foreign);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(RewriteTest, WithoutTheLibraryAConversionChangesNothingAndSaysNothing) {
  CompressAllArticles(true);
  const auto compressed = Records(kArticles);
  UnloadCompressionLibrary();
  CompressAllArticles(false);
  EXPECT_EQ(Records(kArticles), compressed);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- the compression library ---

class CompressionTest : public StoreTest {};

TEST_F(CompressionTest, AMissingLibraryIsSaidOnceALoad) {
  fake.libraries.hide_library(u"bzip2ce.dll");
  LoadCompressionLibrary();
  EXPECT_FALSE(gCompressionAvailable);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"Unable to load BZIP2 library. Compression will not be available."));
  EXPECT_EQ(CompressionLibraryVersion(), u"");
  EXPECT_EQ(CompressBlock("x"), std::nullopt);
  EXPECT_EQ(DecompressBlock("x", 1), std::nullopt);
}

TEST_F(CompressionTest, ALibraryThatLacksANameIsNotKept) {
  for (const char* name :
       {"BZ2_bzBuffToBuffCompress", "BZ2_bzBuffToBuffDecompress", "BZ2_bzlibVersion"}) {
    fake.libraries.show_all();
    fake.libraries.hide(name);
    LoadCompressionLibrary();
    EXPECT_FALSE(gCompressionAvailable) << name;
    EXPECT_EQ(fake.libraries.loaded(), 0) << name;
  }
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(CompressionTest, LoadingTwiceLoadsOnceAndUnloadingFreesIt) {
  LoadCompressionLibrary();
  LoadCompressionLibrary();
  EXPECT_TRUE(gCompressionAvailable);
  EXPECT_EQ(fake.libraries.loaded(), 1);
  EXPECT_EQ(CompressionLibraryVersion().substr(0, 2), u"1.");
  UnloadCompressionLibrary();
  UnloadCompressionLibrary();
  EXPECT_FALSE(gCompressionAvailable);
  EXPECT_EQ(fake.libraries.loaded(), 0);
}

TEST_F(CompressionTest, BlocksOfAnyKindComeBack) {
  LoadCompressionLibrary();
  std::string random;
  for (unsigned i = 0, r = 1; i < 100000; ++i) {
    r = r * 1103515245 + 12345;
    random.push_back(static_cast<char>(r >> 16));
  }
  for (const std::string& block : {std::string(9, '\0'), std::string(1 << 20, 'x'), random}) {
    const auto stream = CompressBlock(block);
    ASSERT_TRUE(stream);
    EXPECT_EQ(DecompressBlock(*stream, static_cast<std::uint32_t>(block.size())), block);
    EXPECT_EQ(DecompressBlock(*stream, static_cast<std::uint32_t>(block.size()) - 1), std::nullopt);
    EXPECT_EQ(DecompressBlock(*stream, static_cast<std::uint32_t>(block.size()) + 1), std::nullopt);
  }
}

}  // namespace
}  // namespace quillet
