// SPDX-License-Identifier: GPL-3.0-or-later
// Opening the preferences and putting changed ones into force.
#pragma once

#include <memory>

#include "base/prefs.h"
#include "base/upward_calls.h"

namespace quillet {

void OpenPreferences(PreferencesPage start_page);
// Makes `edited` the live record, refreshes the views, re-registers the scheduled download, writes
// the registry and moves the databases when their place changed. `decoding_changed`: what mime/
// makes of stored text looks different from now on.
void ApplyPrefsChanges(std::unique_ptr<Prefs> edited, bool decoding_changed = false);

}  // namespace quillet
