// Settings of layout version 1, which had one login for all servers. Program thread only.
#pragma once

#include "base/prefs.h"
#include "base/registry_values.h"

namespace quillet {

// The logins of version 2: each server gets a copy of the one old login.
struct ConvertedLogins {
  std::vector<std::u16string> authusers;
  std::vector<std::u16string> authpasses;
  std::vector<std::uint32_t> useauths;
  std::vector<std::uint32_t> usentlms;
  bool worth_telling = false;  // there was a login
  bool stored = false;         // false: the registry could not be written
};

// Reads the old login and writes the new ones together with version 2. The old values stay.
ConvertedLogins ConvertVersion1(ValueReader& reader);

// Puts converted logins into the record, for the case that they could not be stored.
void UseConvertedLogins(ConvertedLogins logins, Prefs& prefs);

}  // namespace quillet
