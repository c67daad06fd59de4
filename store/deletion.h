// SPDX-License-Identifier: GPL-3.0-or-later
// Deleting the read or all articles of groups. Program thread only.
#pragma once

#include <cstddef>

#include "base/run_end.h"
#include "base/subscriptions.h"

namespace quillet {

struct GDBMGroup;

// Deletes the read or all articles of one group (of none when there is no such group), or of the
// groups checked in the group list. Tells what ended it before its time: an abort, or a store that
// refused to go on. A tree that is shown goes with it (base/upward_calls.h).
RunEnd DeleteArticlesOf(bool only_read, GroupIndex group);
RunEnd DeleteCheckedArticles(bool only_read);
// Deletes one article of a group: its own record (without a Message-ID it has none of its own) and
// its chain record, and lowers the counts with their cache. False when the store keeps one of them:
// nothing was changed then, or the chain record counts as one of an article that is missing.
bool DeleteGroupArticle(std::size_t group_index, const GDBMGroup& record, bool was_read);

}  // namespace quillet
