// SPDX-License-Identifier: GPL-3.0-or-later
// Deleting the read or all articles of groups: along each group's chain, but the read ones of the
// group shown through its tree, so that both stay alike. When every group is to be emptied, the
// files are deleted instead.
#include "store/deletion.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "base/changes.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/cross_posts.h"
#include "store/databases.h"
#include "store/records.h"
#include "store/whole_points.h"
#include "util/format.h"

namespace quillet {

namespace {

// Which groups, by their position in the group list, and what of them.
struct Deletion {
  bool only_read = false;
  bool checked_groups = false;
  std::vector<GroupIndex> groups;
};

std::uint32_t CountToDelete(const Deletion& deletion, const ReadInfo& info) {
  return deletion.only_read ? info.readCount : info.totalCount;
}

// Counts that were wrong stop at 0: a total that wrapped would be trusted for good.
void LowerCount(std::uint32_t& count) {
  if (count > 0) --count;
}

bool IsShown(std::size_t group) {
  return up::GroupOfShownTree() == GroupAt(group);
}

// Asks the store alone: what is shown of the group may be out of date.
RunEnd DeleteOnChain(const Deletion& deletion, std::size_t group) {
  std::uint64_t done = 0;
  RunEnd end = RunEnd::kGoOn;
  auto record = GroupChainFirst(gReadInfo[group]->groupName);
  for (; record && !Ended(end); record = GroupChainNext()) {
    const bool read = IsArticleRead(record->messageId);
    if (deletion.only_read && !read) continue;
    if (DeleteGroupArticle(group, *record, read)) {
      SetProgressPosition(++done);
    } else {
      ReportError(u"unable to delete article", u"DeleteArticles");
      end = RunEnd::kStoreFailed;
    }
  }
  return end;
}

RunEnd DeleteInGroup(const Deletion& deletion, std::size_t group) {
  SetProgressRange(CountToDelete(deletion, *gReadInfo[group]));
  const bool shown = IsShown(group);
  if (shown && deletion.only_read) {
    if (const std::optional<RunEnd> end = up::DeleteReadOfShownTree()) return *end;
  }
  // Until it is cleared or built anew, the tree names articles that have gone.
  if (shown) NoteChange(Change::kStore);
  RunEnd end = DeleteOnChain(deletion, group);
  if (shown && !deletion.only_read && !Ended(end)) up::ClearThreadView();
  return end;
}

RunEnd RunDeletion(const Deletion& deletion) {
  RunEnd end = RunEnd::kGoOn;
  for (std::size_t i = 0; i < deletion.groups.size() && !Ended(end); ++i) {
    const std::size_t group = IndexOf(deletion.groups[i]);
    if (CountToDelete(deletion, *gReadInfo[group]) == 0) continue;
    if (deletion.checked_groups) {
      SetProgressDetail(FormatWide(u"Deleting in %ls (%d/%d)", gReadInfo[group]->groupName, i + 1,
                                   deletion.groups.size()));
    }
    end = DeleteInGroup(deletion, group);
  }
  Ended(end);  // an abort at the very last article counts too, though nothing is left to do
  StoreIsWhole();
  return end;
}

// Emptying every group is deleting the files; queued posts are never thrown away here.
RunEnd DeleteEverything() {
  DeleteDatabases(gPendingPostCount == 0);
  ReopenDatabases();
  up::ClearThreadView();
  return RunEnd::kGoOn;
}

std::u16string Title(const Deletion& deletion) {
  const std::u16string_view which = deletion.only_read ? u"read" : u"all";
  if (deletion.checked_groups) {
    return FormatWide(u"Deleting %ls articles in selected groups...", which);
  }
  return FormatWide(u"Deleting %ls articles in %ls...", which,
                    gReadInfo[IndexOf(deletion.groups.front())]->groupName);
}

bool CountsReady() {
  if (gReadInfo.size() < gPrefs->numgroups) CountArticles();
  return gReadInfo.size() >= gPrefs->numgroups;
}

RunEnd Delete(const Deletion& deletion) {
  if (!CountsReady()) return RunEnd::kGoOn;
  return RunWithProgress(Title(deletion), [&deletion] { return RunDeletion(deletion); });
}

}  // namespace

// The article first: a chain record that is left over names nothing and goes with the next building
// of threads, while an article that no group names would stay for good.
bool DeleteGroupArticle(std::size_t group_index, const GDBMGroup& record, bool was_read) {
  if (group_index >= gReadInfo.size()) return false;
  ReadInfo& info = *gReadInfo[group_index];
  NoteDeletion(record.messageId);
  if (!record.messageId.empty() && !DeleteArticle(record.messageId)) return false;
  const bool removed = RemoveFromGroupChain(info.groupName, record.number);
  if (was_read && (removed || !record.messageId.empty())) LowerCount(info.readCount);
  if (removed) LowerCount(info.totalCount);
  // An article that went by another group was read for all that is known, and counted so.
  info.readCount = std::min(info.readCount, info.totalCount);
  UpdateGlobalGDBMArticleCountCache(group_index);
  return removed;
}

RunEnd DeleteArticlesOf(bool only_read, GroupIndex group) {
  if (!gPrefs || IndexOf(group) >= gPrefs->numgroups) return RunEnd::kGoOn;
  return Delete({only_read, false, {group}});
}

RunEnd DeleteCheckedArticles(bool only_read) {
  if (!gPrefs || gPrefs->numgroups == 0) return RunEnd::kGoOn;
  const Deletion deletion{only_read, true, CheckedGroups(*gPrefs)};
  if (!only_read && deletion.groups.size() == gPrefs->numgroups) return DeleteEverything();
  return Delete(deletion);
}

}  // namespace quillet
