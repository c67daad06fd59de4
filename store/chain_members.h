// SPDX-License-Identifier: GPL-3.0-or-later
// Which articles are on one group's chain, for a caller who asks for many: the chain is read once,
// at the first question. Program thread only.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace quillet {

class ChainMembers {
 public:
  explicit ChainMembers(std::u16string_view group_name) : group_(group_name) {}

  // The first call uses the one iteration over chains (store/chains.h). Throws std::bad_alloc, and
  // the next call reads again.
  bool Contains(std::string_view message_id);
  // The article was put on the chain. Without a first question nothing is kept of it: that will
  // find it on the chain.
  void NoteAdded(std::string_view message_id);
  // Of an article that has just come: whether the chain names it still, since it was deleted by way
  // of another group. It must not be put there a second time then. Costs a question only for
  // articles that were deleted so.
  bool TakesBack(std::string_view message_id);

 private:
  std::u16string group_;
  std::unordered_set<std::string> ids_;
  bool read_ = false;
};

}  // namespace quillet
