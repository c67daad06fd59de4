// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own messages to its main window (kUser, by id). Lower folders post them to make
// something happen above themselves.
#pragma once

#include <cstdint>

#include "base/messages.h"
#include "port/message_queue.h"
#include "port/platform.h"

namespace quillet {

constexpr std::uint32_t kUserScheduledDownload = 2;  // a scheduled start: a download is wanted
constexpr std::uint32_t kUserRefreshCounts = 3;      // counts, status line, queued posts
constexpr std::uint32_t kUserRefillGroupList = 4;    // the whole group list anew
constexpr std::uint32_t kUserPostQueued = 5;         // one more post waits to be sent
// All scheduled starts that came before it: refill the group list, then connect.
constexpr std::uint32_t kUserScheduledTurn = 6;

constexpr std::uint32_t kUserDraftNotSaved = 7;  // what is being written is not safe
constexpr std::uint32_t kUserShowPostQueue = 8;  // the list of queued posts again
constexpr std::uint32_t kUserOfferDraft = 9;     // what a crash has left of an article
constexpr std::uint32_t kUserNewsLink = 10;      // a link was given to the program; text: the link
constexpr std::uint32_t kUserRestorePlace = 14;  // the group, view and article of the last run

inline void PostToMainWindow(std::uint32_t user_message) {
  gPlatform->messages.Post({gMainWindow, port::MessageKind::kUser, user_message, 0, {}});
}

}  // namespace quillet
