#include "nntp/connect.h"
