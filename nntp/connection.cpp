#include "nntp/connection.h"
