#include "app/base/prefs.h"
