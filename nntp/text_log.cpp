#include "nntp/text_log.h"
