// SPDX-License-Identifier: GPL-3.0-or-later
// Sizes as text, the room on the volumes, compaction and purging. Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "port/files.h"

namespace quillet {

std::u16string FormatByteSize(std::uint32_t bytes);

// Whole percentage in use: 100 - free percentage, the free one truncated. `total_bytes` 0 is 0.
std::uint32_t UsedPercent(const port::VolumeSpace& space);

// False after the message that the store is too full.
bool StoreHasRoom();

// How full the volume of a store is (empty: main memory), as UsedPercent tells; nothing when there
// is no such card. The store's folder need not be there yet.
std::optional<std::uint32_t> StoreUsedPercent(std::u16string_view databasestore);
// Names of the mounted cards that databases can be written on, sorted.
std::vector<std::u16string> StorageCards();

void CompactDatabases();

// Deletes all three databases, with what is kept of them beside, and opens empty ones; the thread
// view and the article view are cleared. Asks nothing. False after a message that one of them could
// not be deleted, or after the report of ReopenDatabases.
bool PurgeDatabases();

}  // namespace quillet
