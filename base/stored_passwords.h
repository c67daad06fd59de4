// SPDX-License-Identifier: GPL-3.0-or-later
// Where the passwords of news servers are kept: in the registry, or with the extension
// `passwordstore` in the desktop's password store. There they lie as a numbered set, and the
// registry has the number of the set that counts; each change makes a new set before the registry
// names it, and the old one goes after that, so that a process may be killed at any moment. Program
// thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/prefs.h"

namespace quillet {

// The registry's value with the number of the set; 0 or missing: the store keeps nothing.
inline constexpr std::u16string_view kPasswordSetValue = u"passwordset";

// What the registry gets in place of the record's own passwords.
struct RegistryPasswords {
  std::vector<std::u16string> authpasses;  // as many as the record has
  std::optional<std::uint32_t> set;        // nothing: the value is left as it is
  std::u16string trouble;                  // why not all went as it should, for the user; or empty
};

// After a record was read that names this set: passwords that the registry does not have come from
// the store. Asks it only when it keeps some or is to keep some. Trouble with it is kept for
// TakePasswordTrouble.
void FetchPasswords(std::uint32_t set, Prefs& prefs);
// What FetchPasswords had trouble with, for the user, once.
std::u16string TakePasswordTrouble();

// Before the live record is written: passwords are put where the extension wants them. Without the
// store they stay in the registry, and it is not asked again in this run.
RegistryPasswords PutPasswords(const Prefs& prefs);
// After that write: what is not needed any more goes. `written`: the registry has it all.
void FinishPasswords(bool written);

}  // namespace quillet
