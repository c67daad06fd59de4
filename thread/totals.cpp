// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/totals.h"

#include "thread/moves.h"
#include "thread/thread_tree.h"

namespace quillet {
namespace {

Node* FirstLeaf(Node* node) {
  while (node->firstChild != nullptr) node = node->firstChild;
  return node;
}

void AddToParent(const Node& node) {
  const bool article = node.kind == NodeKind::kArticle;
  node.parent->descendantCount += node.descendantCount + (article ? 1U : 0U);
  node.parent->readDescendantCount +=
      node.readDescendantCount + (article && node.read != 0 ? 1U : 0U);
}

// Every node after all nodes below it.
void AddUpwards(Node& top) {
  for (Node* node = FirstLeaf(&top);;) {
    UpdateReadOfGathering(*node);
    if (node == &top) return;
    AddToParent(*node);
    node = node->nextSibling != nullptr ? FirstLeaf(node->nextSibling) : node->parent;
  }
}

}  // namespace

void SumUp(Node& top) {
  const std::uint32_t articles = top.descendantCount;
  const std::uint32_t read_articles = top.readDescendantCount;
  for (Node* node = &top; node != nullptr; node = NextNode(*node, &top)) {
    node->descendantCount = 0;
    node->readDescendantCount = 0;
  }
  AddUpwards(top);
  for (Node* above = top.parent; above != nullptr; above = above->parent) {
    above->descendantCount += top.descendantCount - articles;
    above->readDescendantCount += top.readDescendantCount - read_articles;
    UpdateReadOfGathering(*above);
  }
}

}  // namespace quillet
