// Posting of the queued articles. Program thread only.
#pragma once

namespace quillet {

// True when the connection may go on to download.
bool PostQueuedArticles();

}  // namespace quillet
