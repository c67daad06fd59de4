#include "nntp/post_queue.h"
