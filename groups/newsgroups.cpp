// SPDX-License-Identifier: GPL-3.0-or-later
// The counts in memory stand beside the groups of the preferences, one each, once they were made:
// what changes the groups changes them too, and nothing is changed unless all of it can be.
#include "groups/newsgroups.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "base/app_messages.h"
#include "base/empty_entry.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "killfile/killfile.h"
#include "store/counts.h"
#include "thread/view.h"
#include "util/blanks.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// The in-memory counts stand for the groups only once they were counted.
bool CountsAreInStep(const Prefs& prefs) {
  return gReadInfo.size() == prefs.numgroups;
}

bool DropGroup(Prefs& prefs, GroupIndex group) {
  const bool counted = CountsAreInStep(prefs);
  // Meant: names the adding function. The box's text is fixed: both changes of the group list
  // report a lack of memory under one name, by which users and scripts know it.
  return Guarded(u"AddNewsgroupToPrefs", [&] {
    RemoveGroup(prefs, group);
    RemoveGroupFromKillfile(prefs, group);
    if (counted) gReadInfo.erase(gReadInfo.begin() + static_cast<std::ptrdiff_t>(IndexOf(group)));
  });
}

}  // namespace

void RemoveNewsgroupFromPrefs(GroupIndex group) {
  if (IndexOf(group) >= gPrefs->numgroups || !DropGroup(*gPrefs, group)) return;
  // The groups behind it have moved up: no tree knows its group any more.
  gReading.group.reset();
  ClearThreadView();
  PostToMainWindow(kUserRefillGroupList);
  WritePreferences();
}

std::optional<GroupIndex> FindNewsgroup(std::u16string_view name) {
  const std::string wanted = Narrow(name);
  for (std::size_t i = 0; i < gPrefs->groups.size(); ++i) {
    if (Narrow(gPrefs->groups[i]) == wanted) return GroupAt(i);
  }
  return std::nullopt;
}

std::u16string JudgeNewGroupName(std::u16string& name) {
  name = std::u16string(Trimmed(name));
  if (name.empty()) return u"Please enter the name of the newsgroup that you want to add.";
  if (std::ranges::any_of(name, IsBlank)) {
    return FormatWide(
        u"\"%ls\" is not the name of a newsgroup, because it contains a blank. Please enter the "
        u"name without blanks, for example \"misc.test\".",
        name);
  }
  if (name.find(u',') != std::u16string::npos) {
    return FormatWide(
        u"\"%ls\" contains a comma. Please enter the name of one newsgroup only; you can add more "
        u"of them one after another.",
        name);
  }
  // A name that begins with the mark would be stored as an empty one.
  if (std::ranges::any_of(name, IsControl) || name.find(kEmptyEntryMark) != name.npos) {
    return u"The name contains a character that cannot be part of a newsgroup's name. Please type "
           u"the name anew.";
  }
  if (std::u16string refusal = RefusalOf(name); !refusal.empty()) return refusal;
  if (FindNewsgroup(name)) {
    return FormatWide(u"The newsgroup \"%ls\" is already in your list.", name);
  }
  return {};
}

}  // namespace quillet
