#include "app/base/messages.h"
