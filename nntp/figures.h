// SPDX-License-Identifier: GPL-3.0-or-later
// The figures of the running connection: the line in the progress dialog, the counts of the group
// list behind it while articles come, and what is told at the end. Program thread only, but for
// what FiguresOfRun returns. With the extension progressline switched off all this does nothing.
#pragma once

#include <cstddef>
#include <string>

#include "base/long_operation.h"
#include "base/run_end.h"
#include "nntp/group_walk.h"

namespace quillet {

// For RunWithProgress.
ProgressFigures FiguresOfRun();

// A run begins, over the groups of the download list.
void BeginFigures();

void NotePosting(std::size_t place, std::size_t count);  // from 1
void NotePosted();                                       // the server has taken one
void NoteLostArticle(std::size_t place, std::size_t count);
void NoteGroup(std::size_t place);  // of the download list, from 0: it is visited
void NotePlan(const GroupWalk& walk);
void NoteWalk(const GroupWalk& walk);  // it has moved on
void NoteStoreFull();
// Nothing comes until the next group is entered: the connection is lost.
void NotePause();

// The run has ended so; from then on its result can be taken.
void EndFigures(RunEnd end);
// "412 new articles in 5 groups, 3 posted, 0:31."; empty when there was no run, or nothing is to be
// told. Once.
std::u16string TakeResultOfRun();

}  // namespace quillet
