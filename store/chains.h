// SPDX-License-Identifier: GPL-3.0-or-later
// Group chains: each group's doubly linked list of Message-IDs, newest first. Program thread only;
// one iteration at a time (the cursor is process-wide).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "store/databases.h"

namespace quillet {

struct GDBMGroup {
  std::uint32_t previous = 0;  // next newer chain record; 0: this is the newest
  std::uint32_t next = 0;      // head: newest chain record; chain record: next older one; 0: none
  std::uint32_t number = 0;    // chain number it was read under; 0 for a head record
  std::u16string groupName;
  std::string messageId;
};

std::unique_ptr<GDBMGroup> NewGDBMGroupPtr();

std::string SerializeGroup(const GDBMGroup& group);
// False for another format or a value whose strings do not end inside it.
bool ParseGroup(std::string_view value, GDBMGroup& group);

// A group's key: its name in code page 1252 with its NUL (also the key of its cached counts).
std::string GroupKey(std::u16string_view group_name);
// The same without its NUL: the name as chains and articles have it.
std::string NarrowGroupName(std::u16string_view group_name);

// False only when the chain record or the head could not be written.
bool AddArticleToGroup(std::u16string_view group_name, std::string_view message_id);
std::unique_ptr<GDBMGroup> GroupChainFirst(std::u16string_view group_name);
std::unique_ptr<GDBMGroup> GroupChainNext();
// The chain record of that number, on whatever group's chain; null when there is none.
std::unique_ptr<GDBMGroup> ReadChainRecord(std::uint32_t number);
// False when the record before it could not be written: it is still on the chain then.
bool RemoveFromGroupChain(std::u16string_view group_name, std::uint32_t number);
std::uint32_t NextChainNumber();
// Other files were opened: what is remembered of the counter does not belong to them.
void ForgetChainCounter();
bool StoreGroupRecord(std::string_view key, const GDBMGroup& record, StoreMode mode);

}  // namespace quillet
