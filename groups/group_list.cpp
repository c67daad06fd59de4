#include "groups/group_list.h"
