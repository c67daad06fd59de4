// SPDX-License-Identifier: GPL-3.0-or-later
// The download engine. Program thread only, inside the connection transaction.
#pragma once

#include <vector>

#include "base/run_end.h"
#include "base/subscriptions.h"

namespace quillet {

// The groups to fetch, in display order; made by the connect command.
extern std::vector<GroupIndex> gDownloadList;

// Tells what ended it before the last group; a store that is full does not.
RunEnd DownloadNews();

}  // namespace quillet
