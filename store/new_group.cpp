// SPDX-License-Identifier: GPL-3.0-or-later
// The counts in memory stand beside the groups of the preferences, one each, once they were made:
// nothing is changed unless both can be.
#include "store/new_group.h"

#include <memory>
#include <utility>

#include "base/guarded.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "store/counts.h"
#include "store/databases.h"

namespace quillet {
namespace {

// Null after a report.
std::unique_ptr<ReadInfo> CountNewGroup(std::u16string_view name) {
  std::unique_ptr<ReadInfo> info = NewReadInfoPtr();
  if (!info) return info;
  info->groupName = name;
  if (!DatabasesOpen()) return info;
  // Counts from the time when the group was on the list before; its chain may have grown since.
  ForgetCachedCounts(name);
  PopulateReadArticlesInfo(*info, name);
  return info;
}

// False after a critical report; then nothing has changed.
bool AppendNewsgroup(std::u16string_view name) {
  Prefs& prefs = *gPrefs;
  return GuardedCritically(u"AddNewsgroupToPrefs", [&] {
    std::unique_ptr<ReadInfo> info;
    // They stand for the groups only once they were counted.
    if (gReadInfo.size() == prefs.numgroups) {
      gReadInfo.reserve(gReadInfo.size() + 1);
      info = CountNewGroup(name);
      if (!info) return false;
    }
    AddGroup(prefs, name);
    if (info) gReadInfo.push_back(std::move(info));
    return true;
  });
}

}  // namespace

bool AddNewsgroupToPrefs(std::u16string_view name) {
  return AppendNewsgroup(name) && WritePreferences();
}

}  // namespace quillet
