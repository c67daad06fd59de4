// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/whole_points.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/cross_posts.h"
#include "store/database_files.h"
#include "store/lost_articles.h"
#include "store/use_mark.h"

namespace quillet {
namespace {

struct FileState {
  bool changed = false;       // since it was synced
  bool copy_settled = false;  // there is a copy, none could be made, or an old one must stay
};

struct WholeState {
  std::array<FileState, kDatabaseCount> files;
  bool old_copies = false;
  bool torn = false;
};

WholeState gState;

const ResetAtEnd kReset([] { gState = {}; });

FileState& Of(DatabaseIndex index) {
  return gState.files[static_cast<std::size_t>(index)];
}

bool IsCopied(DatabaseIndex index) {
  return std::ranges::find(kCopiedDatabases, index) != kCopiedDatabases.end();
}

// Room that is left to the articles: a copy is worth less than the store going on.
bool RoomForCopy(DatabaseIndex index) {
  constexpr std::uint64_t kSpare = 1 << 20;
  const std::uint64_t size = gPlatform->files.FileSize(DatabasePath(index)).value_or(0);
  const auto space = gPlatform->files.FreeSpace(gDatabaseFolder);
  return !space || space->free_bytes >= size + kSpare;
}

// A queue without posts has nothing that a copy could save.
bool WorthACopy(DatabaseIndex index) {
  return index != DatabaseIndex::kPendingPosts || FirstKey(index).has_value();
}

void MakeCopy(DatabaseIndex index) {
  Of(index).copy_settled = true;
  if (WorthACopy(index) && RoomForCopy(index) &&
      gPlatform->files.Copy(DatabasePath(index), CopyPath(index))) {
    NameCopyInMark(index);
  } else if (index == DatabaseIndex::kPendingPosts) {
    // An older copy of the chains is as valid; posts that were sent since would come back from it.
    gPlatform->files.Delete(CopyPath(index));
  }
}

bool SyncFile(DatabaseIndex index) {
  if (!Of(index).changed || !DatabaseFile(index)) return true;
  if (!DatabaseFile(index).Sync()) return false;
  Of(index).changed = false;
  return true;
}

}  // namespace

bool StoreIsWhole() {
  WriteLostArticles();
  WriteDeletions();
  bool whole = !gState.torn;
  for (const DatabaseIndex index : kAllDatabases) {
    const bool changed = Of(index).changed;
    if (!SyncFile(index)) {
      whole = false;
    } else if (changed && IsCopied(index) && !gState.old_copies && !gState.torn) {
      MakeCopy(index);
    }
  }
  return whole;
}

void DropCopyOfEmptyQueue() {
  constexpr DatabaseIndex kPosts = DatabaseIndex::kPendingPosts;
  if (!gState.old_copies && !gState.torn && !WorthACopy(kPosts)) {
    gPlatform->files.Delete(CopyPath(kPosts));
  }
}

void BeginWholePoints() {
  gState = {};
  ReleaseLostArticles();
  ReleaseDeletions();
}

void BeforeChange(DatabaseIndex index) {
  FileState& file = Of(index);
  if (file.changed) return;
  if (IsCopied(index) && !file.copy_settled && !gState.old_copies) MakeCopy(index);
  SetUseMark();
  file.changed = true;
}

void KeepOldCopies() {
  gState.old_copies = true;
}

void ForgetOldCopies() {
  gState.old_copies = false;
}

void StoreIsTorn() {
  gState.torn = true;
}

void SyncBeforeClosing() {
  WriteLostArticles();
  WriteDeletions();
  for (const DatabaseIndex index : kAllDatabases) SyncFile(index);
}

void EndWholePoints(bool sound) {
  if (sound && !gState.torn) {
    ReleaseUseMark();
  } else {
    SetUseMark();
    KeepUseMark();
  }
  BeginWholePoints();
}

}  // namespace quillet
