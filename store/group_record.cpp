// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/group_record.h"

#include "store/record_strings.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

constexpr std::uint32_t kGroupFormat = 1;
constexpr std::size_t kGroupHeader = 12;

}  // namespace

bool IsGroupValue(std::string_view value) {
  return value.size() >= kGroupHeader + kSlackLength && value.size() <= kLongestRecord &&
         GetU32(value, 0) == kGroupFormat;
}

std::string SerializeGroupRecord(const GroupRecord& record) {
  std::string value;
  value.reserve(kGroupHeader + record.group.size() + record.message_id.size() + 2 + kSlackLength);
  for (const std::uint32_t word : {kGroupFormat, record.previous, record.next}) {
    AppendU32(value, word);
  }
  for (const std::string_view text : {UntilNul(record.group), UntilNul(record.message_id)}) {
    value.append(text);
    value.push_back('\0');
  }
  value.append(kSlackLength, '\0');
  return value;
}

std::optional<GroupRecord> ParseGroupRecord(std::string_view value) {
  if (!IsGroupValue(value)) return std::nullopt;
  StringReader reader(value.substr(kGroupHeader, value.size() - kGroupHeader - kSlackLength));
  const auto name = reader.Next();
  const auto message_id = reader.Next();
  if (!name || !message_id) return std::nullopt;
  return GroupRecord{GetU32(value, kPreviousOffset), GetU32(value, kNextOffset), std::string(*name),
                     std::string(*message_id)};
}

std::string NumberKey(std::uint32_t number) {
  std::string key;
  AppendU32(key, number);
  return key;
}

std::optional<std::uint32_t> ChainNumberOf(std::string_view key, const GroupRecord& record) {
  if (key.size() != 4) return std::nullopt;
  if (record.message_id.empty() && key == StringKey(record.group)) return std::nullopt;
  return GetU32(key, 0);
}

}  // namespace quillet
