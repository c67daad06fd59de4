// SPDX-License-Identifier: GPL-3.0-or-later
// Message-IDs are found by a hash table with open addressing: linear probing, deletion by backward
// shift, at most seven tenths full. Articles of one Message-ID are a doubly linked list behind
// their slot. Nodes and texts are taken from arenas, blocks that are freed with the tree.
#include "thread/thread_tree.h"

#include <algorithm>
#include <functional>

#include "base/guarded.h"

namespace quillet {
namespace {

constexpr std::size_t kFirstSlots = 16;
constexpr std::size_t kTextBlock = 16384;

// Over the whole text: Message-IDs of one server may begin alike for long.
std::uint32_t HashOf(std::string_view message_id) {
  const std::uint64_t hash = std::hash<std::string_view>{}(message_id);
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

std::uint32_t OwnArticles(const Node& node) {
  return node.kind == NodeKind::kArticle ? 1 : 0;
}

std::uint32_t OwnReadArticles(const Node& node) {
  return node.kind == NodeKind::kArticle && node.read != 0 ? 1 : 0;
}

void LowerCounts(Node* from, std::uint32_t articles, std::uint32_t read_articles) {
  for (Node* node = from; node != nullptr; node = node->parent) {
    node->descendantCount -= articles;
    node->readDescendantCount -= read_articles;
    UpdateReadOfGathering(*node);
  }
}

// The neighbours of `node` link to `first` and `last` in its place.
void JoinNeighbours(Node& node, Node* first, Node* last) {
  if (node.previousSibling != nullptr) {
    node.previousSibling->nextSibling = first;
  } else {
    node.parent->firstChild = first;
  }
  if (node.nextSibling != nullptr) node.nextSibling->previousSibling = last;
}

void ClearLinks(Node& node) {
  node.parent = nullptr;
  node.nextSibling = nullptr;
  node.previousSibling = nullptr;
}

}  // namespace

// --- Message-IDs ---------------------------------------------------------------------------------

// Linear probing: the slot of a Message-ID, or the free one at which the search for it ends.
std::size_t MessageIdIndex::PlaceOf(std::uint32_t hash, std::string_view message_id) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t place = hash & mask;
  while (slots_[place].newest != nullptr &&
         (slots_[place].hash != hash || slots_[place].newest->messageId != message_id)) {
    place = (place + 1) & mask;
  }
  return place;
}

std::size_t MessageIdIndex::FreePlaceFor(std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t place = hash & mask;
  while (slots_[place].newest != nullptr) place = (place + 1) & mask;
  return place;
}

void MessageIdIndex::Grow() {
  std::vector<Slot> slots(std::max(kFirstSlots, slots_.size() * 2));
  slots_.swap(slots);
  for (const Slot& slot : slots) {
    if (slot.newest != nullptr) slots_[FreePlaceFor(slot.hash)] = slot;
  }
}

// Deletion by backward shift, so that no tombstones are needed: of the slots in the cluster behind
// the free one, each whose search begins at it or before it moves up, and its own slot is the free
// one then.
void MessageIdIndex::Free(std::size_t place) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t free = place;
  for (std::size_t at = (free + 1) & mask; slots_[at].newest != nullptr; at = (at + 1) & mask) {
    if (((at - slots_[at].hash) & mask) < ((at - free) & mask)) continue;
    slots_[free] = slots_[at];
    free = at;
  }
  slots_[free] = {};
  --used_;
}

void MessageIdIndex::Enter(Node& node) {
  if (node.kind != NodeKind::kArticle || node.messageId.empty()) return;
  auto& article = static_cast<ArticleNode&>(node);
  if (article.indexed) return;
  if ((used_ + 1) * 10 > slots_.size() * 7) Grow();
  const std::uint32_t hash = HashOf(article.messageId);
  Slot& slot = slots_[PlaceOf(hash, article.messageId)];
  if (slot.newest == nullptr) ++used_;
  article.indexed = true;
  article.newer = nullptr;
  article.older = slot.newest;
  if (article.older != nullptr) article.older->newer = &article;
  slot = {&article, hash};
}

void MessageIdIndex::Remove(const Node& node) {
  if (node.kind != NodeKind::kArticle) return;
  auto& article = const_cast<ArticleNode&>(static_cast<const ArticleNode&>(node));
  if (!article.indexed) return;
  article.indexed = false;
  if (article.older != nullptr) article.older->newer = article.newer;
  if (article.newer != nullptr) {
    article.newer->older = article.older;
    return;
  }
  const std::size_t place = PlaceOf(HashOf(article.messageId), article.messageId);
  if (article.older == nullptr) return Free(place);
  slots_[place].newest = article.older;
}

Node* MessageIdIndex::Find(std::string_view message_id) const {
  if (message_id.empty() || slots_.empty()) return nullptr;
  return slots_[PlaceOf(HashOf(message_id), message_id)].newest;
}

std::size_t MessageIdIndex::MemoryUsed() const {
  return slots_.capacity() * sizeof(Slot);
}

// --- Nodes and texts -----------------------------------------------------------------------------

char* TextBlocks::NewBlock(std::size_t length) {
  blocks_.push_back(std::make_unique_for_overwrite<char[]>(length));
  held_ += length;
  return blocks_.back().get();
}

char* TextBlocks::Room(std::size_t length) {
  // A long text has a block of its own, so that the rest of the common one is not lost.
  if (length > left_ && length > kTextBlock / 16) return NewBlock(length);
  if (length > left_) {
    free_ = NewBlock(kTextBlock);
    left_ = kTextBlock;
  }
  char* room = free_;
  free_ += length;
  left_ -= length;
  return room;
}

std::string_view TextBlocks::Keep(std::string_view text) {
  if (text.empty()) return {};
  if (text == last_) return last_;
  char* room = Room(text.size());
  std::copy(text.begin(), text.end(), room);
  used_ += text.size();
  last_ = {room, text.size()};
  return last_;
}

template <class Made>
Made& ThreadTree::NodeBlocks<Made>::Next() {
  if (used == kBlockNodes) {
    blocks.push_back(std::make_unique<Made[]>(kBlockNodes));
    used = 0;
  }
  return blocks.back()[used++];
}

template <class Made>
std::size_t ThreadTree::NodeBlocks<Made>::MemoryUsed() const {
  return blocks.size() * kBlockNodes * sizeof(Made) + blocks.capacity() * sizeof(blocks[0]);
}

Node* ThreadTree::NewNode(NodeKind kind) {
  return GuardedCritically(u"NewNode", [&] {
    Node& node = kind == NodeKind::kArticle ? articles_.Next() : others_.Next();
    node.kind = kind;
    return &node;
  });
}

std::size_t ThreadTree::MemoryUsed() const {
  return sizeof(*this) + articles_.MemoryUsed() + others_.MemoryUsed() + index_.MemoryUsed() +
         (texts_.held() - texts_.used());
}

// --- Links and counts ----------------------------------------------------------------------------

void UnlinkNode(Node& node) {
  if (node.parent == nullptr) return;
  JoinNeighbours(node, node.nextSibling, node.previousSibling);
  LowerCounts(node.parent, node.descendantCount + OwnArticles(node),
              node.readDescendantCount + OwnReadArticles(node));
  ClearLinks(node);
}

void ReplaceNodeByChildrenUncounted(Node& node) {
  if (node.parent == nullptr) return;
  Node* first = node.firstChild != nullptr ? node.firstChild : node.nextSibling;
  Node* last = node.previousSibling;
  for (Node* child = node.firstChild; child != nullptr; child = child->nextSibling) {
    child->parent = node.parent;
    last = child;
  }
  if (node.firstChild != nullptr) {
    node.firstChild->previousSibling = node.previousSibling;
    last->nextSibling = node.nextSibling;
  }
  JoinNeighbours(node, first, last);
  ClearLinks(node);
  node.firstChild = nullptr;
}

void ReplaceNodeByChildren(Node& node) {
  Node* const parent = node.parent;
  if (parent == nullptr) return;
  ReplaceNodeByChildrenUncounted(node);
  LowerCounts(parent, OwnArticles(node), OwnReadArticles(node));
  node.descendantCount = 0;
  node.readDescendantCount = 0;
  UpdateReadOfGathering(node);
}

}  // namespace quillet
