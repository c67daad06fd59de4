// Posting of the queued articles. Program thread only, inside the connection transaction.
#pragma once

#include "base/run_end.h"

namespace quillet {

// kGoOn when the connection may go on to download. Queued posts stay in the queue: this connection
// leaves them where they are.
RunEnd PostQueuedArticles();

}  // namespace quillet
