// The download engine. Program thread only, inside the connection transaction.
#pragma once

#include <cstddef>
#include <vector>

namespace quillet {

// Indexes of the groups to fetch, in display order; made by the connect command.
extern std::vector<std::size_t> gDownloadList;

void DownloadNews();

}  // namespace quillet
