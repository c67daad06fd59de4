// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/bulk_store.h"

#include <string>
#include <string_view>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/databases.h"

namespace quillet {
namespace {

constexpr std::size_t kStep = 128 * 1024;
// The library needs room for more than the bytes of a record.
constexpr std::size_t kMargin = 16 * 1024;
// A few articles are not worth a step.
constexpr int kFewArticles = 32;
// Near the end of a volume every byte is left to the articles.
constexpr std::uint64_t kSpareVolume = 64 * 1024 * 1024;
// No Message-ID and no group name begins with this byte. A writer killed at the wrong moment leaves
// the record behind; the next step takes it away.
constexpr std::string_view kRoomKey("\0room", 5);

bool gActive = false;
int gStored = 0;            // articles since the bulk began
std::size_t gRoomLeft = 0;  // of the last step
int gSteps = 0;             // since the bulk began

const ResetAtEnd kReset([] {
  gActive = false;
  gStored = 0;
  gRoomLeft = 0;
  gSteps = 0;
});

bool VolumeHasRoom() {
  const auto space = gPlatform->files.FreeSpace(gDatabaseFolder);
  return space && space->free_bytes >= kSpareVolume;
}

void MakeRoom() {
  gRoomLeft = kStep;
  if (!VolumeHasRoom()) return;
  const std::string room(kStep, '\0');
  ++gSteps;
  if (StoreValue(DatabaseIndex::kArticles, kRoomKey, room, StoreMode::kReplace)) {
    DeleteValue(DatabaseIndex::kArticles, kRoomKey);
  }
}

}  // namespace

BulkStore::BulkStore() {
  gActive = true;
  gStored = 0;
  gRoomLeft = 0;
  gSteps = 0;
}

BulkStore::~BulkStore() {
  gActive = false;
}

int GrowthSteps() {
  return gSteps;
}

bool BulkStoring() {
  return gActive;
}

void NoteArticleStored(std::size_t bytes) {
  if (!gActive || ++gStored < kFewArticles) return;
  gRoomLeft -= bytes < gRoomLeft ? bytes : gRoomLeft;
  if (gRoomLeft < kMargin) MakeRoom();
}

}  // namespace quillet
