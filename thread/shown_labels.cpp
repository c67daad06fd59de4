// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/shown_labels.h"

#include <bit>

namespace quillet {

void ShownLabels::Reset(std::size_t items) {
  entries_.clear();
  room_ = 0;
  if (items == 0) return;
  // A quarter stays free, so that every search ends.
  entries_.resize(std::bit_ceil(items + items / 3 + 1));
  room_ = items;
}

// Linear probing: the item's entry, or the free one where it belongs.
ShownLabels::Entry* ShownLabels::Find(port::TreeItem item) {
  // Multiplicative (Fibonacci) hashing: a prime near 2^32 divided by the golden ratio sends numbers
  // in a row to places far apart.
  constexpr std::uint32_t kSpread = 0x9E3779B1;
  const std::size_t mask = entries_.size() - 1;
  std::size_t at = item * kSpread >> 7 & mask;
  while (entries_[at].item != item && entries_[at].item != 0) at = (at + 1) & mask;
  return &entries_[at];
}

bool ShownLabels::Note(const Node& node) {
  if (entries_.empty()) return true;
  const bool article = node.kind == NodeKind::kArticle;
  const Entry now{node.treeItem, article ? 0 : node.descendantCount - node.readDescendantCount,
                  (article ? 0 : node.descendantCount * 2) + (node.read == 0 ? 1U : 0U)};
  Entry& before = *Find(node.treeItem);
  if (before.item == 0) {
    if (room_ == 0) return true;
    --room_;
  } else if (before.unread == now.unread && before.total == now.total) {
    return false;
  }
  before = now;
  return true;
}

}  // namespace quillet
