// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/moves.h"

namespace quillet {
namespace {

bool IsArticle(const Node& node) {
  return node.kind == NodeKind::kArticle;
}

Node* LastChild(const Node& node) {
  Node* child = node.firstChild;
  while (child != nullptr && child->nextSibling != nullptr) child = child->nextSibling;
  return child;
}

// A subject node that has just lost its articles has none to offer.
bool HasArticles(const Node& thread) {
  return thread.firstChild != nullptr;
}

}  // namespace

Node* NextNode(const Node& node, const Node* within) {
  if (node.firstChild != nullptr) return node.firstChild;
  for (const Node* at = &node; at != nullptr && at != within; at = at->parent) {
    if (at->nextSibling != nullptr) return at->nextSibling;
  }
  return nullptr;
}

Node* PreviousNode(const Node& node) {
  Node* previous = node.previousSibling;
  if (previous == nullptr) return node.parent;
  while (previous->firstChild != nullptr) previous = LastChild(*previous);
  return previous;
}

Node* ThreadOf(Node& node) {
  Node* at = &node;
  while (at != nullptr && at->kind != NodeKind::kSubject) at = at->parent;
  return at;
}

Node* FirstArticleFrom(Node* node) {
  while (node != nullptr && !IsArticle(*node)) node = NextNode(*node);
  return node;
}

Node* NextArticle(const Node& node) {
  return FirstArticleFrom(NextNode(node));
}

Node* PreviousArticle(const Node& node) {
  Node* previous = PreviousNode(node);
  while (previous != nullptr && !IsArticle(*previous)) previous = PreviousNode(*previous);
  return previous;
}

Node* NextThread(Node& node) {
  const Node* thread = ThreadOf(node);
  if (thread == nullptr && node.kind != NodeKind::kRoot) return nullptr;
  Node* next = thread != nullptr ? thread->nextSibling : node.firstChild;
  while (next != nullptr && !HasArticles(*next)) next = next->nextSibling;
  return FirstArticleFrom(next);
}

Node* PreviousThread(Node& node) {
  const Node* thread = ThreadOf(node);
  Node* previous = thread != nullptr ? thread->previousSibling : nullptr;
  while (previous != nullptr && !HasArticles(*previous)) previous = previous->previousSibling;
  return FirstArticleFrom(previous);
}

Position ThreadPosition(Node& node) {
  const Node* thread = ThreadOf(node);
  if (thread == nullptr || thread->parent == nullptr) return {};
  Position position;
  for (const Node* at = thread->parent->firstChild; at != nullptr; at = at->nextSibling) {
    ++position.count;
    if (at == thread) position.number = position.count;
  }
  return position;
}

Position ArticlePosition(Node& node) {
  const Node* thread = ThreadOf(node);
  if (thread == nullptr) return {};
  Position position{0, thread->descendantCount};
  for (const Node* at = &node; at != thread; at = at->parent) {
    for (const Node* before = at->previousSibling; before != nullptr;
         before = before->previousSibling) {
      position.number += before->descendantCount + 1;
    }
    if (IsArticle(*at->parent)) ++position.number;
  }
  return position;
}

}  // namespace quillet
