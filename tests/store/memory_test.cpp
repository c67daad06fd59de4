// SPDX-License-Identifier: GPL-3.0-or-later
// Constructors and serialisation while memory runs out: this program's allocations fail on demand.
#include <gmock/gmock.h>

#include "tests/store/store_fixture.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

class MemoryTest : public StoreTest {
 protected:
  ~MemoryTest() override {
    testing::FailEveryNothrowNew(false);
    testing::LimitNew(0);
  }
};

TEST_F(MemoryTest, EveryConstructorReportsUnderItsOwnName) {
  testing::FailEveryNothrowNew(true);
  EXPECT_EQ(NewAsciiArticle(), nullptr);
  EXPECT_EQ(NewGDBMGroupPtr(), nullptr);
  EXPECT_EQ(NewReadInfoPtr(), nullptr);
  testing::FailEveryNothrowNew(false);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in NewAsciiArticle.",
                          u"A critical error (out of memory) occurred in NewGDBMGroupPtr.",
                          u"A critical error (out of memory) occurred in NewReadInfoPtr."));
}

TEST_F(MemoryTest, AFetchWithoutMemoryIsAnAbsentArticle) {
  OpenStore();
  Add(u"alt.test", "<1@x>");
  testing::FailEveryNothrowNew(true);
  EXPECT_EQ(FetchArticle("<1@x>"), nullptr);
  EXPECT_EQ(GroupChainFirst(u"alt.test"), nullptr);
  testing::FailEveryNothrowNew(false);
  EXPECT_NE(FetchArticle("<1@x>"), nullptr);
}

TEST_F(MemoryTest, CountsWithoutMemoryAreShortNotBroken) {
  OpenStore();
  testing::FailEveryNothrowNew(true);
  CountArticles();
  testing::FailEveryNothrowNew(false);
  EXPECT_TRUE(gReadInfo.empty());
  UpdateGlobalGDBMArticleCountCache(0);
  SetArticleReadById("<1@x>", nullptr, true, 0);
}

TEST_F(MemoryTest, TheArrayOfCountsReportsUnderItsOwnName) {
  OpenStore();
  gPrefs->groups.assign(4096, u"g");
  gPrefs->numgroups = 4096;
  testing::LimitNew(4096 * sizeof(void*) - 1);
  CountArticles();
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in CountArticles."));
}

TEST_F(MemoryTest, SerialisingWithoutMemoryIsAFailedStore) {
  OpenStore();
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", std::string(100000, 'b'));
  testing::LimitNew(90000);
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kPlain), std::nullopt);
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kCompress), std::nullopt);
  EXPECT_FALSE(StoreArticle(article));
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_FALSE(ArticleExists("<1@x>"));
}

TEST_F(MemoryTest, WithoutMemoryForTheCompressorTheArticleIsStoredPlain) {
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", std::string(100000, 'b'));
  testing::LimitNew(100200);  // enough for the plain record, not for the compressor's output
  const auto value = SerializeArticle(article, SerializeMode::kCompress);
  testing::LimitNew(0);
  ASSERT_TRUE(value);
  EXPECT_EQ(value->front(), 1);
}

TEST_F(MemoryTest, ReadingWithoutMemoryIsAnUnreadableRecord) {
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", std::string(100000, 'b'));
  const auto plain = SerializeArticle(article, SerializeMode::kPlain);
  const auto compressed = SerializeArticle(article, SerializeMode::kCompress);
  testing::LimitNew(50000);
  AsciiArticle read;
  EXPECT_FALSE(ParseArticle(*plain, read, false));
  EXPECT_FALSE(ParseArticle(*compressed, read, false));
  testing::LimitNew(0);
  EXPECT_TRUE(ParseArticle(*plain, read, false));
}

}  // namespace
}  // namespace quillet
