// SPDX-License-Identifier: GPL-3.0-or-later
// What the options make of a preferences record, and where their numbers are stored. Nothing is
// written. Program thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/prefs.h"
#include "base/prefs_fields.h"
#include "setup/options.h"

namespace quillet::setup {

// What the options ask for in the record gPrefs; `password` is the one for --user. Empty when it
// was done; else why it cannot be, and the record is of no use any more.
std::string Configure(const Options& options, const std::u16string& password);

// The numbers that a setting can have, by its name with the same letters as it is stored; nothing
// when no number of that name may be set by itself. Extensions are among them.
std::optional<NumberRange> RangeOfNumber(std::u16string_view name);

bool IsExtension(std::u16string_view name);

}  // namespace quillet::setup
