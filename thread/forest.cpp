// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/forest.h"

namespace quillet {
namespace {

template <class Value>
void MakeRoom(std::vector<Value>& row) {
  if (row.size() == row.capacity()) row.reserve(row.size() * 2 + 64);
}

// The `find` of a union-find structure, with path halving: each article that is passed is linked to
// the one two above it, so that the next way is half as long. LinkLate is the union.
Place TopOf(Forest& forest, Place place) {
  while (forest.top[place] != place) {
    Place& above = forest.top[place];
    above = forest.top[above];
    place = above;
  }
  return place;
}

Place RowAbove(const Forest& forest, const Rows& rows, Place place) {
  const Place parent = forest.parent[place];
  return parent == kNoPlace ? rows.root() : parent;
}

void Prepend(Rows& rows, Place parent, Place place) {
  Place& first = rows.first[parent];
  rows.next[place] = first;
  if (first != kNoPlace) rows.previous[first] = place;
  first = place;
}

// Every article comes into the list of its parent, from the last one to the first.
void LinkSiblings(const Forest& forest, const std::vector<SortKey>& order, Rows& rows) {
  for (std::size_t end = order.size(); end > 0;) {
    std::size_t begin = end - 1;
    while (begin > 0 && order[begin - 1].key == order[end - 1].key) --begin;
    for (const bool late : {true, false}) {
      for (std::size_t i = end; i > begin; --i) {
        const Place place = order[i - 1].place;
        if ((forest.is_late[place] != 0) == late)
          Prepend(rows, RowAbove(forest, rows, place), place);
      }
    }
    end = begin;
  }
}

void AddToParent(const Forest& forest, Rows& rows, Place place) {
  const Place parent = RowAbove(forest, rows, place);
  rows.below[parent] += rows.below[place] + 1;
  rows.read_below[parent] += rows.read_below[place] + forest.is_read[place];
}

// Post-order, without recursion: each article is added to its parent once it is complete itself.
void SumUp(const Forest& forest, Rows& rows) {
  Place at = rows.root();
  while (true) {
    while (rows.first[at] != kNoPlace) at = rows.first[at];
    while (at != rows.root() && rows.next[at] == kNoPlace) {
      AddToParent(forest, rows, at);
      at = RowAbove(forest, rows, at);
    }
    if (at == rows.root()) return;
    AddToParent(forest, rows, at);
    at = rows.next[at];
  }
}

}  // namespace

void MakeRoomInForest(Forest& forest) {
  MakeRoom(forest.parent);
  MakeRoom(forest.top);
  MakeRoom(forest.size);
  MakeRoom(forest.is_late);
  MakeRoom(forest.is_read);
}

void AddToForest(Forest& forest, Place parent, bool read) {
  const Place place = forest.count();
  // What is above an article does not change while more are read.
  const Place top = parent == kNoPlace ? place : forest.top[parent];
  forest.parent.push_back(parent);
  forest.top.push_back(top);
  forest.size.push_back(0);
  forest.is_late.push_back(0);
  forest.is_read.push_back(read ? 1 : 0);
  ++forest.size[top];
}

bool LinkLate(Forest& forest, Place place, Place parent) {
  const Place top = TopOf(forest, parent);
  if (top == place) return false;
  forest.parent[place] = parent;
  forest.is_late[place] = 1;
  forest.top[place] = top;
  return true;
}

Rows MakeRows(const Forest& forest, const std::vector<SortKey>& order) {
  const std::size_t count = forest.parent.size() + 1;
  Rows rows;
  rows.first.assign(count, kNoPlace);
  rows.next.assign(count, kNoPlace);
  rows.previous.assign(count, kNoPlace);
  rows.below.assign(count, 0);
  rows.read_below.assign(count, 0);
  LinkSiblings(forest, order, rows);
  SumUp(forest, rows);
  return rows;
}

}  // namespace quillet
