// SPDX-License-Identifier: GPL-3.0-or-later
// Moving about in a tree, against the plain list of its nodes in the order in which it is drawn.
#include "thread/moves.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"

namespace quillet {
namespace {

using testing::BuildTree;
using testing::Forests;
using testing::TestArticle;

constexpr ThreadOptions kThreading{true, false};

void ListInto(Node& node, std::vector<Node*>& list) {
  list.push_back(&node);
  for (Node* child = node.firstChild; child; child = child->nextSibling) ListInto(*child, list);
}

std::vector<Node*> ListOf(Node& node) {
  std::vector<Node*> list;
  ListInto(node, list);
  return list;
}

Node* FirstArticle(const std::vector<Node*>& list, std::size_t from) {
  for (std::size_t i = from; i < list.size(); ++i) {
    if (list[i]->kind == NodeKind::kArticle) return list[i];
  }
  return nullptr;
}

Node* LastArticleBefore(const std::vector<Node*>& list, std::size_t end) {
  for (std::size_t i = end; i > 0; --i) {
    if (list[i - 1]->kind == NodeKind::kArticle) return list[i - 1];
  }
  return nullptr;
}

void CheckMoves(const std::vector<Node*>& list, std::size_t at) {
  Node& node = *list[at];
  ASSERT_EQ(NextNode(node), at + 1 < list.size() ? list[at + 1] : nullptr);
  ASSERT_EQ(PreviousNode(node), at > 0 ? list[at - 1] : nullptr);
  ASSERT_EQ(FirstArticleFrom(&node), FirstArticle(list, at));
  ASSERT_EQ(NextArticle(node), FirstArticle(list, at + 1));
  ASSERT_EQ(PreviousArticle(node), LastArticleBefore(list, at));
}

// The threads' places in the list, and which of them the node is in.
void CheckThreadMoves(const std::vector<Node*>& list, std::size_t at) {
  std::vector<std::size_t> threads;
  std::size_t own = 0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i]->kind != NodeKind::kSubject) continue;
    threads.push_back(i);
    if (i <= at) own = threads.size();  // counted from 1; 0: the root
  }
  Node& node = *list[at];
  ASSERT_EQ(ThreadOf(node), own == 0 ? nullptr : list[threads[own - 1]]);
  ASSERT_EQ(NextThread(node), own < threads.size() ? list[threads[own] + 1] : nullptr);
  ASSERT_EQ(PreviousThread(node), own > 1 ? list[threads[own - 2] + 1] : nullptr);
  ASSERT_EQ(ThreadPosition(node).number, own);
  ASSERT_EQ(ThreadPosition(node).count, own == 0 ? 0 : threads.size());
  if (own == 0) return;
  const std::size_t thread = threads[own - 1];
  ASSERT_EQ(ArticlePosition(node).number, at == thread ? 0 : at - thread - 1);
  ASSERT_EQ(ArticlePosition(node).count, list[thread]->descendantCount);
}

TEST(Moves, GoThroughRandomForestsAsTheyAreDrawn) {
  Forests forests(23);
  for (int round = 0; round < 200; ++round) {
    const auto tree = BuildTree(forests.Small(), kThreading);
    const std::vector<Node*> list = ListOf(tree->root());
    for (std::size_t at = 0; at < list.size(); ++at) {
      ASSERT_NO_FATAL_FAILURE(CheckMoves(list, at)) << round;
      ASSERT_NO_FATAL_FAILURE(CheckThreadMoves(list, at)) << round;
    }
  }
}

TEST(Moves, StayWithinASubtree) {
  Forests forests(29);
  for (int round = 0; round < 100; ++round) {
    const auto tree = BuildTree(forests.Small(), kThreading);
    for (Node* within : ListOf(tree->root())) {
      const std::vector<Node*> below = ListOf(*within);
      for (std::size_t i = 0; i < below.size(); ++i) {
        ASSERT_EQ(NextNode(*below[i], within), i + 1 < below.size() ? below[i + 1] : nullptr);
      }
    }
  }
}

TEST(Moves, AnEmptyTreeHasNowhereToGo) {
  ThreadTree tree;
  EXPECT_EQ(NextNode(tree.root()), nullptr);
  EXPECT_EQ(PreviousNode(tree.root()), nullptr);
  EXPECT_EQ(ThreadOf(tree.root()), nullptr);
  EXPECT_EQ(FirstArticleFrom(&tree.root()), nullptr);
  EXPECT_EQ(FirstArticleFrom(nullptr), nullptr);
  EXPECT_EQ(NextArticle(tree.root()), nullptr);
  EXPECT_EQ(PreviousArticle(tree.root()), nullptr);
  EXPECT_EQ(NextThread(tree.root()), nullptr);
  EXPECT_EQ(PreviousThread(tree.root()), nullptr);
  EXPECT_EQ(ThreadPosition(tree.root()).count, 0U);
  EXPECT_EQ(ArticlePosition(tree.root()).count, 0U);
}

TEST(Moves, ANodeThatWasTakenOutHasOnlyWhatIsBelowIt) {
  std::vector<TestArticle> articles(3);
  articles[0].id = "<1>";
  articles[1] = {"<2>", "<1>", "s", "a", "f", 2, false, 2};
  articles[2] = {"<3>", "<2>", "s", "a", "f", 3, false, 1};
  const auto tree = BuildTree(articles, kThreading);
  Node& node = *tree->FindNodeByMessageId("<2>");
  UnlinkNode(node);
  EXPECT_EQ(NextArticle(node), tree->FindNodeByMessageId("<3>"));
  EXPECT_EQ(NextArticle(*node.firstChild), nullptr);
  EXPECT_EQ(PreviousArticle(node), nullptr);
  EXPECT_EQ(ThreadOf(node), nullptr);
  EXPECT_EQ(NextThread(node), nullptr);
  EXPECT_EQ(PreviousThread(node), nullptr);
  EXPECT_EQ(ThreadPosition(node).number, 0U);
  EXPECT_EQ(ArticlePosition(node).count, 0U);
}

TEST(Moves, PassOverASubjectNodeWithoutArticles) {
  std::vector<TestArticle> articles;
  for (const char* id : {"<1>", "<2>", "<3>"}) {
    articles.push_back({id, "", id, "a", "f", id[1], false, static_cast<std::uint32_t>(id[1])});
  }
  const auto tree = BuildTree(articles, kThreading);
  UnlinkNode(*tree->FindNodeByMessageId("<2>"));
  Node& first = *tree->FindNodeByMessageId("<1>");
  Node& last = *tree->FindNodeByMessageId("<3>");
  EXPECT_EQ(NextThread(first), &last);
  EXPECT_EQ(PreviousThread(last), &first);
  EXPECT_EQ(NextArticle(first), &last);
  EXPECT_EQ(PreviousArticle(last), &first);
}

TEST(Moves, AHundredThousandRepliesDeepAreNoMatter) {
  constexpr std::uint32_t kCount = 100000;
  std::vector<TestArticle> articles(kCount);
  for (std::uint32_t i = 0; i < kCount; ++i) {
    articles[i].id = std::to_string(i + 1);
    articles[i].parent = std::to_string(i);
    articles[i].chain = kCount - i;
  }
  const auto tree = BuildTree(articles, kThreading);
  std::uint32_t seen = 0;
  Node* last = nullptr;
  for (Node* at = NextArticle(tree->root()); at != nullptr; at = NextArticle(*at)) {
    last = at;
    ++seen;
  }
  EXPECT_EQ(seen, kCount);
  EXPECT_EQ(ArticlePosition(*last).number, kCount - 1);
  for (Node* at = last; at != nullptr; at = PreviousArticle(*at)) --seen;
  EXPECT_EQ(seen, 0U);
}

}  // namespace
}  // namespace quillet
