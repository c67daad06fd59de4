#include "store/compression.h"
