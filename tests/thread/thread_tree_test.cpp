// SPDX-License-Identifier: GPL-3.0-or-later
// Nodes, their texts, the index of their Message-IDs, and taking them out.
#include "thread/thread_tree.h"

#include <gtest/gtest.h>

#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"

namespace quillet {
namespace {

using testing::BuildTree;
using testing::Forests;
using testing::TestArticle;
using testing::TreeFault;

constexpr ThreadOptions kThreading{true, false};

class IndexTest : public ::testing::Test {
 protected:
  Node& Entered(std::string_view id) {
    Node& node = *tree.NewNode(NodeKind::kArticle);
    node.messageId = tree.KeepText(id);
    tree.index().Enter(node);
    return node;
  }

  ThreadTree tree;
};

TEST_F(IndexTest, FindsTheNodeEnteredLastThatIsStillIn) {
  Node& first = Entered("<1@x>");
  Node& second = Entered("<1@x>");
  Node& third = Entered("<1@x>");
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), &third);
  tree.index().Remove(second);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), &third);
  tree.index().Remove(third);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), &first);
  tree.index().Enter(second);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), &second);
  tree.index().Remove(first);
  tree.index().Remove(second);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), nullptr);
}

TEST_F(IndexTest, EnteringOrRemovingTwiceIsOnce) {
  Node& node = Entered("<1@x>");
  tree.index().Enter(node);
  tree.index().Remove(node);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), nullptr);
  tree.index().Remove(node);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), nullptr);
}

TEST_F(IndexTest, WithoutMessageIdNothingIsEnteredOrFound) {
  Node& empty = Entered("");
  tree.index().Enter(tree.root());
  Node& subject = *tree.NewNode(NodeKind::kSubject);
  tree.index().Enter(subject);
  EXPECT_EQ(tree.FindNodeByMessageId(""), nullptr);
  EXPECT_EQ(tree.index().MemoryUsed(), 0U);
  tree.index().Remove(empty);
  tree.index().Remove(subject);
  tree.index().Remove(tree.root());
}

TEST_F(IndexTest, CaseAndEveryByteCount) {
  Entered("<a@x>");
  EXPECT_EQ(tree.FindNodeByMessageId("<A@x>"), nullptr);
  EXPECT_EQ(tree.FindNodeByMessageId("<a@x"), nullptr);
  EXPECT_EQ(tree.FindNodeByMessageId("<a@x> "), nullptr);
}

TEST_F(IndexTest, HoldsHundredsOfThousandsThatBeginAlike) {
  constexpr std::size_t kCount = 300000;
  const std::string head = "<" + std::string(60, 'a') + ".";
  std::vector<Node*> nodes;
  for (std::size_t i = 0; i < kCount; ++i) nodes.push_back(&Entered(head + std::to_string(i)));
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(tree.FindNodeByMessageId(head + std::to_string(i)), nodes[i]);
    ASSERT_EQ(tree.FindNodeByMessageId(head + std::to_string(kCount + i)), nullptr);
  }
  for (std::size_t i = 0; i < kCount; i += 2) tree.index().Remove(*nodes[i]);
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(tree.FindNodeByMessageId(nodes[i]->messageId), i % 2 == 0 ? nullptr : nodes[i]);
  }
}

TEST_F(IndexTest, HoldsHundredsOfThousandsOfOneMessageId) {
  constexpr std::size_t kCount = 300000;
  std::vector<Node*> nodes;
  nodes.reserve(kCount);
  for (std::size_t i = 0; i < kCount; ++i) nodes.push_back(&Entered("<1@x>"));
  for (std::size_t i = 0; i + 1 < nodes.size(); ++i) tree.index().Remove(*nodes[i]);
  EXPECT_EQ(tree.FindNodeByMessageId("<1@x>"), nodes.back());
}

TEST_F(IndexTest, RandomEnteringAndRemovingIsAsAList) {
  Forests random(99);
  std::vector<Node*> in;
  std::vector<Node*> out;
  out.reserve(200);
  for (int i = 0; i < 200; ++i) out.push_back(&Entered("<" + std::to_string(i % 40) + "@x>"));
  for (Node* node : out) tree.index().Remove(*node);
  for (int round = 0; round < 5000; ++round) {
    std::vector<Node*>& from = random.Below(2) == 0 ? in : out;
    if (from.empty()) continue;
    Node* node = from[random.Below(from.size())];
    std::erase(from, node);
    const bool entering = &from == &out;
    entering ? tree.index().Enter(*node) : tree.index().Remove(*node);
    (entering ? in : out).push_back(node);
    const auto newest = std::find_if(in.rbegin(), in.rend(), [&](const Node* other) {
      return other->messageId == node->messageId;
    });
    ASSERT_EQ(tree.FindNodeByMessageId(node->messageId), newest == in.rend() ? nullptr : *newest);
  }
}

TEST(ThreadTree, NewNodesAreEmptyAndStayWhereTheyAre) {
  ThreadTree tree;
  std::vector<Node*> nodes;
  for (int i = 0; i < 1000; ++i) {
    const NodeKind kind = i % 3 == 0 ? NodeKind::kSubject : NodeKind::kArticle;
    Node* node = tree.NewNode(kind);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->kind, kind);
    EXPECT_EQ(node->parent, nullptr);
    EXPECT_TRUE(node->messageId.empty());
    node->articleNumber = i;
    nodes.push_back(node);
  }
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(nodes[static_cast<std::size_t>(i)]->articleNumber, i);
}

TEST(ThreadTree, KeepsTextsAndRepeatedOnesOnce) {
  ThreadTree tree;
  std::string text = "news.example.org";
  const std::string_view kept = tree.KeepText(text);
  EXPECT_EQ(tree.KeepText("news.example.org").data(), kept.data());
  EXPECT_EQ(tree.TextMemoryUsed(), 16U);
  const std::string long_text(100000, 'l');
  const std::string_view long_kept = tree.KeepText(long_text);
  text = "other";
  EXPECT_EQ(kept, "news.example.org");
  EXPECT_EQ(long_kept, long_text);
  EXPECT_TRUE(tree.KeepText("").empty());
  EXPECT_NE(tree.KeepText("news.example.org").data(), kept.data());
  EXPECT_EQ(tree.TextMemoryUsed(), 100032U);
}

// --- Taking nodes out ----------------------------------------------------------------------------

TestArticle One(const char* id, const char* parent, bool read, const char* subject = "s") {
  return {id, parent, subject, "a", "f", id[1], read, static_cast<std::uint32_t>('~' - id[1])};
}

std::string Ids(const Node& parent) {
  std::string ids;
  for (const Node* child = parent.firstChild; child; child = child->nextSibling) {
    ids += child->messageId;
  }
  return ids;
}

class UnlinkTest : public ::testing::Test {
 protected:
  UnlinkTest()
      : tree(
            BuildTree({One("<1>", "", false), One("<2>", "<1>", true), One("<3>", "<2>", false),
                       One("<4>", "<2>", true), One("<5>", "<1>", true), One("<6>", "", true, "t")},
                      kThreading)) {}

  Node& At(std::string_view id) { return *tree->FindNodeByMessageId(id); }

  std::unique_ptr<ThreadTree> tree;
};

TEST_F(UnlinkTest, TakesTheNodeOutWithAllBelowIt) {
  Node& node = At("<2>");
  UnlinkNode(node);
  EXPECT_EQ(TreeFault(tree->root(), 3, kThreading), "");
  EXPECT_EQ(Ids(At("<1>")), "<5>");
  EXPECT_EQ(At("<1>").descendantCount, 1U);
  EXPECT_EQ(At("<1>").readDescendantCount, 1U);
  EXPECT_EQ(tree->root().descendantCount, 3U);
  EXPECT_EQ(node.parent, nullptr);
  EXPECT_EQ(node.nextSibling, nullptr);
  EXPECT_EQ(node.previousSibling, nullptr);
  EXPECT_EQ(Ids(node), "<3><4>");
  EXPECT_EQ(node.subject, "s");
  EXPECT_EQ(&At("<2>"), &node);  // the index is another matter
}

TEST_F(UnlinkTest, ASubjectNodeAndTheRootTurnReadWithTheirLastUnread) {
  UnlinkNode(At("<3>"));
  EXPECT_EQ(tree->root().read, 0U);
  EXPECT_EQ(At("<1>").read, 0U);  // an article's own flag stays
  ReplaceNodeByChildren(At("<1>"));
  EXPECT_EQ(tree->root().firstChild->read, 1U);
  EXPECT_EQ(tree->root().read, 1U);
  EXPECT_EQ(tree->root().descendantCount, 4U);
}

TEST_F(UnlinkTest, FirstMiddleAndLastSiblingsGoAlike) {
  UnlinkNode(At("<3>"));
  EXPECT_EQ(Ids(At("<2>")), "<4>");
  UnlinkNode(At("<5>"));
  EXPECT_EQ(Ids(At("<1>")), "<2>");
  UnlinkNode(At("<4>"));
  EXPECT_EQ(Ids(At("<2>")), "");
  EXPECT_EQ(TreeFault(tree->root(), 3, kThreading), "");
}

TEST_F(UnlinkTest, ASubjectNodeGoesWithItsThread) {
  UnlinkNode(*tree->root().firstChild);
  EXPECT_EQ(TreeFault(tree->root(), 1, kThreading), "");
  EXPECT_EQ(tree->root().read, 1U);
  UnlinkNode(*tree->root().firstChild);
  EXPECT_EQ(tree->root().firstChild, nullptr);
  EXPECT_EQ(tree->root().descendantCount, 0U);
}

TEST_F(UnlinkTest, ANodeThatIsOutOrTheRootStaysAsItIs) {
  Node& node = At("<2>");
  UnlinkNode(node);
  UnlinkNode(node);
  UnlinkNode(tree->root());
  ReplaceNodeByChildren(node);
  ReplaceNodeByChildren(tree->root());
  EXPECT_EQ(Ids(node), "<3><4>");
  EXPECT_EQ(TreeFault(tree->root(), 3, kThreading), "");
}

TEST_F(UnlinkTest, ChildrenTakeTheNodesPlaceInTheirOrder) {
  Node& node = At("<2>");
  ReplaceNodeByChildren(node);
  EXPECT_EQ(TreeFault(tree->root(), 5), "");
  EXPECT_EQ(Ids(At("<1>")), "<3><4><5>");
  EXPECT_EQ(node.firstChild, nullptr);
  EXPECT_EQ(node.parent, nullptr);
  EXPECT_EQ(node.descendantCount, 0U);
  EXPECT_EQ(node.readDescendantCount, 0U);
  EXPECT_EQ(tree->root().readDescendantCount, 3U);
}

TEST_F(UnlinkTest, ANodeWithoutChildrenLeavesItsPlaceToItsNeighbours) {
  ReplaceNodeByChildren(At("<3>"));
  ReplaceNodeByChildren(At("<4>"));
  EXPECT_EQ(TreeFault(tree->root(), 4, kThreading), "");
  EXPECT_EQ(Ids(At("<1>")), "<2><5>");
}

TEST(Unlink, RandomForestsStayWhole) {
  Forests random(17);
  for (int round = 0; round < 200; ++round) {
    const auto articles = random.Small();
    const auto tree = BuildTree(articles, kThreading);
    for (std::size_t left = articles.size(); left > 0;) {
      Node* node = tree->root().firstChild;
      while (node->kind != NodeKind::kArticle || random.Below(3) != 0) {
        Node* below = random.Below(2) == 0 ? node->firstChild : node->nextSibling;
        node = below != nullptr ? below : tree->root().firstChild->firstChild;
      }
      Node* thread = node->parent;
      const bool alone = random.Below(4) != 0;
      left -= alone ? 1 : node->descendantCount + 1;
      alone ? ReplaceNodeByChildren(*node) : UnlinkNode(*node);
      if (thread->kind == NodeKind::kSubject && thread->firstChild == nullptr) UnlinkNode(*thread);
      ASSERT_EQ(TreeFault(tree->root(), left), "") << round;
    }
    EXPECT_EQ(tree->root().firstChild, nullptr);
  }
}

}  // namespace
}  // namespace quillet
