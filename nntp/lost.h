// SPDX-License-Identifier: GPL-3.0-or-later
// Articles that an end without closing took from the store. Program thread only, inside a download.
#pragma once

#include "nntp/fetch.h"

namespace quillet {

// Asks the server for each by its Message-ID and puts it back on its chains. One that the server
// refuses is given up; the rest stays on the list when the run ends or the store is full.
void FetchLostArticles(DownloadRun& run);

}  // namespace quillet
