// The download engine. Program thread only, inside the connection transaction.
#pragma once

#include <cstddef>
#include <vector>

#include "base/run_end.h"

namespace quillet {

// Indexes of the groups to fetch, in display order; made by the connect command.
extern std::vector<std::size_t> gDownloadList;

// Tells what ended it before the last group; a store that is full does not.
RunEnd DownloadNews();

}  // namespace quillet
