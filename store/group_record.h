// SPDX-License-Identifier: GPL-3.0-or-later
// Records of the newsgroups database as they are stored: a head or a chain record, with its texts
// in code page 1252. Only for store/.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

struct GroupRecord {
  std::uint32_t previous = 0;  // next newer chain record; 0: this is the newest
  std::uint32_t next = 0;      // head: newest chain record; chain record: next older one; 0: none
  std::string group;
  std::string message_id;  // empty in a head
};

inline constexpr std::size_t kPreviousOffset = 4;
inline constexpr std::size_t kNextOffset = 8;
// The key of the chain-number counter.
inline constexpr std::string_view kCounterKey = "\xFF";

// True for a value of this format, which is long enough for the links.
bool IsGroupValue(std::string_view value);
std::string SerializeGroupRecord(const GroupRecord& record);
// Nothing for another format or a value whose strings do not end inside it.
std::optional<GroupRecord> ParseGroupRecord(std::string_view value);

// The key of a chain record.
std::string NumberKey(std::uint32_t number);
// The number of a chain record; nothing for a head and for the counter. A group name of three
// letters has a key of four bytes too; heads name no article and have their own group's name.
std::optional<std::uint32_t> ChainNumberOf(std::string_view key, const GroupRecord& record);

}  // namespace quillet
