#include "app/base/long_operation.h"
