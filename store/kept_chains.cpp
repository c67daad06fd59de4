// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/kept_chains.h"

#include <algorithm>
#include <unordered_set>

#include "store/group_record.h"
#include "store/record_strings.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

using Numbers = std::unordered_set<std::uint32_t>;

struct Reading {
  KeptChains& chains;
  Numbers& numbers;  // of the records taken so far
  bool stored;       // false: in the copy
};

void TakeCounter(Reading& reading, std::string_view value) {
  if (value.size() != 4) return;
  const std::uint32_t counter = GetU32(value, 0);
  if (reading.stored) reading.chains.stored_counter = counter;
  reading.chains.counter = std::max(reading.chains.counter, counter);
}

void TakeRecord(Reading& reading, std::string_view key, std::string_view value) {
  auto record = ParseGroupRecord(value);
  if (!record) return;
  const auto number = ChainNumberOf(key, *record);
  if (!number) {
    const bool is_head = record->message_id.empty() && key == StringKey(record->group);
    if (is_head && reading.stored) reading.chains.groups[record->group].head = record->next;
    return;
  }
  if (*number == 0 || *number == ~0U || !reading.numbers.insert(*number).second) return;
  reading.chains.counter = std::max(reading.chains.counter, *number + 1);
  reading.chains.groups[record->group].links.push_back(
      {*number, record->previous, record->next, std::move(record->message_id), reading.stored});
}

// False when the walk broke off.
bool TakeAll(Reading reading, GdbmFile& file, std::uint64_t size) {
  for (auto key = file.FirstKey(size); key; key = file.NextKey(*key)) {
    const HeldValue value = file.FetchHeld(*key);
    if (!value) return false;
    if (*key == kCounterKey) {
      TakeCounter(reading, value.view());
    } else {
      TakeRecord(reading, *key, value.view());
    }
  }
  return file.WalkComplete();
}

bool LeadsNowhere(const Numbers& numbers, std::uint32_t link) {
  return link != 0 && !numbers.contains(link);
}

void Arrange(KeptChain& chain, const Numbers& numbers) {
  SortLinks(chain);
  chain.has_gap = LeadsNowhere(numbers, chain.head.value_or(0)) ||
                  std::ranges::any_of(chain.links, [&](const ChainLink& link) {
                    return LeadsNowhere(numbers, link.next);
                  });
}

}  // namespace

void SortLinks(KeptChain& chain) {
  std::ranges::sort(chain.links, std::ranges::greater(), &ChainLink::number);
}

KeptChains ReadKeptChains(GdbmFile& file, std::uint64_t file_size, GdbmFile& copy,
                          std::uint64_t copy_size) {
  KeptChains chains;
  Numbers numbers;
  chains.complete = TakeAll({chains, numbers, true}, file, file_size);
  if (copy) TakeAll({chains, numbers, false}, copy, copy_size);
  for (auto& [name, chain] : chains.groups) Arrange(chain, numbers);
  return chains;
}

}  // namespace quillet
