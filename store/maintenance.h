// Sizes as text, the room check, compaction. Program thread only.
#pragma once

#include <cstdint>
#include <string>

#include "port/files.h"

namespace quillet {

std::u16string FormatByteSize(std::uint32_t bytes);

// Whole percentage in use: 100 - free percentage, the free one truncated. `total_bytes` 0 is 0.
std::uint32_t UsedPercent(const port::VolumeSpace& space);

// False after the message that the store is too full.
bool StoreHasRoom();

void CompactDatabases();

}  // namespace quillet
