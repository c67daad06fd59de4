// SPDX-License-Identifier: GPL-3.0-or-later
// Which article of a group lies under which, while the group's tree is built. Articles are told by
// their places in the order of reading, and what is known of them stands in rows of small numbers:
// those of a hundred thousand articles stay near the processor, their nodes do not. `top` makes it
// a union-find structure as well, which tells at once that a link would close a circle. For the
// builder only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillet {

using Place = std::uint32_t;
constexpr Place kNoPlace = 0xFFFFFFFF;

struct Forest {
  std::vector<Place> parent;          // kNoPlace: at the top level
  std::vector<Place> top;             // towards the topmost article above; itself: it is topmost
  std::vector<std::uint32_t> size;    // of a topmost one: the articles of its tree, as read
  std::vector<std::uint8_t> is_late;  // its parent was found after the reading
  std::vector<std::uint8_t> is_read;

  Place count() const { return static_cast<Place>(parent.size()); }
};

// Throws std::bad_alloc; the next AddToForest does not.
void MakeRoomInForest(Forest& forest);
// The next article; its parent was added before, or is kNoPlace.
void AddToForest(Forest& forest, Place parent, bool read);
// Puts an article of the top level under another one; false, and nothing, when that is itself or
// lies below it.
bool LinkLate(Forest& forest, Place place, Place parent);

// Articles in the order of siblings: by key, among equals by place.
struct SortKey {
  std::uint64_t key = 0;
  Place place = 0;
};

// Lists of siblings with counts of what is below; the last row, after the articles, is the root's.
struct Rows {
  std::vector<Place> first, next, previous;
  std::vector<std::uint32_t> below, read_below;

  Place root() const { return static_cast<Place>(first.size() - 1); }
};

// Sorted as `order` is; among equals those linked while reading stand before those linked late.
Rows MakeRows(const Forest& forest, const std::vector<SortKey>& order);

}  // namespace quillet
