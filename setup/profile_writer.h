// SPDX-License-Identifier: GPL-3.0-or-later
// Puts what was given into a profile, all of it or nothing. Program thread only.
#pragma once

#include <string>
#include <vector>

#include "port/linux/profile.h"
#include "setup/options.h"

namespace quillet::setup {

struct Written {
  std::string problem;             // why nothing was written; empty when it was
  std::vector<std::string> notes;  // what the program would say of the settings that were there
};

// Refuses while the program runs with that profile: it writes its own settings when it ends. The
// options are judged already; `password` is the one for --user.
Written WriteProfile(const port::Profile& profile, const Options& options,
                     const std::u16string& password);

}  // namespace quillet::setup
