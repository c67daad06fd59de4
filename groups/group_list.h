// The group list view and its commands. Program thread only.
#pragma once

#include <cstdint>
#include <string>

#include "thread/current.h"

namespace quillet {

// Creates the list in the group pane, empty, with the columns and font of the preferences.
void CreateGroupList();
// Fills or refills it; from the second time on the boxes are first read back into `checked`.
void FillGroupList();
// Counts, status line and queued posts, rows and boxes untouched.
void RefreshGroupCounts();
// The list has gone (the main window is re-made): the next fill is a first one.
void ForgetGroupList();

// Makes the selected row the current group and shows it in the thread view; false, and nothing is
// done, when no row is selected.
bool OpenSelectedGroup();

// "%lu article%ls queued for posting".
std::u16string QueuedPostsText();

// Commands of the group view; other ids are ignored.
void HandleGroupCommand(std::uint32_t command);

}  // namespace quillet
