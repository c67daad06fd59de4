#include "app/main_window.h"
