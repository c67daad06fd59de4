// SPDX-License-Identifier: GPL-3.0-or-later
// The place where the user left off: the window, the last open group, the view and the article with
// the place in its text. Kept below Software\Brindle\Quillet\Extensions\Place by the extension
// `restoreplace`; while that is off nothing is read or written. Program thread only.
#pragma once

#include <optional>

#include "port/windows.h"

namespace quillet {

// Where the main window was; nothing when none is kept or what is kept cannot be meant.
std::optional<port::WindowPlace> KeptWindowPlace();

// Opens the kept group again, by its name, and in it the view, the article and the place in it, as
// far as they are still there. Nothing is done when the user was faster, and when the group has
// gone or has nothing to read.
void RestorePlace();

// Keeps the place as it is now; before the main window and the store are closed.
void KeepPlace();
// From now on the program does not end as the user wanted: what is shown may be the cause, and the
// next start opens nothing by itself.
void KeepOnlyTheGroup();
// The same when the current group is another one than the place that was kept last: a run that is
// killed begins in its group again. Costs next to nothing otherwise.
void KeepPlaceOfNewGroup();

}  // namespace quillet
