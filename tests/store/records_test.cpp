// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/records.h"
#include "base/window_procedures.h"

#include <gmock/gmock.h>

#include "store/pending_posts.h"
#include "store/refusals.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

AsciiArticle Sample() {
  AsciiArticle article;
  article.messageId = "<2@x>";
  article.headers = "Lines: 1";
  article.body = "Hi.\r\n";
  article.read = 1;
  article.parentId = "<1@x>";
  article.subject = "Re: a";
  article.from = "b@x";
  article.reserved1 = 1;
  article.articleNumber = 258;
  article.source = "news";
  article.date = "1 Jan";
  article.replyTo = "b@x";
  return article;
}

// docs/store-format.md shows the same bytes.
const std::string kSamplePlain = Bytes(
    "01 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00 02 01 00 00"
    "3c 32 40 78 3e 00 4c 69 6e 65 73 3a 20 31 00 48 69 2e 0d 0a 00"
    "3c 31 40 78 3e 00 52 65 3a 20 61 00 62 40 78 00 6e 65 77 73 00"
    "31 20 4a 61 6e 00 62 40 78 00 00 00 00 00");

void ExpectSampleTexts(const AsciiArticle& article) {
  EXPECT_EQ(article.messageId, "<2@x>");
  EXPECT_EQ(article.headers, "Lines: 1");
  EXPECT_EQ(article.body, "Hi.\r\n");
  EXPECT_EQ(article.read, 1U);
  EXPECT_EQ(article.parentId, "<1@x>");
  EXPECT_EQ(article.subject, "Re: a");
  EXPECT_EQ(article.from, "b@x");
  EXPECT_EQ(article.reserved1, 1U);
  EXPECT_EQ(article.reserved2, 0U);
  EXPECT_EQ(article.articleNumber, 258U);
  EXPECT_EQ(article.source, "news");
  EXPECT_EQ(article.date, "1 Jan");
  EXPECT_EQ(article.replyTo, "b@x");
}

class RecordsTest : public StoreTest {};

TEST_F(RecordsTest, PlainArticleIsStoredToTheByte) {
  AsciiArticle article = Sample();
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kPlain), kSamplePlain);
  AsciiArticle read;
  ASSERT_TRUE(ParseArticle(kSamplePlain, read, false));
  ExpectSampleTexts(read);
  EXPECT_EQ(read.compressionSavings, 0);
  EXPECT_FALSE(read.displayText);
}

TEST_F(RecordsTest, MissingStringsAreOwnedEmptyOnesAndMake33Bytes) {
  AsciiArticle article;
  const auto value = SerializeArticle(article, SerializeMode::kPlain);
  EXPECT_EQ(value, Bytes("01 00 00 00") + std::string(29, '\0'));
  EXPECT_EQ(article.messageId, "");
  EXPECT_EQ(article.replyTo, "");
}

TEST_F(RecordsTest, TextAfterAnEmbeddedNulIsNotStored) {
  AsciiArticle article;
  article.messageId = "<n@x>";
  article.body = Raw("seen\0unseen");
  const auto value = SerializeArticle(article, SerializeMode::kPlain);
  ASSERT_TRUE(value);
  EXPECT_EQ(value->size(), 33U + 5 + 4);
  AsciiArticle read;
  ASSERT_TRUE(ParseArticle(*value, read, false));
  EXPECT_EQ(read.body, "seen");
  EXPECT_EQ(read.parentId, "");
}

TEST_F(RecordsTest, SlackBytesAreIgnored) {
  std::string value = kSamplePlain;
  value.replace(value.size() - 4, 4, "\xDE\xAD\xBE\xEF");
  AsciiArticle read;
  ASSERT_TRUE(ParseArticle(value, read, false));
  ExpectSampleTexts(read);
}

TEST_F(RecordsTest, NamesOnlyTakesFiveStringsAndTheWords) {
  AsciiArticle read;
  ASSERT_TRUE(ParseArticle(kSamplePlain, read, true));
  EXPECT_FALSE(read.messageId || read.headers || read.body || read.replyTo);
  EXPECT_EQ(read.date, "1 Jan");
  EXPECT_EQ(read.parentId, "<1@x>");
  EXPECT_EQ(read.subject, "Re: a");
  EXPECT_EQ(read.from, "b@x");
  EXPECT_EQ(read.source, "news");
  EXPECT_EQ(read.articleNumber, 258U);
  ASSERT_TRUE(ParseArticle(kSamplePlain, read, false));
  EXPECT_EQ(read.body, "Hi.\r\n");
}

TEST_F(RecordsTest, OtherFormatsAreRefused) {
  for (const char format : {'\0', '\3', '\x7F'}) {
    std::string value = kSamplePlain;
    value[0] = format;
    AsciiArticle read;
    EXPECT_FALSE(ParseArticle(value, read, false)) << int{format};
  }
}

TEST_F(RecordsTest, EveryTruncationIsRefused) {
  for (std::size_t length = 0; length < kSamplePlain.size(); ++length) {
    AsciiArticle read;
    const std::string cut = kSamplePlain.substr(0, length);
    EXPECT_FALSE(ParseArticle(std::string_view(cut.data(), cut.size()), read, false)) << length;
  }
}

TEST_F(RecordsTest, TheWordsAreTakenEvenWhenTheStringsAreBroken) {
  AsciiArticle read;
  EXPECT_FALSE(ParseArticle(kSamplePlain.substr(0, 24), read, false));
  EXPECT_EQ(read.articleNumber, 258U);
  EXPECT_EQ(read.read, 1U);
}

TEST_F(RecordsTest, ValuesShorterThan24BytesAreNoArticles) {
  OpenStore();
  const std::string cache = Bytes("01 00 00 00 07 00 00 00 09 00 00 00");
  ASSERT_TRUE(StoreValue(kArticles, Raw("<short>\0"), cache, StoreMode::kReplace));
  EXPECT_TRUE(ArticleExists("<short>"));
  EXPECT_FALSE(IsArticleRead("<short>"));
  EXPECT_EQ(FetchArticle("<short>"), nullptr);
}

TEST_F(RecordsTest, RecordsBeyond64MegabytesAreNeitherWrittenNorRead) {
  AsciiArticle article;
  article.body = std::string((std::size_t{64} << 20) - 60, 'b');
  EXPECT_TRUE(SerializeArticle(article, SerializeMode::kPlain));
  article.body = std::string(std::size_t{64} << 20, 'b');
  EXPECT_FALSE(SerializeArticle(article, SerializeMode::kPlain));
  std::string value = kSamplePlain;
  value.resize((std::size_t{64} << 20) + 1);
  EXPECT_FALSE(ParseArticle(value, article, false));
}

TEST_F(RecordsTest, CompressedArticleHasItsLengthAndOneStream) {
  LoadCompressionLibrary();
  ASSERT_TRUE(gCompressionAvailable);
  AsciiArticle article = Sample();
  const auto value = SerializeArticle(article, SerializeMode::kCompress);
  ASSERT_TRUE(value);
  // docs/store-format.md shows the same bytes.
  EXPECT_EQ(*value, Bytes("02 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00 02 01 00 00"
                          "34 00 00 00"
                          "42 5a 68 31 31 41 59 26 53 59 51 ea 12 bf 00 00 0b 5f 80 40"
                          "12 40 01 30 15 40 54 10 00 32 21 08 c0 20 00 50 a0 03 11 a6"
                          "9a 34 12 a9 e9 34 64 f5 3d 13 4d 36 53 52 8a 76 3e 67 55 6a"
                          "23 b3 5c b3 ee 28 e6 16 75 41 3e 90 f8 34 f9 f3 98 b9 01 f8"
                          "bb 92 29 c2 84 82 8f 50 95 f8"
                          "00 00 00 00"));
  AsciiArticle read;
  ASSERT_TRUE(ParseArticle(*value, read, false));
  ExpectSampleTexts(read);
}

TEST_F(RecordsTest, SavingsCountTheSlackAndMayBeNegative) {
  LoadCompressionLibrary();
  AsciiArticle article = Sample();
  const auto tiny = SerializeArticle(article, SerializeMode::kCompress);
  ASSERT_TRUE(tiny);
  EXPECT_GT(tiny->size(), kSamplePlain.size());
  AsciiArticle read;
  ASSERT_TRUE(ParseArticle(*tiny, read, false));
  const auto stored = static_cast<float>(tiny->size() - 24);
  EXPECT_DOUBLE_EQ(read.compressionSavings, 1.0 - static_cast<double>(stored / 52.0F));
  EXPECT_LT(read.compressionSavings, 0);

  article.body = std::string(4000, 'x');
  const auto large = SerializeArticle(article, SerializeMode::kCompress);
  ASSERT_TRUE(large && ParseArticle(*large, read, false));
  EXPECT_GT(read.compressionSavings, 0.9);
}

TEST_F(RecordsTest, ThePreferenceDecidesInTheDefaultMode) {
  LoadCompressionLibrary();
  AsciiArticle article = Sample();
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kByPreference)->front(), 1);
  gPrefs->usecompression = 1;
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kByPreference)->front(), 2);
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kPlain)->front(), 1);
  gPrefs->usecompression = 0;
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kCompress)->front(), 2);
}

TEST_F(RecordsTest, WithoutTheLibraryArticlesAreStoredPlainAndNothingIsSaid) {
  OpenStore();
  gPrefs->usecompression = 1;
  AsciiArticle article = Sample();
  ASSERT_TRUE(StoreArticle(article));
  EXPECT_EQ(FetchValue(kArticles, Raw("<2@x>\0")), kSamplePlain);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

std::uint32_t gCloseRequests = 0;
void CountCloseRequests(const port::Message& message) {
  if (message.kind == port::MessageKind::kClose) ++gCloseRequests;
}

TEST_F(RecordsTest, ReadingACompressedArticleWithoutTheLibraryQuits) {
  OpenStore();
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  AsciiArticle article = Sample();
  ASSERT_TRUE(StoreArticle(article));
  UnloadCompressionLibrary();
  gCloseRequests = 0;
  CreateWindow();
  SetProcedure(gMainWindow, CountCloseRequests);
  EXPECT_EQ(FetchArticle("<2@x>"), nullptr);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"You have requested that an article be opened which contains compressed "
                          u"data, but the BZIP2 DLL is not available. Quillet CE will now quit."));
  EXPECT_EQ(gCloseRequests, 1U);
  EXPECT_TRUE(IsArticleRead("<2@x>"));  // the flag needs no library
}

class DamagedStream : public RecordsTest {
 protected:
  DamagedStream() {
    LoadCompressionLibrary();
    AsciiArticle article = Sample();
    value = *SerializeArticle(article, SerializeMode::kCompress);
  }
  bool Parses() {
    AsciiArticle read;
    return ParseArticle(value, read, false);
  }
  std::string value;
};

TEST_F(DamagedStream, IsReportedAndRefused) {
  value[40] = static_cast<char>(value[40] ^ 0x55);
  EXPECT_FALSE(Parses());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Decompress returned an error"));
}

TEST_F(DamagedStream, OfAnotherLengthThanStatedIsRefused) {
  value[20] = 0x35;
  EXPECT_FALSE(Parses());
  value[20] = 0x33;
  EXPECT_FALSE(Parses());
}

TEST_F(DamagedStream, LengthsBeyondTheBoundsAreReportedAndRefusedUnread) {
  for (const char* length : {"01 00 00 04", "ff ff ff ff", "08 00 00 00", "00 00 00 00"}) {
    fake.display.ForgetBoxes();
    value.replace(20, 4, Bytes(length));
    EXPECT_FALSE(Parses()) << length;
    EXPECT_THAT(BoxTexts(), ElementsAre(u"Decompress returned an error")) << length;
  }
}

TEST_F(DamagedStream, ARecordWithoutAStreamIsReported) {
  value.resize(27);
  EXPECT_FALSE(Parses());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Decompress returned an error"));
}

TEST_F(DamagedStream, EveryTruncationIsRefused) {
  const std::string whole = value;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    value = whole.substr(0, length);
    EXPECT_FALSE(Parses()) << length;
  }
}

TEST_F(DamagedStream, TooFewStringsInTheBlockAreRefused) {
  const std::string block(3, '\0');
  value.replace(20, 4, Bytes("14 00 00 00"));
  value.replace(24, std::string::npos,
                *CompressBlock(block + std::string(17, 'x')) + std::string(4, '\0'));
  EXPECT_FALSE(Parses());
}

// --- storing articles ---

TEST_F(RecordsTest, ArticlesAreStoredFetchedAndDeletedByMessageId) {
  OpenStore();
  AsciiArticle article = Sample();
  EXPECT_FALSE(ArticleExists("<2@x>"));
  EXPECT_EQ(FetchArticle("<2@x>"), nullptr);
  ASSERT_TRUE(StoreArticle(article));
  EXPECT_EQ(FetchValue(kArticles, Raw("<2@x>\0")), kSamplePlain);
  EXPECT_TRUE(ArticleExists("<2@x>"));
  const auto fetched = FetchArticle("<2@x>");
  ASSERT_NE(fetched, nullptr);
  ExpectSampleTexts(*fetched);
  article.subject = "new";
  ASSERT_TRUE(StoreArticle(article));
  EXPECT_EQ(FetchArticle("<2@x>")->subject, "new");
  DeleteArticle("<2@x>");
  EXPECT_FALSE(ArticleExists("<2@x>"));
  DeleteArticle("<2@x>");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

void ExpectSampleTexts(const StoredTexts& texts) {
  EXPECT_EQ(texts.Text(&AsciiArticle::messageId), "<2@x>");
  EXPECT_EQ(texts.Text(&AsciiArticle::headers), "Lines: 1");
  EXPECT_EQ(texts.Text(&AsciiArticle::body), "Hi.\r\n");
  EXPECT_EQ(texts.Text(&AsciiArticle::parentId), "<1@x>");
  EXPECT_EQ(texts.Text(&AsciiArticle::subject), "Re: a");
  EXPECT_EQ(texts.Text(&AsciiArticle::from), "b@x");
  EXPECT_EQ(texts.Text(&AsciiArticle::source), "news");
  EXPECT_EQ(texts.Text(&AsciiArticle::date), "1 Jan");
  EXPECT_EQ(texts.Text(&AsciiArticle::replyTo), "b@x");
  EXPECT_EQ(texts.Text(&AsciiArticle::displayText), "");
  EXPECT_EQ(texts.All(), Raw("<2@x>\0Lines: 1\0Hi.\r\n\0<1@x>\0Re: a\0b@x\0news\0"
                             "1 Jan\0b@x\0"));
}

TEST_F(RecordsTest, TextsAreReadWhereTheyLie) {
  OpenStore();
  LoadCompressionLibrary();
  StoredTexts texts;
  EXPECT_FALSE(texts.Fetch("<2@x>"));
  EXPECT_EQ(texts.All(), "");
  for (const std::uint32_t compressed : {0U, 1U, 0U}) {
    gPrefs->usecompression = compressed;
    AsciiArticle article = Sample();
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(texts.Fetch("<2@x>"));
    ExpectSampleTexts(texts);
  }
  EXPECT_FALSE(texts.Fetch("<3@x>"));
  EXPECT_EQ(texts.Text(&AsciiArticle::body), "");
}

TEST_F(RecordsTest, TextsOfDamagedRecordsAreRefusedAsTheArticlesAre) {
  OpenStore();
  LoadCompressionLibrary();
  StoredTexts texts;
  for (const SerializeMode mode : {SerializeMode::kPlain, SerializeMode::kCompress}) {
    AsciiArticle article = Sample();
    const std::string value = *SerializeArticle(article, mode);
    for (std::size_t length = 0; length <= value.size(); ++length) {
      ASSERT_TRUE(
          StoreValue(kArticles, Raw("<2@x>\0"), value.substr(0, length), StoreMode::kReplace));
      const bool readable = FetchArticle("<2@x>") != nullptr;
      EXPECT_EQ(texts.Fetch("<2@x>"), readable) << length;
      EXPECT_EQ(texts.All().empty(), !readable) << length;
    }
  }
}

TEST_F(RecordsTest, ReadIsAnyNumberButZero) {
  OpenStore();
  AsciiArticle article = Sample();
  for (const std::uint32_t read : {0U, 1U, 0x80000000U}) {
    article.read = read;
    ASSERT_TRUE(StoreArticle(article));
    EXPECT_EQ(IsArticleRead("<2@x>"), read != 0);
  }
  EXPECT_FALSE(IsArticleRead("<absent@x>"));
}

TEST_F(RecordsTest, AFailedStoreIsTold) {
  AsciiArticle article = Sample();
  EXPECT_FALSE(StoreArticle(article));  // nothing is open
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  fake.display.ForgetBoxes();
  OpenStore();
  gDatabaseErrorFlag = true;  // a store that succeeds counts as failed then
  EXPECT_FALSE(StoreArticle(article));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_TRUE(ArticleExists("<2@x>"));
}

// --- pending posts ---

class PendingPostsTest : public StoreTest {
 protected:
  PendingPostsTest() {
    OpenStore();
    CreateWindow();
    PostedToMainWindow();
  }
  static AsciiArticle Post(std::string_view id, std::uint32_t in_progress = 0) {
    AsciiArticle post = ArticleWithId(id);
    post.read = in_progress;
    return post;
  }
  void Queue(std::string_view id, std::uint32_t in_progress = 0) {
    AsciiArticle post = Post(id, in_progress);
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
};

TEST_F(PendingPostsTest, ANewPostRaisesTheCountAndIsTold) {
  Queue("<p1@x>");
  EXPECT_EQ(gPendingPostCount, 1U);
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserPostQueued));
  EXPECT_EQ(FetchPendingPost("<p1@x>")->body, "text\r\n");
  EXPECT_EQ(FetchPendingPost("<p2@x>"), nullptr);
}

TEST_F(PendingPostsTest, APostIsStoredToTheByte) {
  Queue("<p@x>", 1);
  // docs/store-format.md shows the same bytes.
  EXPECT_EQ(FetchValue(kPosts, Bytes("3c 70 40 78 3e 00")),
            Bytes("01 00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                  "3c 70 40 78 3e 00 00 74 65 78 74 0d 0a 00 00 73 00 00 00 00 00"
                  "00 00 00 00"));
}

TEST_F(PendingPostsTest, TheSamePostAgainIsReplacedAndNotCounted) {
  Queue("<p1@x>");
  PostedToMainWindow();
  AsciiArticle post = Post("<p1@x>");
  post.body = "edited\r\n";
  ASSERT_TRUE(StoreAsciiGDBMPost(post));
  EXPECT_EQ(gPendingPostCount, 1U);
  EXPECT_EQ(FetchPendingPost("<p1@x>")->body, "edited\r\n");
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
}

TEST_F(PendingPostsTest, AFailedStoreIsReported) {
  gDatabaseErrorFlag = true;
  AsciiArticle post = Post("<p1@x>");
  EXPECT_FALSE(StoreAsciiGDBMPost(post));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (Error inserting GDBM post.) occurred "
                                      u"in StoreAsciiGDBMPost."));
  EXPECT_EQ(gPendingPostCount, 0U);
}

TEST_F(PendingPostsTest, DeletingLowersTheCountOnce) {
  Queue("<p1@x>");
  Queue("<p2@x>");
  PostedToMainWindow();
  DeletePendingPost("<p1@x>");
  EXPECT_EQ(gPendingPostCount, 1U);
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  DeletePendingPost("<p1@x>");
  EXPECT_EQ(gPendingPostCount, 1U);
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
}

TEST_F(PendingPostsTest, KeysAreWalkedWithoutTheirNul) {
  EXPECT_EQ(NextPendingPostKey(std::nullopt), std::nullopt);
  Queue("<p1@x>");
  Queue("<p2@x>");
  Queue("<p3@x>");
  std::vector<std::string> keys;
  for (auto key = NextPendingPostKey({}); key; key = NextPendingPostKey(key)) keys.push_back(*key);
  EXPECT_THAT(keys, ::testing::UnorderedElementsAre("<p1@x>", "<p2@x>", "<p3@x>"));
  EXPECT_EQ(CountPendingPosts(), 3U);
}

TEST_F(PendingPostsTest, OnlyTheFirstPostIsLookedAt) {
  EXPECT_EQ(FirstWaitingPendingPost(), nullptr);
  Queue("<p1@x>");
  Queue("<p2@x>");
  const std::string first = *NextPendingPostKey({});
  EXPECT_EQ(FirstWaitingPendingPost()->messageId, first);
  Queue(first, 1);
  EXPECT_EQ(FirstWaitingPendingPost(), nullptr);
}

TEST_F(PendingPostsTest, MarksOfExactlyOneAreCleared) {
  Queue("<p1@x>", 1);
  Queue("<p2@x>", 0);
  Queue("<p3@x>", 2);
  Queue("<p4@x>", 1);
  ASSERT_TRUE(
      StoreValue(kPosts, Raw("<odd>\0"), Bytes("03 00 00 00 01 00 00 00"), StoreMode::kInsert));
  ASSERT_TRUE(
      StoreValue(kPosts, Raw("<odd2>\0"), Bytes("01 00 00 00 01 00 00 00"), StoreMode::kInsert));
  ClearPendingFlags();
  EXPECT_EQ(FetchPendingPost("<p1@x>")->read, 0U);
  EXPECT_EQ(FetchPendingPost("<p2@x>")->read, 0U);
  EXPECT_EQ(FetchPendingPost("<p3@x>")->read, 2U);
  EXPECT_EQ(FetchPendingPost("<p4@x>")->read, 0U);
  EXPECT_EQ(FetchValue(kPosts, Raw("<odd>\0")), Bytes("03 00 00 00 01 00 00 00"));
  EXPECT_EQ(FetchValue(kPosts, Raw("<odd2>\0")), Bytes("01 00 00 00 01 00 00 00"));
}

TEST_F(PendingPostsTest, MarksThatCannotBeClearedDoNotHang) {
  Queue("<p1@x>", 1);
  gDatabaseErrorFlag = true;
  ClearPendingFlags();
}

TEST_F(PendingPostsTest, ARefusedPostIsMarkedWhereItLies) {
  Queue("<p1@x>");
  PostedToMainWindow();
  EXPECT_TRUE(MarkPostRefused("<p1@x>", u"441 no such group\r\n"));
  EXPECT_EQ(FetchPendingPost("<p1@x>")->read, 1U);
  EXPECT_EQ(FetchPendingPost("<p1@x>")->body, "text\r\n");
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"441 no such group");
  EXPECT_EQ(gPendingPostCount, 1U);
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
  EXPECT_TRUE(MarkPostRefused("<p1@x>", u"441 too long"));
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"441 too long");
}

TEST_F(PendingPostsTest, ARefusedPostThatIsGoneStaysAway) {
  EXPECT_TRUE(MarkPostRefused("<p1@x>", u"441 no"));
  EXPECT_EQ(CountPendingPosts(), 0U);
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"");
}

TEST_F(PendingPostsTest, AMarkThatCannotBeStoredIsReported) {
  Queue("<p1@x>");
  gDatabaseErrorFlag = true;
  EXPECT_FALSE(MarkPostRefused("<p1@x>", u"441 no"));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (Error inserting GDBM post.) occurred "
                                      u"in StoreAsciiGDBMPost."));
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"");
}

TEST_F(PendingPostsTest, StoringAgainClearsMarkAndReply) {
  Queue("<p1@x>");
  Queue("<p2@x>");
  MarkPostRefused("<p1@x>", u"441 no");
  MarkPostRefused("<p2@x>", u"441 neither");
  Queue("<p1@x>");
  EXPECT_EQ(FetchPendingPost("<p1@x>")->read, 0U);
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"");
  EXPECT_EQ(RefusalOfPost("<p2@x>"), u"441 neither");
}

TEST_F(PendingPostsTest, TheReplyGoesWithThePost) {
  Queue("<p1@x>");
  MarkPostRefused("<p1@x>", u"441 no");
  DeletePendingPost("<p1@x>");
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"");
  Queue("<p1@x>");
  MarkPostRefused("<p1@x>", u"441 no");
  ResetPendingPostsDatabase();
  EXPECT_EQ(RefusalOfPost("<p1@x>"), u"");
}

TEST_F(PendingPostsTest, ManyDeletionsAreMadeSafeOnceASecondAndAtTheEnd) {
  for (const char* id : {"<p1@x>", "<p2@x>", "<p3@x>", "<p4@x>", "<p5@x>"}) Queue(id);
  const std::u16string copy = gDatabaseFolder + u"\\Quillet pending posts.gdb.copy";
  const auto deletes = [&](std::string_view id) {
    fake.files.Delete(copy);
    DeletePendingPost(id);
    return fake.files.FileSize(copy).has_value();
  };
  EXPECT_TRUE(deletes("<p1@x>"));
  {
    const ManyPosts many;
    EXPECT_FALSE(deletes("<p2@x>"));
    fake.clock.Advance(1000);
    EXPECT_TRUE(deletes("<p3@x>"));
    EXPECT_FALSE(deletes("<p4@x>"));
  }
  EXPECT_TRUE(fake.files.FileSize(copy).has_value());
}

TEST_F(PendingPostsTest, AnEmptyQueueHasNoCopy) {
  const std::u16string copy = gDatabaseFolder + u"\\Quillet pending posts.gdb.copy";
  for (const bool many_at_once : {false, true}) {
    Queue("<p1@x>");
    EXPECT_TRUE(fake.files.FileSize(copy).has_value());
    std::optional<ManyPosts> many;
    if (many_at_once) many.emplace();
    DeletePendingPost("<p1@x>");
    many.reset();
    EXPECT_FALSE(fake.files.FileSize(copy).has_value());
  }
}

TEST_F(PendingPostsTest, ManyDeletionsForgetTheirReplies) {
  Queue("<p1@x>");
  Queue("<p2@x>");
  MarkPostRefused("<p1@x>", u"441 no");
  {
    const ManyPosts many;
    DeletePendingPost("<p1@x>");
    EXPECT_EQ(RefusalOfPost("<p1@x>"), u"");
  }
  ForgetAllRefusals();
  {
    const ManyPosts many;
    MarkPostRefused("<p2@x>", u"441 no");
    DeletePendingPost("<p2@x>");
    EXPECT_EQ(RefusalOfPost("<p2@x>"), u"");
  }
}

TEST_F(PendingPostsTest, ResettingEmptiesTheQueue) {
  Queue("<p1@x>");
  EXPECT_TRUE(ResetPendingPostsDatabase());
  EXPECT_EQ(gPendingPostCount, 0U);
  EXPECT_EQ(CountPendingPosts(), 0U);
  Queue("<p2@x>");
  EXPECT_EQ(gPendingPostCount, 1U);
}

TEST_F(PendingPostsTest, TheCountComesBackWithTheFiles) {
  Queue("<p1@x>");
  Queue("<p2@x>");
  CloseDatabases();
  gPendingPostCount = 7;
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(gPendingPostCount, 2U);
}

}  // namespace
}  // namespace quillet
