// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences in the registry, below Software\Brindle\Quillet. Program thread only.
#pragma once

#include <string>
#include <string_view>

#include "base/prefs.h"
#include "port/registry.h"

namespace quillet {

inline constexpr std::u16string_view kRegistryPath = u"Software\\Brindle\\Quillet";
inline constexpr std::uint32_t kPrefsVersion = 2;

// Replaces gPrefs by a record loaded from the registry (missing values take their defaults) and
// prepares the database folder. Reports its own failures; afterwards gPrefs is non-null unless
// memory ran out.
void ReadPreferences();

// Writes gPrefs whole, in one step. Values are never deleted. False after a critical report
// ("unable to create registry key" in "WritePreferences") or after a box naming that the settings
// could not be saved.
bool WritePreferences();

// "\Quillet CE News" or "\%ls\Quillet CE News".
std::u16string DatabaseFolderFor(std::u16string_view databasestore);

// The folder the store works in.
extern std::u16string gDatabaseFolder;

// Write the whole lastdownloaded or lastonserver array to the open key, as WritePreferences does.
bool WriteLastDownloaded(port::RegistryKey& key, const Prefs& prefs);
bool WriteLastOnServer(port::RegistryKey& key, const Prefs& prefs);
// Both in one step. When only one can be written, it is lastdownloaded.
bool WriteProgressNumbers(port::RegistryKey& key, const Prefs& prefs);

}  // namespace quillet
