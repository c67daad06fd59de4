// SPDX-License-Identifier: GPL-3.0-or-later
// The killfile: which articles the download throws away. Four parallel lists in the preferences;
// entries number their groups from 1 (1 + index in the group list). Program thread only.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/prefs.h"
#include "base/subscriptions.h"
#include "store/records.h"

namespace quillet {

// False after "The killfile will exceed Windows CE's capacity to store it. Entry rejected.".
bool AddKillfileEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                      bool author);
void RemoveKillfileEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                         bool author);
// The entries of the group go; those of the groups behind it follow them to their new places.
void RemoveGroupFromKillfile(Prefs& prefs, GroupIndex group);
bool ArticleIsKilled(const Prefs& prefs, GroupIndex group, const AsciiArticle& article);
// `group` 0: every group. False after the "Duplicate Entry" box.
bool ToggleKillfileEntryKind(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                             bool author);

}  // namespace quillet
