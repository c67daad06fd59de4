// SPDX-License-Identifier: GPL-3.0-or-later
// Posting of the queued articles. Program thread only, inside the connection transaction.
#pragma once

#include "base/run_end.h"

namespace quillet {

// Sends every queued post, in the order of the keys, each by a POST of its own. What the server
// takes leaves the queue; what it refuses after the text was sent stays there, marked, with the
// reply beside it. kGoOn when the connection may go on to download; otherwise it is to be closed,
// and what is left stays in the queue. Problems are in the error log.
RunEnd PostQueuedArticles();

}  // namespace quillet
