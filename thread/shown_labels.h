// SPDX-License-Identifier: GPL-3.0-or-later
// What the tree control shows of each node, so that only labels that changed are handed over again.
// A few bytes an item, as the texts follow from the counts. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "port/tree_view.h"
#include "store/node.h"

namespace quillet {

class ShownLabels {
 public:
  // Forgets everything and makes room for that many items. Throws std::bad_alloc.
  void Reset(std::size_t items);
  // Remembers the node's label as it is now; false when it is the one remembered. Items beyond the
  // room count as changed every time.
  bool Note(const Node& node);

 private:
  struct Entry {
    port::TreeItem item = 0;
    std::uint32_t unread = 0;
    std::uint32_t total = 0;  // twice the number of articles, and 1 when bold
  };
  Entry* Find(port::TreeItem item);

  std::vector<Entry> entries_;  // a power of two of them, or none
  std::size_t room_ = 0;
};

}  // namespace quillet
