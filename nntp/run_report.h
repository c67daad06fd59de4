// SPDX-License-Identifier: GPL-3.0-or-later
// What a connection has brought, in a line. Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/run_end.h"

namespace quillet {

struct RunResult {
  std::uint64_t articles = 0;  // that were not in their groups before
  std::size_t groups = 0;      // that have got some of them
  std::size_t posts = 0;       // that the server has taken
  std::uint64_t seconds = 0;
  RunEnd end = RunEnd::kGoOn;
  bool store_full = false;
};

// "412 new articles in 5 groups, 3 posted, 0:31." Posts are left out when there were none; what
// ended the run before its time stands last: "No new articles, 0:05, connection lost."
std::u16string RunReport(const RunResult& result);

}  // namespace quillet
