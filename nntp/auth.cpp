#include "nntp/auth.h"
