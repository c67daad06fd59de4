#include "nntp/headers.h"
