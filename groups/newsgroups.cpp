#include "groups/newsgroups.h"
