// SPDX-License-Identifier: GPL-3.0-or-later
// Removing newsgroups, preferences, counts and killfile together, and judging the names of new ones
// (store/new_group.h adds them). Program thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/subscriptions.h"

namespace quillet {

// Removes the group with its state and killfile entries, clears the current group and the thread
// view, and writes the preferences. A place beyond the list does nothing.
void RemoveNewsgroupFromPrefs(GroupIndex group);

// The group of the list with that name, as the store knows names: 8-bit, so that what differs in
// characters beyond code page 1252 only is the same.
std::optional<GroupIndex> FindNewsgroup(std::u16string_view name);

// Trims the name and judges it: the text that says what is wrong with it, empty when it is good.
std::u16string JudgeNewGroupName(std::u16string& name);

}  // namespace quillet
