// SPDX-License-Identifier: GPL-3.0-or-later
// Whether Quillet CE could store and use what was given, by the judgements of its own windows.
// Program thread only.
#pragma once

#include <string>

#include "setup/options.h"

namespace quillet::setup {

// The first option that the program's windows would refuse, with their reason: "--group: ...".
// Empty when there is none. What is configured already plays no part.
std::string JudgeOptions(const Options& options);

// Of a password, without the option's name.
std::string JudgePassword(std::u16string_view password);

}  // namespace quillet::setup
