#include "store/records.h"
