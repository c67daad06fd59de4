// SPDX-License-Identifier: GPL-3.0-or-later
// Marking the articles of whole groups. Program thread only.
#pragma once

#include "base/run_end.h"

namespace quillet {

// Marks every article of the checked groups, under the runner. Group counts and
// the counts of the shown tree follow; labels are left to the next showing of the thread view.
// Tells what ended it before its time: an abort, or a store that refused.
RunEnd MarkCheckedGroups(bool read);

}  // namespace quillet
