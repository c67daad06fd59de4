// The killfile: which articles the download throws away. Four parallel lists in the preferences;
// groups are numbered from 1 (1 + index in the group list). Program thread only.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/prefs.h"
#include "store/records.h"

namespace quillet {

// False after "The killfile will exceed Windows CE's capacity to store it. Entry rejected.".
bool AddKillfileEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                      bool author);
void RemoveKillfileEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                         bool author);
void RemoveGroupFromKillfile(Prefs& prefs, std::size_t group_index);
bool ArticleIsKilled(const Prefs& prefs, std::size_t group_index, const AsciiArticle& article);
// `group` 0: every group. False after the "Duplicate Entry" box.
bool ToggleKillfileEntryKind(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                             bool author);

}  // namespace quillet
