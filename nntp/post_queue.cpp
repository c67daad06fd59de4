#include "nntp/post_queue.h"

namespace quillet {

bool PostQueuedArticles() {
  return true;
}

}  // namespace quillet
