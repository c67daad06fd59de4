// SPDX-License-Identifier: GPL-3.0-or-later
// The points at which the store is whole: no article, chain record or count is under way. There the
// files are synced, and the two smaller ones, newsgroups and (unless it is empty) pending posts,
// are copied beside themselves, so that what a later kill takes out of them can be put back.
// Program thread only.
#pragma once

#include "store/databases.h"

namespace quillet {

// To be called at the end of a connection, a deletion, a marking of many and the like. Free when
// nothing was written since the last one. False when a file could not be synced, or when the open
// files are known to be damaged; nobody needs to be told: what was stored is stored.
bool StoreIsWhole();

// What StoreIsWhole does for a queue that was emptied, without the sync: a kill then brings nothing
// back.
void DropCopyOfEmptyQueue();

// --- Only for store/ -----------------------------------------------------------------------------

// Other files are about to be opened.
void BeginWholePoints();
// Before every write: sets the use mark, and sees to it that there is a copy of a file that has
// one.
void BeforeChange(DatabaseIndex index);

// The files that were opened were left by a killed writer: its copies stay as they are until the
// files are whole again.
void KeepOldCopies();
// They are: from now on whole points count again.
void ForgetOldCopies();
// An open file was found damaged: what is copied now would be no better than the last copies.
void StoreIsTorn();

// The files are about to be closed, and then were: the mark and the copies go, unless the next
// opening needs them.
void SyncBeforeClosing();
void EndWholePoints(bool sound);

}  // namespace quillet
