// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/marking.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/long_operation.h"
#include "base/prefs.h"
#include "base/subscriptions.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/whole_points.h"
#include "thread/reading.h"
#include "thread/totals.h"

namespace quillet {
namespace {

bool TreeIsShownOf(std::size_t group) {
  return gReading.tree && gReading.tree_group == GroupAt(group);
}

// The node of the shown tree, if there is one, is marked with the article; false when the store
// refuses.
bool MarkArticle(const std::string& message_id, bool read, std::size_t group) {
  Node* node = TreeIsShownOf(group) ? gReading.tree->FindNodeByMessageId(message_id) : nullptr;
  if (node != nullptr) return SetNodeReadAlone(*node, read, group);
  SetArticleReadById(message_id, nullptr, read, group);
  return true;
}

RunEnd MarkArticlesOf(std::size_t group, bool read) {
  std::uint64_t done = 0;
  for (auto record = GroupChainFirst(gPrefs->groups[group]); record; record = GroupChainNext()) {
    if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
    if (!MarkArticle(record->messageId, read, group)) return RunEnd::kStoreFailed;
    SetProgressPosition(++done);
  }
  return RunEnd::kGoOn;
}

// After some or all articles of the group were marked.
void BringShownTreeInStep(std::size_t group) {
  if (!TreeIsShownOf(group)) return;
  SumUp(gReading.tree->root());
  BringCurrentArticleInStep();
}

// Marks the articles of one group.
RunEnd MarkGroup(std::size_t group, bool read) {
  const ReadInfo& info = *gReadInfo[group];
  const bool nothing_to_do = read ? info.readCount == info.totalCount : info.readCount == 0;
  if (nothing_to_do) return RunEnd::kGoOn;
  SetProgressDetail(gPrefs->groups[group]);
  SetProgressRange(info.totalCount);
  const RunEnd end = MarkArticlesOf(group, read);
  BringShownTreeInStep(group);
  return end;
}

RunEnd MarkChecked(bool read) {
  RunEnd end = RequestedEnd();
  for (const GroupIndex group : CheckedGroups(*gPrefs)) {
    if (end != RunEnd::kGoOn) break;
    if (IndexOf(group) < gReadInfo.size()) end = MarkGroup(IndexOf(group), read);
  }
  StoreIsWhole();
  return end;
}

}  // namespace

RunEnd MarkCheckedGroups(bool read) {
  return RunWithProgress(read ? u"Marking articles in checked groups as read..."
                              : u"Marking articles in checked groups as unread...",
                         [read] { return MarkChecked(read); });
}

}  // namespace quillet
