// SPDX-License-Identifier: GPL-3.0-or-later
// A preferences record as the values of an open key. Program thread only.
#pragma once

#include "base/prefs.h"
#include "base/stored_passwords.h"
#include "port/registry.h"

namespace quillet {

// kReported: a list could not be built, and the user knows.
enum class WriteResult { kDone, kFailed, kReported };

// Writes every value or none: unless it returns kDone the key has to be destroyed, which drops what
// was written so far. Settings at risk are copied aside first. `passwords` take the place of the
// record's own. std::bad_alloc when memory ran out.
WriteResult WriteRecord(port::RegistryKey& key, const Prefs& prefs,
                        const RegistryPasswords* passwords = nullptr);

// Writes the servers and groups with all that runs along with them and the killfile, which numbers
// the groups, and the version; every other value stays as it is stored. Begins and commits nothing,
// copies nothing aside. Throws as above.
WriteResult WriteSubscriptions(port::RegistryKey& key, const Prefs& prefs);

}  // namespace quillet
