// SPDX-License-Identifier: GPL-3.0-or-later
// Settings of layout version 1, which had one login for all servers. Program thread only.
#pragma once

#include "base/registry_values.h"
#include "base/subscriptions.h"

namespace quillet {

// The logins of version 2: each server gets a copy of the one old login.
struct ConvertedLogins {
  ServerLogins logins;
  bool worth_telling = false;  // there was a login
  bool stored = false;         // false: the registry could not be written
};

// Reads the old login and writes the new ones together with version 2. The old values stay.
ConvertedLogins ConvertVersion1(ValueReader& reader);

}  // namespace quillet
