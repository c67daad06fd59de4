// SPDX-License-Identifier: GPL-3.0-or-later
// Moving about in a finished thread tree. Pre-order is the order in which the tree is drawn. All
// take any node of a tree, also the root and subject nodes; none recurses. Program thread only.
#pragma once

#include <cstdint>

#include "store/node.h"

namespace quillet {

// Pre-order over all kinds of nodes; null at the ends. `within`: not beyond that subtree.
Node* NextNode(const Node& node, const Node* within = nullptr);
Node* PreviousNode(const Node& node);

// The subject node that the node is or lies under; null for the root.
Node* ThreadOf(Node& node);
// The first article at or after the node in pre-order.
Node* FirstArticleFrom(Node* node);

// Article nodes only; null at the ends. Of the root and of a subject node: the first article below
// it is the next one.
Node* NextArticle(const Node& node);
Node* PreviousArticle(const Node& node);
// The first article of the next or previous thread; null at the ends. Of the root: that of the
// first thread is the next one.
Node* NextThread(Node& node);
Node* PreviousThread(Node& node);

struct Position {
  std::uint32_t number = 0;
  std::uint32_t count = 0;
};
// 1-based place of the node's thread among the subject nodes, and their number.
Position ThreadPosition(Node& node);
// Articles before the node in its thread (0 for the first one), and the thread's articles.
Position ArticlePosition(Node& node);

}  // namespace quillet
