// SPDX-License-Identifier: GPL-3.0-or-later
// The group list view and its commands. Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "thread/reading.h"

namespace quillet {

// Creates the list in the group pane, with the columns and font of the preferences, and fills it:
// the current group's row is selected.
void CreateGroupList();
// Fills it anew; the row that is selected stays so.
void FillGroupList();
// The same with that group's row selected; without a group none is.
void FillGroupListAt(std::optional<GroupIndex> group);
// Counts, status line and queued posts, rows and boxes untouched.
void RefreshGroupCounts();
// Counts alone: while a long operation runs.
void ShowGroupCounts();
// What a connection has brought: in the status line from its next refresh on, in front of the
// queued posts if there are any, until there is something else to count. Empty: only those.
void TellResultOfRun(std::u16string_view text);

// The steps to the first article, below the rows: while no group has an article, and the extension
// is on. After whatever changes servers, groups, counts or that choice; filling the list and
// refreshing its counts do it too.
void RefreshStartGuide();

// The user has changed the box of a row, which showed the group of that name.
void HandleRowChecked(std::uint32_t row, bool checked, std::u16string_view name);
// A column has got another width, in pixels.
void HandleColumnSized(std::uint32_t column, std::uint32_t width);

// Makes the selected row the current group and shows it in the thread view; false, and nothing is
// done, when no row is selected.
bool OpenSelectedGroup();

// Makes that group the current one and selects its row.
void SelectGroup(GroupIndex group);
// The same, and shows it in the thread view.
void ShowGroup(GroupIndex group);

// "%lu article%ls queued for posting".
std::u16string QueuedPostsText();

// Commands of the group view; other ids are ignored.
void HandleGroupCommand(std::uint32_t command);

}  // namespace quillet
