#include "app/startup.h"
