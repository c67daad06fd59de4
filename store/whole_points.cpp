#include "store/whole_points.h"

#include <array>
#include <cstdint>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "store/lost_articles.h"
#include "store/use_mark.h"

namespace quillet {
namespace {

constexpr DatabaseIndex kGroups = DatabaseIndex::kNewsgroups;

struct Changes {
  std::array<bool, kDatabaseCount> since_sync{};
  bool copy_settled = false;  // there is one, none could be made, or an old one must stay
  bool old_copy = false;
  bool torn = false;
};

Changes gChanges;

const ResetAtEnd kReset([] { gChanges = {}; });

bool& Changed(DatabaseIndex index) {
  return gChanges.since_sync[static_cast<std::size_t>(index)];
}

// Room that is left to the articles: a copy is worth less than the store going on.
bool RoomForCopy() {
  constexpr std::uint64_t kSpare = 1 << 20;
  const std::uint64_t size = gPlatform->files.FileSize(DatabasePath(kGroups)).value_or(0);
  const auto space = gPlatform->files.FreeSpace(gDatabaseFolder);
  return !space || space->free_bytes >= size + kSpare;
}

// A copy that fails leaves the last one, which is older and as valid.
void MakeCopy() {
  gChanges.copy_settled = true;
  if (!RoomForCopy()) return;
  if (gPlatform->files.Copy(DatabasePath(kGroups), WholeCopyPath())) NameCopyInMark();
}

bool SyncChanged() {
  bool synced = true;
  for (int i = 0; i < kDatabaseCount; ++i) {
    const auto index = static_cast<DatabaseIndex>(i);
    if (!Changed(index) || !DatabaseFile(index)) continue;
    if (DatabaseFile(index).Sync()) {
      Changed(index) = false;
    } else {
      synced = false;
    }
  }
  return synced;
}

}  // namespace

bool StoreIsWhole() {
  WriteLostArticles();
  const bool copy_is_old = Changed(kGroups);
  if (!SyncChanged() || gChanges.torn) return false;
  if (copy_is_old && !gChanges.old_copy) MakeCopy();
  return true;
}

void BeginWholePoints() {
  gChanges = {};
}

void BeforeChange(DatabaseIndex index) {
  if (index == kGroups && !gChanges.copy_settled) MakeCopy();
  SetUseMark();
  Changed(index) = true;
}

void KeepOldCopy() {
  gChanges.copy_settled = true;
  gChanges.old_copy = true;
}

void ForgetOldCopy() {
  gChanges.copy_settled = false;
  gChanges.old_copy = false;
}

void StoreIsTorn() {
  gChanges.torn = true;
}

void SyncBeforeClosing() {
  WriteLostArticles();
  SyncChanged();
}

void EndWholePoints(bool sound) {
  if (sound && !gChanges.torn) {
    ReleaseUseMark();
  } else {
    SetUseMark();
    KeepUseMark();
  }
  gChanges = {};
}

}  // namespace quillet
