// SPDX-License-Identifier: GPL-3.0-or-later
// What a writer that will be killed has begun and finished, in memory that outlives it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillet {

enum class Deed : std::uint8_t {
  kOpen,        // the databases
  kStore,       // article `number` into group `detail`
  kDelete,      // article `number`
  kMark,        // article `number` as read (`detail` 1) or unread (0)
  kDeleteRead,  // all read articles of group `detail`
  kDeleteAll,   // all articles of group `detail`
  kEmpty,       // all articles of all groups
  kWhole,       // the store was said to be whole
  kPost,        // post `number` into the queue
  kUnpost,      // and out of it
  kCompact,
  kConvert,     // into the form `detail`: compressed (1) or plain (0)
  kCompress,    // kConvert with that detail
  kUncompress,  // likewise
  kPurge,       // all articles and all posts
};
const char* NameOf(Deed deed);

struct Entry {
  Deed deed;
  std::uint8_t detail;
  bool done;
  std::uint32_t number;
};

// Zeroed when it is made: it is mapped, not constructed.
struct DeedLog {
  static constexpr std::size_t kCapacity = 4000;
  volatile std::uint32_t count;
  volatile std::uint32_t open_microseconds;  // from the fork until the databases were open
  Entry entries[kCapacity];
  char complaint[1000];  // why the writer gave up, if it did
};

// Memory shared with every process forked from now on, for one log after the other; never freed.
DeedLog& SharedLog();
void ClearLog(DeedLog& log);

}  // namespace quillet
