// SPDX-License-Identifier: GPL-3.0-or-later
// A doubly linked list in the newsgroups database: a head under the group's name, a record a chain
// number, the newest first. Writes are ordered so that a writer killed between two of them leaves a
// chain that can be walked along `next`; `previous` is only a hint and is checked before it is
// used.
#include "store/chains.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/records.h"
#include "base/reset.h"
#include "store/cross_posts.h"
#include "store/group_record.h"
#include "store/record_strings.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr DatabaseIndex kGroups = DatabaseIndex::kNewsgroups;

// A head or chain record as it is stored; its links can be read and changed in place.
struct StoredLinks {
  std::uint32_t number = 0;  // 0 for a head
  std::string key;
  std::string value;

  std::uint32_t previous() const { return GetU32(value, kPreviousOffset); }
  std::uint32_t next() const { return GetU32(value, kNextOffset); }
  bool Put(std::size_t offset, std::uint32_t link) {
    PutU32(value, offset, link);
    return StoreValue(kGroups, key, value, StoreMode::kReplace);
  }
};

std::optional<StoredLinks> FetchLinks(std::uint32_t number, std::string key) {
  auto value = FetchValue(kGroups, key);
  if (!value || !IsGroupValue(*value)) return std::nullopt;
  return StoredLinks{number, std::move(key), std::move(*value)};
}

std::optional<StoredLinks> FetchHead(std::u16string_view group_name) {
  return FetchLinks(0, GroupKey(group_name));
}

std::optional<StoredLinks> FetchChainRecord(std::uint32_t number) {
  if (number == 0) return std::nullopt;
  return FetchLinks(number, NumberKey(number));
}

// Ends walks over damaged chains that lead in circles, by Brent's cycle detection: each number is
// compared with an anchor, which moves on after 2, 4, 8... steps, so that a circle is found after a
// few rounds at most and without any memory of the way.
class CircleGuard {
 public:
  bool Closes(std::uint32_t number) {
    if (number == anchor_) return true;
    if (++steps_ == limit_) {
      anchor_ = number;
      steps_ = 0;
      limit_ *= 2;
    }
    return false;
  }

 private:
  std::uint32_t anchor_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t limit_ = 2;
};

// The one iteration over a chain.
struct Cursor {
  std::uint32_t number = 0;
  CircleGuard guard;
};
Cursor gCursor;

// The value the counter should have when storing it failed, else 0: a number is never handed out
// twice, for its second record would take the first one's place.
std::uint32_t gCounterNotStored = 0;

const ResetAtEnd kReset([] {
  gCursor = {};
  gCounterNotStored = 0;
});

// The record whose `next` is N. A writer that was killed may have left N without a `previous`, or
// with an outdated one, so the chain itself is asked when the record named does not agree.
std::optional<StoredLinks> FetchBefore(std::u16string_view group_name, const StoredLinks& record) {
  auto before = FetchChainRecord(record.previous());
  if (before && before->next() == record.number) return before;
  CircleGuard guard;
  before = FetchHead(group_name);
  while (before && before->next() != record.number) {
    const std::uint32_t next = before->next();
    if (guard.Closes(next)) return std::nullopt;
    before = FetchChainRecord(next);
  }
  return before;
}

bool IsChainKey(std::string_view key) {
  const auto value = key.size() == 4 ? FetchValue(kGroups, key) : std::nullopt;
  const auto record = value ? ParseGroupRecord(*value) : std::nullopt;
  return record && ChainNumberOf(key, *record);
}

std::uint32_t HighestChainNumber() {
  std::uint32_t highest = 0;
  for (auto key = FirstKey(kGroups); key; key = NextKey(kGroups, *key)) {
    if (IsChainKey(*key)) highest = std::max(highest, GetU32(*key, 0));
  }
  return highest;
}

// A lost or damaged counter must not hand out a number twice, so the records themselves are asked.
std::uint32_t CounterValue() {
  const auto value = FetchValue(kGroups, kCounterKey);
  if (value && value->size() == 4 && GetU32(*value, 0) != 0) return GetU32(*value, 0);
  return HighestChainNumber() + 1;
}

bool StoreChainRecord(std::uint32_t number, std::u16string_view group_name,
                      std::string_view message_id, std::uint32_t next) {
  const GDBMGroup record{0, next, number, std::u16string(group_name), std::string(message_id)};
  const std::string key = NumberKey(number);
  return StoreGroupRecord(key, record, StoreMode::kInsert) ||
         StoreGroupRecord(key, record, StoreMode::kReplace);
}

}  // namespace

std::unique_ptr<GDBMGroup> NewGDBMGroupPtr() {
  return NewRecord<GDBMGroup>(u"NewGDBMGroupPtr");
}

std::string SerializeGroup(const GDBMGroup& group) {
  return SerializeGroupRecord(
      {group.previous, group.next, Narrow(group.groupName), group.messageId});
}

bool ParseGroup(std::string_view value, GDBMGroup& group) {
  auto record = ParseGroupRecord(value);
  if (!record) return false;
  group.previous = record->previous;
  group.next = record->next;
  group.groupName = Widen(record->group);
  group.messageId = std::move(record->message_id);
  return true;
}

std::string NarrowGroupName(std::u16string_view group_name) {
  std::string key = GroupKey(group_name);
  key.pop_back();
  return key;
}

std::string GroupKey(std::u16string_view group_name) {
  return StringKey(Narrow(group_name));
}

bool StoreGroupRecord(std::string_view key, const GDBMGroup& record, StoreMode mode) {
  return StoreValue(kGroups, key, SerializeGroup(record), mode);
}

std::uint32_t NextChainNumber() {
  const std::uint32_t number = std::max(CounterValue(), gCounterNotStored);
  std::string value;
  AppendU32(value, number + 1);
  const bool stored = StoreValue(kGroups, kCounterKey, value, StoreMode::kReplace);
  gCounterNotStored = stored ? 0 : number + 1;
  return number;
}

void ForgetChainCounter() {
  gCounterNotStored = 0;
}

bool AddArticleToGroup(std::u16string_view group_name, std::string_view message_id) {
  const std::string head_key = GroupKey(group_name);
  const auto head_value = FetchValue(kGroups, head_key);
  const bool existed = head_value.has_value();
  GDBMGroup head;
  if (!existed || !ParseGroup(*head_value, head)) head = {0, 0, 0, std::u16string(group_name), {}};
  const std::uint32_t number = NextChainNumber();
  const std::uint32_t older = head.next;
  // Number 0 means "none": a counter that has gone all the way round.
  if (number == 0 || !StoreChainRecord(number, group_name, message_id, older)) return false;
  head.next = number;
  if (!StoreGroupRecord(head_key, head, existed ? StoreMode::kReplace : StoreMode::kInsert)) {
    return false;
  }
  NoteChained(message_id);
  if (older == 0) return true;
  if (auto links = FetchChainRecord(older)) links->Put(kPreviousOffset, number);
  return true;
}

std::unique_ptr<GDBMGroup> GroupChainFirst(std::u16string_view group_name) {
  gCursor = {};
  if (const auto head = FetchHead(group_name)) gCursor.number = head->next();
  return GroupChainNext();
}

std::unique_ptr<GDBMGroup> GroupChainNext() {
  const std::uint32_t number = gCursor.number;
  gCursor.number = 0;
  if (number == 0 || gCursor.guard.Closes(number)) return nullptr;
  auto record = ReadChainRecord(number);
  if (record) gCursor.number = record->next;
  return record;
}

std::unique_ptr<GDBMGroup> ReadChainRecord(std::uint32_t number) {
  if (number == 0) return nullptr;
  const auto value = FetchValue(kGroups, NumberKey(number));
  if (!value) return nullptr;
  auto record = NewGDBMGroupPtr();
  if (!record || !ParseGroup(*value, *record)) return nullptr;
  record->number = number;
  return record;
}

bool RemoveFromGroupChain(std::u16string_view group_name, std::uint32_t number) {
  // The neighbours first and the record last: a writer killed in between leaves a chain that can
  // still be walked to its end.
  if (const auto record = FetchChainRecord(number)) {
    auto before = FetchBefore(group_name, *record);
    auto after = FetchChainRecord(record->next());
    if (after) after->Put(kPreviousOffset, before ? before->number : record->previous());
    if (before && !before->Put(kNextOffset, record->next())) return false;
  }
  DeleteValue(kGroups, NumberKey(number));
  return true;
}

}  // namespace quillet
