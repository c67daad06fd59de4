// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/room.h"

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "nntp/connection.h"
#include "port/platform.h"
#include "store/bulk_store.h"
#include "store/databases.h"
#include "store/maintenance.h"

namespace quillet {
namespace {

// How many articles may come before the volume is asked again.
constexpr int kArticlesBetweenAsking = 50;

void StopForRoom(DownloadRun& run) {
  if (!run.has_room) return;
  run.has_room = false;
  LogError(
      u"Store too full to continue. Adjust preferences or delete articles to download more "
      u"news.\r\n");
}

}  // namespace

void AskForSpace(DownloadRun& run) {
  if (const auto space = gPlatform->files.FreeSpace(gDatabaseFolder)) run.space = space;
  run.stored_since_asked = 0;
  run.steps_when_asked = GrowthSteps();
}

void AskForSpaceNowAndThen(DownloadRun& run) {
  if (run.stored_since_asked >= kArticlesBetweenAsking || GrowthSteps() != run.steps_when_asked) {
    AskForSpace(run);
  }
}

void CheckRoom(DownloadRun& run) {
  if (run.space && UsedPercent(*run.space) > gPrefs->maxstore) StopForRoom(run);
}

void SayWhetherFull(DownloadRun& run) {
  if (StoreLacksRoom()) return StopForRoom(run);
  AskForSpace(run);
  CheckRoom(run);
}

}  // namespace quillet
