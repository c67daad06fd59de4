#include "store/maintenance.h"
