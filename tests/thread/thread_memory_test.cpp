// SPDX-License-Identifier: GPL-3.0-or-later
// Building trees while memory runs out: this program's allocations fail on demand.
#include <gmock/gmock.h>

#include "tests/store/store_fixture.h"
#include "tests/support/failing_new.h"
#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"
#include "thread/group_tree.h"

namespace quillet {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using testing::Forests;
using testing::TestArticle;
using testing::TreeFault;

constexpr ThreadOptions kThreading{true, false};
constexpr char16_t kNewNode[] = u"A critical error (out of memory) occurred in NewNode.";

class ThreadMemoryTest : public StoreTest {
 protected:
  ThreadMemoryTest() { gPrefs->usethreading = 1; }
  ~ThreadMemoryTest() override {
    testing::FailNthNew(0);
    testing::FailNthNothrowNew(0);
    testing::FailEveryNothrowNew(false);
  }
};

std::vector<TestArticle> Wild() {
  Forests forests(5);
  auto articles = forests.SmallWithReferences();
  while (articles.size() < 30) articles = forests.SmallWithReferences();
  return articles;
}

TEST_F(ThreadMemoryTest, ATreeIsWholeOrMissingWhicheverAllocationFails) {
  const auto articles = Wild();
  for (int n = 1;; ++n) {
    ASSERT_LT(n, 10000);
    const std::size_t boxes = BoxTexts().size();
    testing::FailNthNew(n);
    ThreadBuilder builder(kThreading);
    std::size_t added = 0;
    while (added < articles.size() && builder.Add(testing::EntryOf(articles[added]))) ++added;
    const auto tree = builder.Finish();
    testing::FailNthNew(0);
    if (tree != nullptr) {
      ASSERT_EQ(TreeFault(tree->root(), added), "") << n;
      for (std::size_t i = 0; i < added; ++i) {
        ASSERT_EQ(tree->FindNodeByMessageId(articles[i].id) == nullptr, articles[i].id.empty());
      }
    }
    const auto texts = BoxTexts();
    if (texts.size() == boxes) {  // there were no n allocations
      EXPECT_EQ(added, articles.size());
      EXPECT_GT(n, 20);
      EXPECT_THAT(texts, Each(kNewNode));
      return;
    }
    ASSERT_EQ(texts.size(), boxes + 1) << n;
    ASSERT_TRUE(tree == nullptr || added < articles.size()) << n;
  }
}

TEST_F(ThreadMemoryTest, AfterAFailureNoMoreArticlesAreTaken) {
  const auto articles = Wild();
  ThreadBuilder builder(kThreading);
  ASSERT_TRUE(builder.Add(testing::EntryOf(articles[0])));
  TestArticle large = articles[1];
  large.subject = std::string(100000, 's');
  testing::FailNewOfAtLeast(100000);
  EXPECT_FALSE(builder.Add(testing::EntryOf(large)));
  EXPECT_FALSE(builder.Add(testing::EntryOf(articles[2])));
  const auto tree = builder.Finish();
  EXPECT_EQ(TreeFault(tree->root(), 1), "");
  EXPECT_EQ(builder.Finish(), nullptr);
  EXPECT_THAT(BoxTexts(), ElementsAre(kNewNode));
}

TEST_F(ThreadMemoryTest, WithoutMemoryForABuilderThereIsNoTree) {
  testing::FailEveryNothrowNew(true);
  ThreadBuilder builder(kThreading);
  testing::FailEveryNothrowNew(false);
  EXPECT_FALSE(builder.Add(testing::EntryOf(Wild()[0])));
  EXPECT_EQ(builder.Finish(), nullptr);
  EXPECT_THAT(BoxTexts(), ElementsAre(kNewNode));
}

TEST_F(ThreadMemoryTest, AGroupIsNeverDamagedByMissingMemory) {
  OpenStore();
  std::vector<std::string> ids;
  for (int i = 1; i <= 8; ++i) {
    ids.insert(ids.begin(), "<" + std::to_string(i) + "@x>");
    Add(u"alt.test", ids.front());
  }
  for (void (*fail)(int) : {testing::FailNthNew, testing::FailNthNothrowNew}) {
    for (int n = 1; n < 200; ++n) {
      fail(n);
      const BuiltTree built = BuildNodeTree(u"alt.test");
      fail(0);
      if (built.tree != nullptr) {
        const std::uint32_t shown = built.tree->root().descendantCount;
        ASSERT_EQ(TreeFault(built.tree->root(), shown), "") << n;
      }
      ASSERT_EQ(Chain(u"alt.test"), ids) << n;
    }
  }
}

}  // namespace
}  // namespace quillet
