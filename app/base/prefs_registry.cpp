#include "app/base/prefs_registry.h"
