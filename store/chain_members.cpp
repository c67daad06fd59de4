// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/chain_members.h"

#include <utility>

#include "store/chains.h"
#include "store/cross_posts.h"
#include "util/text.h"

namespace quillet {

// What follows a NUL is not stored, so it does not count here either.
bool ChainMembers::Contains(std::string_view message_id) {
  if (!read_) {
    std::unordered_set<std::string> ids;
    for (auto record = GroupChainFirst(group_); record; record = GroupChainNext()) {
      ids.insert(std::move(record->messageId));
    }
    ids_ = std::move(ids);
    read_ = true;
  }
  return ids_.contains(std::string(UntilNul(message_id)));
}

void ChainMembers::NoteAdded(std::string_view message_id) {
  if (read_) ids_.emplace(UntilNul(message_id));
}

bool ChainMembers::TakesBack(std::string_view message_id) {
  if (!WasDeleted(std::string(UntilNul(message_id))) || !Contains(message_id)) return false;
  NoteChained(UntilNul(message_id));
  return true;
}

}  // namespace quillet
