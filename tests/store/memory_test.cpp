// Constructors and serialisation while memory runs out: this program's allocations fail on demand.
#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <new>

#include "tests/store/store_fixture.h"

namespace {

bool gFailPlainNew = false;  // the constructors' allocations
std::size_t gLargestBlock = std::numeric_limits<std::size_t>::max();

}  // namespace

void* operator new(std::size_t size) {
  void* const block = size > gLargestBlock ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return gFailPlainNew ? nullptr : std::malloc(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}

namespace quillet {
namespace {

using ::testing::ElementsAre;

class MemoryTest : public StoreTest {
 protected:
  ~MemoryTest() override {
    gFailPlainNew = false;
    gLargestBlock = std::numeric_limits<std::size_t>::max();
  }
};

TEST_F(MemoryTest, EveryConstructorReportsUnderItsOwnName) {
  gFailPlainNew = true;
  EXPECT_EQ(NewAsciiArticle(), nullptr);
  EXPECT_EQ(NewGDBMGroupPtr(), nullptr);
  EXPECT_EQ(NewReadInfoPtr(), nullptr);
  gFailPlainNew = false;
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in NewAsciiArticle.",
                          u"A critical error (out of memory) occurred in NewGDBMGroupPtr.",
                          u"A critical error (out of memory) occurred in NewReadInfoPtr."));
}

TEST_F(MemoryTest, AFetchWithoutMemoryIsAnAbsentArticle) {
  OpenStore();
  Add(u"alt.test", "<1@x>");
  gFailPlainNew = true;
  EXPECT_EQ(FetchArticle("<1@x>"), nullptr);
  EXPECT_EQ(GroupChainFirst(u"alt.test"), nullptr);
  gFailPlainNew = false;
  EXPECT_NE(FetchArticle("<1@x>"), nullptr);
}

TEST_F(MemoryTest, CountsWithoutMemoryAreShortNotBroken) {
  OpenStore();
  gFailPlainNew = true;
  CountArticles();
  gFailPlainNew = false;
  EXPECT_TRUE(gReadInfo.empty());
  UpdateGlobalGDBMArticleCountCache(0);
  SetArticleReadById("<1@x>", nullptr, true, 0);
}

TEST_F(MemoryTest, TheArrayOfCountsReportsUnderItsOwnName) {
  OpenStore();
  gPrefs->groups.assign(4096, u"g");
  gPrefs->numgroups = 4096;
  gLargestBlock = 4096 * sizeof(void*) - 1;
  CountArticles();
  gLargestBlock = std::numeric_limits<std::size_t>::max();
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in CountArticles."));
}

TEST_F(MemoryTest, SerialisingWithoutMemoryIsAFailedStore) {
  OpenStore();
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", std::string(100000, 'b'));
  gLargestBlock = 90000;
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kPlain), std::nullopt);
  EXPECT_EQ(SerializeArticle(article, SerializeMode::kCompress), std::nullopt);
  EXPECT_FALSE(StoreArticle(article));
  gLargestBlock = std::numeric_limits<std::size_t>::max();
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_FALSE(ArticleExists("<1@x>"));
}

TEST_F(MemoryTest, WithoutMemoryForTheCompressorTheArticleIsStoredPlain) {
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", std::string(100000, 'b'));
  gLargestBlock = 100200;  // enough for the plain record, not for the compressor's output
  const auto value = SerializeArticle(article, SerializeMode::kCompress);
  gLargestBlock = std::numeric_limits<std::size_t>::max();
  ASSERT_TRUE(value);
  EXPECT_EQ(value->front(), 1);
}

TEST_F(MemoryTest, ReadingWithoutMemoryIsAnUnreadableRecord) {
  LoadCompressionLibrary();
  AsciiArticle article = ArticleWithId("<1@x>", std::string(100000, 'b'));
  const auto plain = SerializeArticle(article, SerializeMode::kPlain);
  const auto compressed = SerializeArticle(article, SerializeMode::kCompress);
  gLargestBlock = 50000;
  AsciiArticle read;
  EXPECT_FALSE(ParseArticle(*plain, read, false));
  EXPECT_FALSE(ParseArticle(*compressed, read, false));
  gLargestBlock = std::numeric_limits<std::size_t>::max();
  EXPECT_TRUE(ParseArticle(*plain, read, false));
}

}  // namespace
}  // namespace quillet
