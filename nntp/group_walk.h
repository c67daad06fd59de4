// SPDX-License-Identifier: GPL-3.0-or-later
// The numbers of the way through one group: where it starts, how far it goes, and what of it is in
// the registry. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "base/subscriptions.h"
#include "nntp/fetch.h"
#include "nntp/run_memory.h"

namespace quillet {

// The way through one group. Numbers wrap at 32 bits; count and remaining are signed.
struct GroupWalk {
  std::size_t group;
  std::u16string server;  // whose numbers these are
  GroupProgress progress;
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  std::uint32_t existing = 0;  // articles between them, as the server estimates
  std::uint32_t wanted = 0;
  std::int32_t count = 0;
  std::int32_t remaining = 0;
  std::uint32_t cross_posts = 0;  // added on the way; no room was planned for them
  std::uint32_t handled = 0;  // articles done with over this connection, whatever became of them
  bool planned = false;
  bool first_command = true;
  bool have_current = false;  // the server stands at an article, NEXT leads on from it; of a walk
                              // that goes on it is still to be led there
  bool next_sent = false;     // NEXT was sent already, its reply has not been read
};

// From the reply to GROUP: takes the server's numbers over, corrects what they contradict, saves
// them, and plans the walk. An interrupted one goes on where it was with what was left of it; when
// the server has changed its numbers meanwhile, only with what was left.
void PlanWalk(DownloadRun& run, GroupWalk& walk, const std::optional<InterruptedWalk>& interrupted);

// Whether the progress could be written; that it could not is told to the user once a run.
void NoteSaved(DownloadRun& run, bool saved);
void SaveDownloaded(DownloadRun& run);
void SaveOnServer(DownloadRun& run);

}  // namespace quillet
