// SPDX-License-Identifier: GPL-3.0-or-later
// Room on the store's volume during a run: asked now and then and counted on in between. What the
// databases take beside the articles' texts, and others of the volume, is not counted. Program
// thread only.
#pragma once

#include "nntp/fetch.h"

namespace quillet {

// When the volume cannot be asked, what was counted stays.
void AskForSpace(DownloadRun& run);
// Asks when 50 articles were stored since, or the articles file was made larger by a step.
void AskForSpaceNowAndThen(DownloadRun& run);
// Clears `has_room`, with a line in the error log, when more than the allowed percentage is in use.
void CheckRoom(DownloadRun& run);
// A store that failed may have done so for lack of room, or while room is short.
void SayWhetherFull(DownloadRun& run);

}  // namespace quillet
