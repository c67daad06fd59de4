// SPDX-License-Identifier: GPL-3.0-or-later
// Where a password comes from that must not stand in the arguments. Program thread only.
#pragma once

#include <string>

#include "setup/options.h"

namespace quillet::setup {

struct Password {
  std::u16string text;
  std::string problem;  // why there is none; empty when all is well
};

// The one that the options name; an empty one when they name none. Waits for the user when they ask
// for that; a signal that ends the program gives the terminal its echo back first.
Password ReadPassword(const Options& options);

}  // namespace quillet::setup
