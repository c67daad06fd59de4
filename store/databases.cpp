#include "store/databases.h"
