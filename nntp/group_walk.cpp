// SPDX-License-Identifier: GPL-3.0-or-later
// The server's numbers and where a walk starts. A number that was corrected is saved together with
// the server's last one: each is wrong beside the other's former value.
#include "nntp/group_walk.h"

#include <algorithm>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "nntp/connection.h"
#include "nntp/replies.h"
#include "store/counts.h"
#include "util/format.h"

namespace quillet {
namespace {

std::uint32_t StoredIn(std::size_t group) {
  return group < gReadInfo.size() ? gReadInfo[group]->totalCount : 0;
}

// Takes the server's numbers over and corrects what they contradict.
void UpdateServerNumbers(const GroupWalk& walk) {
  auto& [downloaded, on_server] = walk.progress;
  LogTransaction(FormatNarrow("#(IS last count:%lu first: %lu last: %lu curcount: %lu max: %lu",
                              downloaded, walk.first, walk.last, StoredIn(walk.group),
                              gPrefs->maxarticles));
  if (downloaded > on_server) {
    LogTransaction("(e)");
    downloaded = on_server;
  }
  if (on_server > walk.last) {
    LogTransaction("(rollover)");
    // Meant: so the first article itself is not fetched. The number is stored, and the captions
    // count with it; what is fetched next must not depend on the version that noticed the new
    // numbering.
    downloaded = walk.first;
  }
  on_server = walk.last;
}

std::uint32_t StartNumber(const GroupWalk& walk) {
  const std::uint32_t downloaded = walk.progress.downloaded;
  const std::uint32_t window = gPrefs->maxarticles;
  std::uint32_t base = downloaded;
  if (gPrefs->downloadnewest != 0) {
    base = std::max(walk.last < window ? walk.first - 1 : walk.last - window, downloaded);
  }
  return std::max(base + 1, walk.first);
}

std::int32_t ArticlesToGet(const GroupWalk& walk) {
  const std::uint32_t start = walk.have_current ? walk.wanted + 1 : walk.wanted;
  const auto available = static_cast<std::int32_t>(walk.last - start + 1);
  const std::uint32_t stored = StoredIn(walk.group) - walk.cross_posts;
  const auto room = static_cast<std::int32_t>(gPrefs->maxarticles - stored);
  return std::max(std::min(std::max(available, 0), room), 0);
}

void TakeServerNumbers(DownloadRun& run, const GroupWalk& walk) {
  const std::u16string& group = gPrefs->groups[walk.group];
  std::uint32_t& downloaded = walk.progress.downloaded;
  const std::uint32_t before = downloaded;
  const bool try_last_again = run.under_way.LeftBehind(walk.server, group);
  if (try_last_again && downloaded > 0) --downloaded;
  UpdateServerNumbers(walk);
  NoteSaved(run, downloaded != before ? WriteProgressNumbers(*run.key, *gPrefs)
                                      : WriteLastOnServer(*run.key, *gPrefs));
  if (try_last_again) NoteSaved(run, run.under_way.NoteTried(walk.server, group));
}

}  // namespace

void NoteSaved(DownloadRun& run, bool saved) {
  if (saved || !run.progress_saved) return;
  run.progress_saved = false;
  LogError(u"The download progress could not be saved.\r\n");
}

void SaveDownloaded(DownloadRun& run) {
  NoteSaved(run, WriteLastDownloaded(*run.key, *gPrefs));
}

void SaveOnServer(DownloadRun& run) {
  NoteSaved(run, WriteLastOnServer(*run.key, *gPrefs));
}

void PlanWalk(DownloadRun& run, GroupWalk& walk,
              const std::optional<InterruptedWalk>& interrupted) {
  walk.existing = GetNumericField(gConnection.reply, 1);
  walk.first = GetNumericField(gConnection.reply, 2);
  walk.last = GetNumericField(gConnection.reply, 3);
  TakeServerNumbers(run, walk);
  if (interrupted && interrupted->downloaded == walk.progress.downloaded) {
    walk.wanted = std::max(interrupted->wanted, walk.first);
    walk.have_current = interrupted->have_current && walk.wanted == interrupted->wanted;
  } else {
    walk.wanted = StartNumber(walk);
  }
  if (interrupted) walk.cross_posts = interrupted->cross_posts;
  walk.remaining = ArticlesToGet(walk);
  if (interrupted) walk.remaining = std::min(walk.remaining, interrupted->remaining);
  walk.count = interrupted ? interrupted->count : walk.remaining;
  walk.planned = true;
  SetProgressRange(static_cast<std::uint64_t>(std::max(walk.count, 1)));
  LogTransaction(FormatNarrow(" last: %lu; starting with %lu getting %lu)\r\n",
                              walk.progress.downloaded, walk.wanted, walk.remaining));
  SetProgressDetail(FormatWide(u"article %lu", walk.wanted));
}

}  // namespace quillet
