// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/bulk_store.h"

#include <gmock/gmock.h>

#include <optional>
#include <set>

#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

const std::string kRoom("\0room", 5);
constexpr int kArticles = 300;

class BulkStoreTest : public StoreTest {
 protected:
  // Stores the articles; how often the file became larger.
  static int StoreMany() {
    std::set<std::uint32_t> sizes;
    for (int i = 0; i < kArticles; ++i) {
      AsciiArticle article = ArticleWithId("<" + std::to_string(i) + "@x>", std::string(3000, 'b'));
      EXPECT_TRUE(StoreArticle(article));
      sizes.insert(DatabaseFileSize(DatabaseIndex::kArticles));
    }
    return static_cast<int>(sizes.size());
  }
  static int Keys() {
    int count = 0;
    for (auto key = FirstKey(DatabaseIndex::kArticles); key;
         key = NextKey(DatabaseIndex::kArticles, *key)) {
      ++count;
    }
    return count;
  }
};

TEST_F(BulkStoreTest, TheFileGrowsInStepsOfManyArticles) {
  OpenStore();
  const int before = Keys();
  const BulkStore bulk;
  EXPECT_LT(StoreMany(), kArticles / 3);
  EXPECT_EQ(Keys(), before + kArticles);
  for (int i = 0; i < kArticles; ++i) {
    const auto article = FetchArticle("<" + std::to_string(i) + "@x>");
    ASSERT_TRUE(article);
    EXPECT_EQ(article->body, std::string(3000, 'b'));
  }
}

TEST_F(BulkStoreTest, OutsideABulkItGrowsByArticles) {
  OpenStore();
  { const BulkStore over; }
  EXPECT_GT(StoreMany(), kArticles / 2);
}

TEST_F(BulkStoreTest, ARecordLeftByAKilledWriterIsTakenAway) {
  OpenStore();
  ASSERT_TRUE(StoreValue(DatabaseIndex::kArticles, kRoom, "left", StoreMode::kReplace));
  const BulkStore bulk;
  StoreMany();
  EXPECT_FALSE(ValueExists(DatabaseIndex::kArticles, kRoom));
}

TEST_F(BulkStoreTest, AnAlmostFullVolumeIsLeftToTheArticles) {
  OpenStore();
  fake.files.SetFreeSpace({1'000'000, 100'000'000});
  const BulkStore bulk;
  EXPECT_GT(StoreMany(), kArticles / 2);
}

}  // namespace
}  // namespace quillet
