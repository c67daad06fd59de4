// SPDX-License-Identifier: GPL-3.0-or-later
// Marking articles of the shown tree read or unread. Program thread only.
#pragma once

#include "base/run_end.h"
#include "store/node.h"

namespace quillet {

// Marks an article node, or under the runner every article of a thread or of the whole tree. Group
// counts, the counts of the tree and the labels follow. A store that refuses an article ends it.
// Tells what ended it before its time.
RunEnd MarkNode(Node& node, bool read);

}  // namespace quillet
