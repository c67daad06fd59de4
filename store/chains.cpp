#include "store/chains.h"
