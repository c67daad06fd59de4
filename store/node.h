// SPDX-License-Identifier: GPL-3.0-or-later
// One node of the thread tree: the root, a subject node below it for each thread, or an article
// below those. Zero-filled when made. Links and texts belong to the tree that made the node
// (thread/thread_tree.h) and live as long as it does. Program thread only.
#pragma once

#include <cstdint>
#include <string_view>

namespace quillet {

// Told by itself, not by the Message-ID: an article may come without one. Such an article is shown,
// but never found by its Message-ID and never marked.
enum class NodeKind : std::uint8_t { kRoot, kSubject, kArticle };

constexpr std::int64_t kNoDate = INT64_MIN;

struct Node {
  Node* parent = nullptr;  // null only for the root
  Node* firstChild = nullptr;
  Node* nextSibling = nullptr;
  Node* previousSibling = nullptr;

  std::string_view messageId;  // empty for the root and for subject nodes
  std::string_view subject;
  std::string_view source;  // server name or "<import>": first sort key
  std::string_view from;
  std::int32_t articleNumber = 0;         // second sort key
  std::uint32_t descendantCount = 0;      // article nodes below this one
  std::uint32_t readDescendantCount = 0;  // how many of them are read
  // An article's stored flag; of the root and subject nodes: whether all articles below are read.
  std::uint32_t read = 0;
  std::uint32_t treeItem = 0;     // its item in the tree control, unique within the tree, never 0
  std::uint32_t chainNumber = 0;  // of the group chain record that named the article
  // When the article was written, in seconds since 1970, UTC; kNoDate when it does not say or says
  // it wrongly, and of the root and subject nodes.
  std::int64_t date = kNoDate;
  NodeKind kind = NodeKind::kRoot;
};

// Of the root and subject nodes: read when all articles below are, also when there are none.
inline void UpdateReadOfGathering(Node& node) {
  if (node.kind == NodeKind::kArticle) return;
  node.read = node.descendantCount == node.readDescendantCount ? 1 : 0;
}

}  // namespace quillet
