// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/store_room.h"

#include <algorithm>
#include <cstdint>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"

namespace quillet {
namespace {

// What one store may need besides its record: buckets that split, a larger directory.
constexpr std::uint64_t kReserve = 256 * 1024;
constexpr std::uint64_t kPercent = 100;
constexpr std::uint64_t kBlock = 4096;
// Other programs write to the volume, too.
constexpr int kStoresBetweenLooks = 64;

int gStoresLeft = 0;
std::uint64_t gBlocksLeft = 0;

const ResetAtEnd kReset(ForgetRoom);

void Look() {
  gStoresLeft = kStoresBetweenLooks;
  gBlocksLeft = 0;
  const auto space = gPlatform->files.FreeSpace(gDatabaseFolder);
  if (!space) {
    gBlocksLeft = ~std::uint64_t{0};
    return;
  }
  // On the smallest volumes less must do.
  const std::uint64_t reserve = std::min(kReserve, space->total_bytes / kPercent);
  if (space->free_bytes >= reserve) gBlocksLeft = (space->free_bytes - reserve) / kBlock + 1;
}

}  // namespace

bool RoomForRecord(std::size_t bytes) {
  const std::uint64_t blocks = bytes / kBlock + 1;
  if (--gStoresLeft < 0 || gBlocksLeft < blocks) Look();
  if (gBlocksLeft < blocks) return false;
  gBlocksLeft -= blocks;
  return true;
}

void ForgetRoom() {
  gStoresLeft = 0;
  gBlocksLeft = 0;
}

}  // namespace quillet
