// SPDX-License-Identifier: GPL-3.0-or-later
// What killed writers leave, made by hand: records are taken out of the files, which are then
// closed without their mark being taken away.
#include "store/make_whole.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>

#include "store/deletion.h"
#include "store/group_record.h"
#include "store/lost_articles.h"
#include "store/pending_posts.h"
#include "store/whole_points.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr std::u16string_view kGroup = u"alt.test";
const std::string kGroupKey = Raw("alt.test\0");

class MakeWholeTest : public StoreTest {
 protected:
  static std::string IdOf(int number) { return FormatNarrow("<%d@x>", number); }
  static std::string KeyOf(int number) { return IdOf(number) + '\0'; }

  static void AddWithHead(int number, std::string_view head, std::u16string_view group = kGroup) {
    AsciiArticle article = ArticleWithId(IdOf(number));
    article.headers = head;
    article.articleNumber = static_cast<std::uint32_t>(number);
    ASSERT_TRUE(StoreArticle(article));
    if (!group.empty()) {
      ASSERT_TRUE(AddArticleToGroup(group, IdOf(number)));
    }
  }
  // Articles 1 to `count` on the chain, the store whole.
  void Fill(int count) {
    OpenStore();
    for (int i = 1; i <= count; ++i) Add(kGroup, IdOf(i));
    ASSERT_TRUE(StoreIsWhole());
  }
  static void LoseChainRecord(std::uint32_t number) {
    ASSERT_TRUE(DeleteValue(kNewsgroups, NumberKey(number)));
  }
  static void LoseArticle(int number) { ASSERT_TRUE(DeleteValue(kArticles, KeyOf(number))); }

  // The writer is gone, its mark is not; the next start.
  void KillAndOpen() {
    Kill();
    ASSERT_TRUE(OpenGDBMDatabases());
  }
  static void Kill() {
    for (const DatabaseIndex index : {kArticles, kNewsgroups, kPosts}) DatabaseFile(index).Close();
    ReleaseLostArticles();
  }
  static std::vector<std::string> Ids(int newest, int oldest) {
    std::vector<std::string> ids;
    for (int i = newest; i >= oldest; --i) ids.push_back(IdOf(i));
    return ids;
  }
  static std::vector<std::string> Lost() {
    std::vector<std::string> ids;
    for (const LostArticle& article : LostArticles()) ids.push_back(article.message_id);
    return ids;
  }
  // The chain can be walked in both directions, and the counts are those of the chain.
  void ExpectWhole(std::u16string_view group, std::size_t index) {
    std::uint32_t newer = 0;
    std::uint32_t count = 0;
    for (auto record = GroupChainFirst(group); record; record = GroupChainNext()) {
      EXPECT_EQ(record->previous, newer);
      EXPECT_TRUE(newer == 0 || record->number < newer);
      EXPECT_TRUE(ArticleExists(record->messageId)) << record->messageId;
      newer = record->number;
      ++count;
    }
    EXPECT_EQ(gReadInfo[index]->totalCount, count);
    EXPECT_FALSE(FileThere(u"Quillet databases in use"));
    EXPECT_FALSE(FileThere(u"Quillet newsgroups.gdb.copy"));
    EXPECT_THAT(BoxTexts(), IsEmpty());
  }
};

TEST_F(MakeWholeTest, ALostChainRecordComesBackFromTheCopy) {
  Fill(20);
  LoseChainRecord(10);
  LoseChainRecord(20);
  KillAndOpen();
  EXPECT_EQ(Chain(kGroup), Ids(20, 1));
  ExpectWhole(kGroup, 1);
  EXPECT_THAT(Lost(), IsEmpty());
  Add(kGroup, IdOf(21));  // its number is a new one
  EXPECT_EQ(Chain(kGroup), Ids(21, 1));
}

TEST_F(MakeWholeTest, ALostHeadAndALostCounterComeBack) {
  Fill(20);
  ASSERT_TRUE(DeleteValue(kNewsgroups, kGroupKey));
  ASSERT_TRUE(DeleteValue(kNewsgroups, kCounterKey));
  KillAndOpen();
  EXPECT_EQ(Chain(kGroup), Ids(20, 1));
  ExpectWhole(kGroup, 1);
  EXPECT_EQ(NextChainNumber(), 21U);
}

TEST_F(MakeWholeTest, WithoutACopyALostRecordLeavesItsArticlesInSight) {
  Fill(20);
  LoseChainRecord(10);
  Kill();
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", ""));
  ASSERT_TRUE(OpenGDBMDatabases());
  // The one gap tells the chain; in which place it was nobody knows.
  std::vector<std::string> expected = Ids(20, 11);
  expected.insert(expected.begin(), IdOf(10));
  for (const std::string& id : Ids(9, 1)) expected.push_back(id);
  EXPECT_EQ(Chain(kGroup), expected);
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, AnArticleOnNoChainIsPutOnThoseItNames) {
  Fill(5);
  AddWithHead(8, "Path: p\nNewsgroups: de.test,alt.test,no.such", u"");
  AddWithHead(7, "Newsgroups: alt.test", u"");
  KillAndOpen();
  EXPECT_THAT(Chain(kGroup), ElementsAre(IdOf(8), IdOf(7), IdOf(5), IdOf(4), IdOf(3), IdOf(2),
                                         IdOf(1)));  // by their numbers on the server
  EXPECT_THAT(Chain(u"de.test"), ElementsAre(IdOf(8)));
  ExpectWhole(kGroup, 1);
  ExpectWhole(u"de.test", 2);
  EXPECT_THAT(Lost(), IsEmpty());
}

// Without a line that names groups an import stores it on no chain: nothing was lost.
TEST_F(MakeWholeTest, AnArticleThatWasImportedIntoNoGroupStays) {
  Fill(5);
  const auto add = [](int number, std::string_view source, std::string_view head) {
    AsciiArticle article = ArticleWithId(IdOf(number));
    article.source = source;
    article.headers = head;
    ASSERT_TRUE(StoreArticle(article));
  };
  add(7, "<import>", "From a\r\nX: y");
  add(8, "news.example.org", "X: y");
  add(9, "<import>", "Newsgroups: no.such");
  KillAndOpen();
  EXPECT_TRUE(ArticleExists(IdOf(7)));
  EXPECT_FALSE(ArticleExists(IdOf(8)));
  EXPECT_FALSE(ArticleExists(IdOf(9)));
  EXPECT_THAT(Chain(kGroup), SizeIs(5));
  std::vector<std::string> lost;
  for (const LostArticle& article : LostArticles()) lost.push_back(article.message_id);
  EXPECT_THAT(lost, UnorderedElementsAre(IdOf(8), IdOf(9)));
}

TEST_F(MakeWholeTest, AnArticleWhoseRecordIsMissingOnOneChainIsPutOnThatOne) {
  Fill(5);
  AddWithHead(8, "Newsgroups: de.test,alt.test");
  AddWithHead(9, "Newsgroups: de.test,alt.test");
  LoseChainRecord(6);
  KillAndOpen();
  EXPECT_THAT(Chain(kGroup),
              ElementsAre(IdOf(8), IdOf(9), IdOf(5), IdOf(4), IdOf(3), IdOf(2), IdOf(1)));
  EXPECT_THAT(Chain(u"de.test"), IsEmpty());
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, ACompressedOneToo) {
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  Fill(5);
  AddWithHead(8, "Newsgroups: alt.test", u"");
  UnloadCompressionLibrary();
  KillAndOpen();
  EXPECT_THAT(Chain(kGroup), SizeIs(6));
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, OneWhoseTextsCannotBeReadStays) {
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  Fill(5);
  AddWithHead(8, "Newsgroups: alt.test", u"");
  UnloadCompressionLibrary();
  fake.libraries.hide_library(u"bzip2ce.dll");
  KillAndOpen();
  EXPECT_THAT(Chain(kGroup), SizeIs(5));
  EXPECT_TRUE(ArticleExists(IdOf(8)));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(MakeWholeTest, AnArticleThatNamesNoGroupIsTakenOutAndAskedForAgain) {
  Fill(5);
  AddWithHead(8, "", u"");
  KillAndOpen();
  EXPECT_FALSE(ArticleExists(IdOf(8)));
  EXPECT_THAT(Lost(), ElementsAre(IdOf(8)));
  EXPECT_THAT(LostArticles()[0].groups, IsEmpty());
  EXPECT_EQ(Chain(kGroup), Ids(5, 1));
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, ALostArticleIsAskedForAgain) {
  Fill(20);
  ASSERT_TRUE(AddArticleToGroup(u"de.test", IdOf(7)));
  LoseArticle(7);
  KillAndOpen();
  std::vector<std::string> expected = Ids(20, 8);
  for (const std::string& id : Ids(6, 1)) expected.push_back(id);
  EXPECT_EQ(Chain(kGroup), expected);
  EXPECT_THAT(Chain(u"de.test"), IsEmpty());
  ASSERT_THAT(Lost(), ElementsAre(IdOf(7)));
  EXPECT_THAT(LostArticles()[0].groups, ElementsAre("alt.test", "de.test"));
  ExpectWhole(kGroup, 1);
  ExpectWhole(u"de.test", 2);
}

TEST_F(MakeWholeTest, WhatWasDeletedStaysDeleted) {
  Fill(20);
  // After the copy: the copy has a chain record, the file has none, the article has gone.
  for (const std::uint32_t number : {3U, 4U}) {
    ASSERT_TRUE(DeleteGroupArticle(1, *ReadChainRecord(number), false));
  }
  KillAndOpen();
  EXPECT_THAT(Chain(kGroup), SizeIs(18));
  EXPECT_THAT(Lost(), IsEmpty());
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, ACrossPostThatWasDeletedInOneGroupIsNotLost) {
  Fill(5);
  ASSERT_TRUE(AddArticleToGroup(u"de.test", IdOf(3)));
  ASSERT_TRUE(AddArticleToGroup(u"de.test", IdOf(4)));
  ASSERT_TRUE(DeleteGroupArticle(1, *ReadChainRecord(3), false));
  CloseDatabases();  // it is remembered for as long as it takes
  EXPECT_EQ(fake.files.ReadFile(gDatabaseFolder + u"\\Quillet deleted cross-posts", 100),
            IdOf(3) + "\n");
  ASSERT_TRUE(OpenGDBMDatabases());
  LoseArticle(4);
  KillAndOpen();
  EXPECT_THAT(Chain(u"de.test"), IsEmpty());
  EXPECT_THAT(Lost(), ElementsAre(IdOf(4)));
  ExpectWhole(kGroup, 1);
  CloseDatabases();
  EXPECT_FALSE(FileThere(u"Quillet deleted cross-posts"));
}

TEST_F(MakeWholeTest, ADeletedCrossPostThatCameAgainMayBeLostLater) {
  Fill(5);
  ASSERT_TRUE(AddArticleToGroup(u"de.test", IdOf(3)));
  ASSERT_TRUE(DeleteGroupArticle(1, *ReadChainRecord(3), false));
  Add(u"de.test", IdOf(3));
  ASSERT_TRUE(StoreIsWhole());
  LoseArticle(3);
  KillAndOpen();
  EXPECT_THAT(Lost(), ElementsAre(IdOf(3)));
}

TEST_F(MakeWholeTest, ANamedTwiceArticleIsLinkedOnce) {
  Fill(3);
  ASSERT_TRUE(AddArticleToGroup(kGroup, IdOf(1)));
  KillAndOpen();
  EXPECT_THAT(Chain(kGroup), ElementsAre(IdOf(1), IdOf(3), IdOf(2)));
  EXPECT_FALSE(ValueExists(kNewsgroups, NumberKey(1)));
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, ACircleIsCut) {
  Fill(20);
  GroupRecord record = *ParseGroupRecord(*FetchValue(kNewsgroups, NumberKey(5)));
  record.next = 15;
  ASSERT_TRUE(
      StoreValue(kNewsgroups, NumberKey(5), SerializeGroupRecord(record), StoreMode::kReplace));
  KillAndOpen();
  EXPECT_EQ(Chain(kGroup), Ids(20, 1));
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, ChainsOfGroupsThatAreNotOnTheListArePutInOrderToo) {
  Fill(3);
  AddWithHead(4, "", u"old.group");
  AddWithHead(5, "", u"old.group");
  ASSERT_TRUE(StoreIsWhole());
  LoseChainRecord(5);
  LoseArticle(4);
  KillAndOpen();
  EXPECT_THAT(Chain(u"old.group"), ElementsAre(IdOf(5)));
  EXPECT_THAT(Lost(), IsEmpty());  // nobody reads that group
}

TEST_F(MakeWholeTest, ReadArticlesAreCountedAnew) {
  Fill(10);
  SetArticleReadById(IdOf(3), nullptr, true, 1);
  ASSERT_TRUE(DeleteValue(kArticles, kGroupKey));
  LoseArticle(4);
  KillAndOpen();
  EXPECT_EQ(gReadInfo[1]->readCount, 1U);
  EXPECT_EQ(gReadInfo[1]->totalCount, 9U);
  EXPECT_EQ(FetchValue(kArticles, kGroupKey), Bytes("01000000 01000000 09000000"));
}

TEST_F(MakeWholeTest, ASoundStoreIsLeftAsItIs) {
  Fill(20);
  Kill();
  const auto before = fake.files.ReadFile(DatabasePath(kNewsgroups), 1 << 24);
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(Chain(kGroup), Ids(20, 1));
  EXPECT_FALSE(FileThere(u"Quillet databases in use"));
  CloseDatabases();
  EXPECT_EQ(fake.files.ReadFile(DatabasePath(kNewsgroups), 1 << 24)->size(), before->size());
}

TEST_F(MakeWholeTest, WithoutTheListNothingIsTakenAway) {
  Fill(20);
  LoseArticle(7);
  AddWithHead(30, "", u"");
  Kill();
  fake.files.FailNth(port::FileCall::kWriteFile, 1);
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_THAT(Chain(kGroup), SizeIs(19));  // what is there can be read
  EXPECT_TRUE(ValueExists(kNewsgroups, NumberKey(7)));
  EXPECT_TRUE(ArticleExists(IdOf(30)));
  EXPECT_TRUE(FileThere(u"Quillet databases in use"));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"The Quillet CE databases could not be repaired completely. Some "
                          u"articles may not be shown until there is more free space and Quillet "
                          u"CE is started again."));
  fake.display.ForgetBoxes();
  CloseDatabases();
  EXPECT_TRUE(FileThere(u"Quillet databases in use"));  // the next start does the rest
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_THAT(Lost(), ElementsAre(IdOf(7), IdOf(30)));
  EXPECT_FALSE(ArticleExists(IdOf(30)));
  ExpectWhole(kGroup, 1);
}

TEST_F(MakeWholeTest, AChainsFileThatHadToBeMadeAnewCostsNoArticle) {
  Fill(5);
  AddWithHead(6, "Newsgroups: alt.test");
  Kill();
  fake.files.Delete(gDatabaseFolder + u"\\Quillet newsgroups.gdb.copy");
  ASSERT_TRUE(fake.files.WriteFile(DatabasePath(kNewsgroups), "garbage"));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_THAT(Chain(kGroup), ElementsAre(IdOf(6)));
  for (int i = 1; i <= 5; ++i) EXPECT_TRUE(ArticleExists(IdOf(i)));
  EXPECT_THAT(Lost(), IsEmpty());
}

TEST_F(MakeWholeTest, WithTheCopyItComesBackWhole) {
  Fill(50);
  Kill();
  ASSERT_TRUE(fake.files.WriteFile(DatabasePath(kNewsgroups), "garbage"));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(Chain(kGroup), Ids(50, 1));
}

TEST_F(MakeWholeTest, ADeletionOfAllThatWasKilledIsFinished) {
  Fill(5);
  ASSERT_TRUE(AddLostArticles({{IdOf(9), {}}}));
  CloseDatabases();
  ASSERT_TRUE(fake.files.Delete(DatabasePath(kArticles)));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(FirstKey(kNewsgroups), std::nullopt);
  EXPECT_THAT(Lost(), IsEmpty());
  EXPECT_EQ(gReadInfo[1]->totalCount, 0U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- calls that fail on the way ---

class FaultsTest : public MakeWholeTest {
 protected:
  FaultsTest() {
    // What cannot be opened for a failed call is as the user would find it on a failing disk.
    fake.display.Allow(u"The Quillet CE databases", port::kIdOk);
    fake.display.Allow(u"Quillet CE may not write", port::kIdOk);
    fake.display.Allow(u"There is not enough free space", port::kIdOk);
    fake.display.Allow(u"(unknown error)", port::kIdOk);
    fake.display.Allow(u"An unexpected error", port::kIdOk);
    fake.display.Allow(u"Error inserting", port::kIdOk);
    LoadDatabaseLibrary();
    bound = gGdbm;
  }
  ~FaultsTest() override { gGdbm = bound; }

  // A chain record, an article and a head are missing, one article is on no chain.
  void Damage() {
    OpenStore();
    for (int i = 1; i <= 12; ++i) Add(kGroup, IdOf(i));
    ASSERT_TRUE(StoreIsWhole());
    AddWithHead(13, "Newsgroups: de.test", u"");
    LoseChainRecord(5);
    LoseArticle(7);
    ASSERT_TRUE(DeleteValue(kNewsgroups, kGroupKey));
    Kill();
  }
  // Whatever the opening before could not do.
  void ExpectMendedByTheNextStart(int n) {
    CloseDatabases();
    gGdbm = bound;
    fake.files.FailNth(0);
    ASSERT_TRUE(OpenGDBMDatabases()) << n;
    std::vector<std::string> expected = Ids(12, 8);
    for (const std::string& id : Ids(6, 1)) expected.push_back(id);
    EXPECT_EQ(Chain(kGroup), expected) << n;
    EXPECT_THAT(Chain(u"de.test"), ElementsAre(IdOf(13))) << n;
    EXPECT_THAT(Lost(), ElementsAre(IdOf(7))) << n;
    CloseDatabases();
    for (const std::u16string& name : fake.files.FileNames(gDatabaseFolder)) {
      EXPECT_TRUE(fake.files.Delete(gDatabaseFolder + u"\\" + name));
    }
  }

  GdbmLibrary bound;
};

TEST_F(FaultsTest, WhicheverCallOfTheFilesFailsTheNextStartMendsTheRest) {
  int n = 0;
  int calls = 0;
  do {
    Damage();
    const int before = fake.files.calls();
    fake.files.FailNth(++n);
    OpenGDBMDatabases();
    calls = fake.files.calls() - before;
    ExpectMendedByTheNextStart(n);
  } while (n < calls && !HasFailure());
  EXPECT_GT(n, 20);
}

decltype(&::gdbm_store) gRealStore = nullptr;
int gStoresLeft = 0;
int gStores = 0;
int FailingStore(GDBM_FILE file, datum key, datum value, int flag) {
  ++gStores;
  if (--gStoresLeft == 0) {
    errno = EIO;
    return -1;
  }
  return gRealStore(file, key, value, flag);
}

TEST_F(FaultsTest, WhicheverStoreFailsTheNextStartMendsTheRest) {
  int n = 0;
  do {
    Damage();
    gStores = 0;
    gStoresLeft = ++n;
    gRealStore = bound.store;
    gGdbm.store = FailingStore;
    OpenGDBMDatabases();
    ExpectMendedByTheNextStart(n);
  } while (n < gStores && !HasFailure());
  EXPECT_GT(n, 4);
}

// --- whole points ---

class WholePointsTest : public MakeWholeTest {};

TEST_F(WholePointsTest, TheMarkNamesTheCopyAndBothGoWithTheFiles) {
  OpenStore();
  CloseDatabases();
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_FALSE(FileThere(u"Quillet databases in use"));
  EXPECT_FALSE(FileThere(u"Quillet newsgroups.gdb.copy"));
  Add(kGroup, IdOf(1));
  const auto mark = fake.files.ReadFile(gDatabaseFolder + u"\\Quillet databases in use", 1000);
  EXPECT_EQ(mark, "Quillet newsgroups.gdb.copy\n");
  EXPECT_TRUE(FileThere(u"Quillet newsgroups.gdb.copy"));
  CloseDatabases();
  EXPECT_FALSE(FileThere(u"Quillet databases in use"));
  EXPECT_FALSE(FileThere(u"Quillet newsgroups.gdb.copy"));
}

TEST_F(WholePointsTest, CostsNothingWhenNothingWasWritten) {
  Fill(3);
  const int calls = fake.files.calls();
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(StoreIsWhole());
  EXPECT_EQ(fake.files.calls(), calls);
  // A flag of an article is not in the file that is copied.
  SetArticleReadById(IdOf(1), nullptr, true, 1);
  EXPECT_TRUE(StoreIsWhole());
  EXPECT_EQ(fake.files.calls(port::FileCall::kCopy), 2);
}

TEST_F(WholePointsTest, ACopyThatFailsLeavesTheLastOne) {
  Fill(3);
  Add(kGroup, IdOf(4));
  fake.files.FailNth(port::FileCall::kCopy, 1);
  EXPECT_TRUE(StoreIsWhole());
  LoseChainRecord(2);
  LoseChainRecord(3);
  KillAndOpen();
  EXPECT_EQ(Chain(kGroup), Ids(4, 1));
  ExpectWhole(kGroup, 1);
}

TEST_F(WholePointsTest, WithoutRoomNoCopyIsMade) {
  Fill(3);
  Add(kGroup, IdOf(4));
  fake.files.SetFreeSpace({1'000'000, 1'000'000'000});
  const int copies = fake.files.calls(port::FileCall::kCopy);
  EXPECT_TRUE(StoreIsWhole());
  EXPECT_EQ(fake.files.calls(port::FileCall::kCopy), copies);
}

TEST_F(WholePointsTest, ACopyThatTheMarkDoesNotNameIsNotLookedAt) {
  Fill(3);
  CloseDatabases();
  ASSERT_TRUE(OpenGDBMDatabases());
  ASSERT_TRUE(DeleteGroupArticle(1, *ReadChainRecord(3), false));
  // Of another time, when article 3 was there; it was stored again since, on no chain.
  AddWithHead(3, "", u"");
  Kill();
  ASSERT_TRUE(fake.files.Copy(DatabasePath(kNewsgroups),
                              gDatabaseFolder + u"\\Quillet newsgroups.gdb.copy"));
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", "other\n"));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(Chain(kGroup), Ids(2, 1));
  EXPECT_FALSE(FileThere(u"Quillet newsgroups.gdb.copy"));
}

class PostsCopyTest : public MakeWholeTest {
 protected:
  static void Queue(std::string_view id) {
    AsciiArticle post = ArticleWithId(id);
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  static std::vector<std::string> Posts() {
    std::vector<std::string> ids;
    for (auto key = NextPendingPostKey({}); key; key = NextPendingPostKey(key)) {
      ids.push_back(*key);
    }
    std::ranges::sort(ids);
    return ids;
  }
};

TEST_F(PostsCopyTest, ALostPostComesBackAndASentOneDoesNot) {
  OpenStore();
  for (const char* id : {"<1@p>", "<2@p>", "<3@p>"}) Queue(id);
  DeletePendingPost("<2@p>");
  ASSERT_TRUE(DeleteValue(kPosts, Raw("<3@p>\0")));
  KillAndOpen();
  EXPECT_THAT(Posts(), ElementsAre("<1@p>", "<3@p>"));
  EXPECT_EQ(gPendingPostCount, 2U);
  EXPECT_EQ(FetchPendingPost("<3@p>")->body, "text\r\n");
}

TEST_F(PostsCopyTest, ACopyThatCannotBeRenewedGoes) {
  OpenStore();
  for (const char* id : {"<1@p>", "<2@p>"}) Queue(id);
  fake.files.FailNth(port::FileCall::kCopy, 1);
  DeletePendingPost("<2@p>");
  EXPECT_FALSE(FileThere(u"Quillet pending posts.gdb.copy"));
  KillAndOpen();
  EXPECT_THAT(Posts(), ElementsAre("<1@p>"));
}

TEST_F(PostsCopyTest, AQueueThatWasEmptiedStaysEmpty) {
  OpenStore();
  Queue("<1@p>");
  ASSERT_TRUE(ResetPendingPostsDatabase());
  KillAndOpen();
  EXPECT_THAT(Posts(), IsEmpty());
}

}  // namespace
}  // namespace quillet
