// SPDX-License-Identifier: GPL-3.0-or-later
// The stored values of an open key as a preferences record. Program thread only.
#pragma once

#include "base/prefs.h"
#include "base/registry_values.h"

namespace quillet {

// Fills the record, after converting an old layout in the registry. Says what is newer, converted
// or damaged. False when memory ran out for a list (reported); std::bad_alloc when it ran out
// otherwise.
bool ReadRecord(ValueReader& values, Prefs& prefs);

}  // namespace quillet
