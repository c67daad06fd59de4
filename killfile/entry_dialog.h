// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog that adds killfile entries. Program thread only.
#pragma once

#include <optional>
#include <string_view>

#include "base/subscriptions.h"

namespace quillet {

// `group` is the group that entries go to; without one they can only go to all groups. `author` and
// `subject` are shown first; as stored. What was added is saved at once. While decoding is off a
// text with characters that code page 1252 lacks is refused, which is told.
void OpenKillfileEntryDialog(std::optional<GroupIndex> group, std::string_view author,
                             std::string_view subject);

}  // namespace quillet
