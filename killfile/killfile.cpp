#include "killfile/killfile.h"
