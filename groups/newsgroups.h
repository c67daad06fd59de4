// Removing newsgroups, preferences, counts and killfile together, and judging the names of new ones
// (store/new_group.h adds them). Program thread only.
#pragma once

#include <string>
#include <string_view>

#include "base/subscriptions.h"

namespace quillet {

// Removes the group with its state and killfile entries, clears the current group and the thread
// view, and writes the preferences. A place beyond the list does nothing.
void RemoveNewsgroupFromPrefs(GroupIndex group);

// Trims the name and judges it: the text that says what is wrong with it, empty when it is good.
std::u16string JudgeNewGroupName(std::u16string& name);

}  // namespace quillet
