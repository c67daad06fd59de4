#include "store/counts.h"
