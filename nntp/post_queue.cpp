#include "nntp/post_queue.h"

namespace quillet {

RunEnd PostQueuedArticles() {
  return RunEnd::kGoOn;
}

}  // namespace quillet
