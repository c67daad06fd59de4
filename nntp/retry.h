// SPDX-License-Identifier: GPL-3.0-or-later
// The wait before a lost connection is made again. Program thread only.
#pragma once

#include <cstdint>

#include "base/run_end.h"

namespace quillet {

// Counts down in the progress dialog: 5 seconds before the first attempt, 15 before the second, 45
// before each other. kGoOn at its end; an abort request ends it within a tenth of a second.
RunEnd WaitBeforeRetry(std::uint32_t attempt);

}  // namespace quillet
