// Posting of the queued articles. Program thread only, inside the connection transaction.
#pragma once

namespace quillet {

// True when the connection may go on to download. Queued posts stay in the queue: this connection
// leaves them where they are.
bool PostQueuedArticles();

}  // namespace quillet
