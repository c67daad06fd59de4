// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree of one group: its nodes, their texts and the index of its Message-IDs.
//
// Nodes and texts are kept in blocks that are freed with the tree; a node that was taken out of the
// tree stays readable until then. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "store/node.h"

namespace quillet {

// The item of a subject node is that of its first article with this added to it.
constexpr std::uint32_t kSubjectItem = 0x80000000;

// How ThreadTree makes the nodes of articles: those of one Message-ID know each other, so that one
// of many is removed from the index without a search.
struct ArticleNode : Node {
  bool indexed = false;
  ArticleNode* newer = nullptr;  // the same Message-ID, entered later
  ArticleNode* older = nullptr;  // and earlier
};

// Message-IDs of article nodes. A Message-ID that several nodes carry finds the one entered last
// that is still in it. Empty Message-IDs are never entered and never found. Case counts.
class MessageIdIndex {
 public:
  MessageIdIndex() = default;
  MessageIdIndex(const MessageIdIndex&) = delete;
  MessageIdIndex& operator=(const MessageIdIndex&) = delete;

  // A node made by ThreadTree; one that is no article or is in already is passed over. Throws
  // std::bad_alloc, and is then as before.
  void Enter(Node& node);
  // A node that is not in is passed over. Taking a node out of the tree does not do this.
  void Remove(const Node& node);
  Node* Find(std::string_view message_id) const;
  std::size_t MemoryUsed() const;

 private:
  // Hashes stand beside the nodes, so that what is not there is known without looking at any.
  struct Slot {
    ArticleNode* newest = nullptr;  // of a Message-ID; null: the slot is free
    std::uint32_t hash = 0;
  };
  std::size_t PlaceOf(std::uint32_t hash, std::string_view message_id) const;
  std::size_t FreePlaceFor(std::uint32_t hash) const;
  void Grow();
  void Free(std::size_t place);

  std::vector<Slot> slots_;  // none, or a power of two of them
  std::size_t used_ = 0;
};

// Texts one after the other in blocks.
class TextBlocks {
 public:
  // A copy that lives as long as the blocks; equal to the text kept before it: that one. Throws
  // std::bad_alloc.
  std::string_view Keep(std::string_view text);

  std::size_t held() const { return held_; }  // bytes of the blocks
  std::size_t used() const { return used_; }  // bytes of the texts in them

 private:
  char* Room(std::size_t length);
  char* NewBlock(std::size_t length);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;
  std::size_t left_ = 0;
  std::size_t held_ = 0;
  std::size_t used_ = 0;
  std::string_view last_;
};

class ThreadTree {
 public:
  ThreadTree() = default;
  ThreadTree(const ThreadTree&) = delete;
  ThreadTree& operator=(const ThreadTree&) = delete;

  Node& root() { return root_; }
  const Node& root() const { return root_; }

  // Null after the critical report "out of memory" in "NewNode".
  Node* NewNode(NodeKind kind);
  // The article node made as the (i + 1)th one, i below their number.
  Node& Article(std::size_t i) { return articles_.blocks[i / kBlockNodes][i % kBlockNodes]; }
  // A copy that lives as long as the tree; equal texts given one after the other (as the names of
  // servers are) are kept once. Throws std::bad_alloc.
  std::string_view KeepText(std::string_view text) { return texts_.Keep(text); }

  Node* FindNodeByMessageId(std::string_view message_id) const { return index_.Find(message_id); }
  MessageIdIndex& index() { return index_; }

  // Bytes held beyond the texts themselves, and the texts.
  std::size_t MemoryUsed() const;
  std::size_t TextMemoryUsed() const { return texts_.used(); }

 private:
  // Small blocks waste little at the end of the last one.
  static constexpr std::size_t kBlockNodes = 64;

  template <class Made>
  struct NodeBlocks {
    std::vector<std::unique_ptr<Made[]>> blocks;
    std::size_t used = kBlockNodes;  // of the last block

    Made& Next();
    std::size_t MemoryUsed() const;
  };

  Node root_;
  NodeBlocks<ArticleNode> articles_;
  NodeBlocks<Node> others_;
  TextBlocks texts_;
  MessageIdIndex index_;
};

// Takes a node with everything below it out of its parent's list. The counts of the nodes above are
// lowered, and `read` of subject nodes and the root follows them. Links of the node itself: parent
// and siblings null. The root, or a node that is out already: nothing happens. The Message-IDs stay
// in the index.
void UnlinkNode(Node& node);
// Puts the node's children in its place, in their order, and takes the node out, alone: counts as
// above.
void ReplaceNodeByChildren(Node& node);
// The same without the counts, for a caller who takes out many and sums up once (SumUp).
void ReplaceNodeByChildrenUncounted(Node& node);

}  // namespace quillet
