// SPDX-License-Identifier: GPL-3.0-or-later
// What has changed, told by whoever changed it to whoever shows it: the one notes it, the other
// keeps how far it has seen. Nobody names a view, and a view needs not be there. Program thread
// only.
#pragma once

#include <cstdint>

namespace quillet {

// Kinds of changes; they combine with |.
enum class Change : unsigned {
  // The store holds other articles, or other marks, than those who show it were told of: after a
  // download, an import, a reopening, a deletion or marking past what is shown.
  kStore = 1,
  kCounts = 2,       // of a group's articles
  kGroupList = 4,    // the list of groups
  kQueuedPosts = 8,  // queued posts
};

constexpr Change operator|(Change a, Change b) {
  return static_cast<Change>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

void NoteChange(Change what);

// How far its owner has seen the changes of some kinds. Up to date when it is made.
class SeenChanges {
 public:
  explicit SeenChanges(Change about);

  // True after a change that was noted, or Invalidate, since it was last brought up to date.
  bool OutOfDate() const;
  // All that was noted until now has been seen.
  void BringUpToDate();
  // The owner itself knows better: out of date whatever was noted.
  void Invalidate() { invalid_ = true; }

 private:
  Change about_;
  std::uint64_t seen_ = 0;  // the changes noted until then
  bool invalid_ = false;
};

}  // namespace quillet
