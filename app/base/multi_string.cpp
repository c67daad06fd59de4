#include "app/base/multi_string.h"
