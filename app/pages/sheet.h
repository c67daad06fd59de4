// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences as a property sheet. Program thread only.
#pragma once

#include <optional>

#include "app/pages/page.h"

namespace quillet {

// What the user has left in the sheet.
struct EditedPrefs {
  std::unique_ptr<Prefs> copy;  // as it is to be applied, resets carried out; null: dropped
  std::uint32_t prefspage = 0;  // the page shown last
  Extensions stored_extensions, extensions;
  std::vector<SecuredServer> securities;  // of the servers that the copy has
  std::set<std::u16string> chosen_anew;   // servers whose trusted certificates are to be forgotten
};

// Shows the sheet over the owner of the boxes with that page in front, on a copy of `prefs`, until
// OK or Cancel; Cancel asks whether changes shall be applied. Nothing when it could not be shown.
std::optional<EditedPrefs> RunPrefsSheet(const Prefs& prefs, int page);

}  // namespace quillet
