// The thread tree of one group: its nodes, their texts and the index of its Message-IDs.
//
// Nodes and texts are kept in blocks that are freed with the tree; a node that was taken out of the
// tree stays readable until then. Program thread only.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "store/node.h"

namespace quillet {

// Message-IDs of article nodes. A Message-ID that several nodes carry finds the one entered last
// that is still in it. Empty Message-IDs are never entered and never found. Case counts.
class MessageIdIndex {
 public:
  void Enter(Node& node);
  void Remove(const Node& node);
  Node* Find(std::string_view message_id) const;
  std::size_t MemoryUsed() const;

 private:
  // To be chosen by thread_tree.cpp's author.
};

class ThreadTree {
 public:
  ThreadTree();
  ThreadTree(const ThreadTree&) = delete;
  ThreadTree& operator=(const ThreadTree&) = delete;

  Node& root() { return *root_; }
  const Node& root() const { return *root_; }

  // Null after the critical report "out of memory" in "NewNode".
  Node* NewNode(NodeKind kind);
  // A copy that lives as long as the tree; equal texts given one after the other (as the names of
  // servers are) are kept once.
  std::string_view KeepText(std::string_view text);

  Node* FindNodeByMessageId(std::string_view message_id) const { return index_.Find(message_id); }
  MessageIdIndex& index() { return index_; }

  // Bytes held beyond the texts themselves, and the texts.
  std::size_t MemoryUsed() const;
  std::size_t TextMemoryUsed() const;

 private:
  Node* root_ = nullptr;
  MessageIdIndex index_;
};

// Takes a node with everything below it out of its parent's list. The counts of the nodes above are
// lowered, and `read` of subject nodes and the root follows them. Links of the node itself: parent
// and siblings null.
void UnlinkNode(Node& node);
// Puts the node's children in its place, in their order, and takes the node out: counts as above.
void ReplaceNodeByChildren(Node& node);

}  // namespace quillet
