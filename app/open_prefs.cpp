#include "app/open_prefs.h"
