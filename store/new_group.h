// SPDX-License-Identifier: GPL-3.0-or-later
// Adding a newsgroup: preferences and counts together. Program thread only.
#pragma once

#include <string_view>

namespace quillet {

// Appends the group, checked, with the counts of what the store has on its chain, and writes the
// preferences. False when one of both could not be done, which is told.
bool AddNewsgroupToPrefs(std::u16string_view name);

}  // namespace quillet
