#include "nntp/download.h"
