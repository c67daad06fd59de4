// SPDX-License-Identifier: GPL-3.0-or-later
// What one run of the Connect command remembers over all the connections that it needs: after a
// loss the next one goes on where the last one was. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace quillet {

// Where the walk through a group was when its connection was lost.
struct InterruptedWalk {
  std::uint32_t wanted = 0;       // the article it was at
  bool have_current = false;      // that one is done with: the next one is wanted
  std::uint32_t downloaded = 0;   // the progress at that moment
  std::int32_t count = 0;         // as planned at the beginning
  std::int32_t remaining = 0;     // of them
  std::uint32_t cross_posts = 0;  // added so far
};

struct DownloadMemory {
  std::size_t groups_done = 0;          // of the download list, from its front
  std::optional<InterruptedWalk> walk;  // through the group behind them
  bool has_room = true;                 // cleared by a store that is too full
  bool progress_saved = true;           // cleared when it was told that it could not be
};

struct RunMemory {
  std::uint32_t retries = 0;      // how often a lost connection may be made again
  std::uint32_t connections = 0;  // made or tried so far

  std::set<std::string> posts_done;  // keys that are not sent again, still queued or not
  bool said_no_posting = false;

  DownloadMemory download;
};

extern RunMemory gRun;

// An earlier connection of this run was lost, and this one stands for it.
inline bool IsRetry() {
  return gRun.connections > 1;
}

}  // namespace quillet
