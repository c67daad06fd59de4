// The dialog that adds killfile entries. Program thread only.
#pragma once

#include <cstdint>
#include <string_view>

namespace quillet {

// `group_index` is the group's index in the group list, -1 for none (then entries can only go to
// all groups). `author` and `subject` are shown first; 8-bit. What was added is saved at once.
// A text with characters that code page 1252 lacks is refused, which is told.
void OpenKillfileEntryDialog(int group_index, std::string_view author, std::string_view subject);

}  // namespace quillet
