// SPDX-License-Identifier: GPL-3.0-or-later
// The list shows the groups of the preferences and holds nothing of its own: check marks and widths
// that the user changes come as messages and are written into the record, and every command works
// on the record and fills the list anew.
#include "groups/group_list.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "article/view.h"
#include "base/box_owner.h"
#include "base/changes.h"
#include "base/extensions.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "base/wait_cursor.h"
#include "groups/marking.h"
#include "groups/newsgroups.h"
#include "groups/start_guide.h"
#include "killfile/entry_dialog.h"
#include "port/dialogs.h"
#include "port/list_view.h"
#include "port/platform.h"
#include "port/windows.h"
#include "res/resource.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/deletion.h"
#include "store/new_group.h"
#include "thread/view.h"
#include "util/format.h"

namespace quillet {

namespace {

// Of the last connection: told until the queue or a count changes.
struct Result {
  std::u16string text;  // empty: nothing is to be told
  std::uint32_t posts = 0;
  std::uint64_t counts = 0;
};
Result gResult;

const ResetAtEnd kReset([] { gResult = {}; });

// Another number when articles have come, gone or been read.
std::uint64_t SumOfCounts() {
  std::uint64_t sum = gReadInfo.size();
  for (const auto& info : gReadInfo) sum = sum * 31 + info->totalCount * 7 + info->readCount;
  return sum;
}

std::u16string StatusText() {
  if (gResult.text.empty()) return QueuedPostsText();
  if (gResult.posts != gPendingPostCount || gResult.counts != SumOfCounts()) {
    gResult = {};
    return QueuedPostsText();
  }
  return gPendingPostCount == 0 ? gResult.text : gResult.text + u" " + QueuedPostsText();
}

std::u16string CountsText(std::size_t group) {
  if (group >= gReadInfo.size()) return u"0/0";
  const ReadInfo& info = *gReadInfo[group];
  // A count that was wrong may be larger than the total for a while.
  const std::uint32_t read = std::min(info.readCount, info.totalCount);
  return FormatWide(u"%lu/%lu", info.totalCount - read, info.totalCount);
}

port::CheckState BoxFor(bool checked) {
  return checked ? port::CheckState::kChecked : port::CheckState::kUnchecked;
}

void CheckAll(bool checked) {
  SetAllChecked(*gPrefs, checked);
  gPlatform->group_list.SetCheckStates(0, std::vector(gPrefs->numgroups, BoxFor(checked)));
}

std::vector<std::u16string> CountsTexts() {
  std::vector<std::u16string> counts(gPrefs->numgroups);
  for (std::size_t i = 0; i < counts.size(); ++i) counts[i] = CountsText(i);
  return counts;
}

void FillRows(int selected) {
  const WaitCursor cursor;
  gPlatform->windows.SetStatusText(StatusText());
  std::vector<port::ListRow> rows(gPrefs->numgroups);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const bool checked = IsChecked(*gPrefs, GroupAt(i));
    // A mark that is stored as another number than 1 becomes a 1 by being shown.
    SetChecked(*gPrefs, GroupAt(i), checked);
    rows[i] = {gPrefs->groups[i], CountsText(i), BoxFor(checked)};
  }
  gPlatform->group_list.Fill(std::move(rows), selected);
  RefreshStartGuide();
}

std::uint64_t StoredArticles() {
  std::uint64_t articles = 0;
  for (const auto& info : gReadInfo) articles += info->totalCount;
  return articles;
}

std::optional<GroupIndex> SelectedGroup() {
  const int row = gPlatform->group_list.SelectedRow();
  if (row < 0 || static_cast<std::uint32_t>(row) >= gPrefs->numgroups) return std::nullopt;
  return GroupAt(static_cast<std::size_t>(row));
}

// As the list counts rows.
int RowOf(std::optional<GroupIndex> group) {
  return group ? static_cast<int>(IndexOf(*group)) : -1;
}

// After a command that changed articles of the checked groups.
void NoteShownGroupTouched() {
  const std::optional<GroupIndex> shown = gReading.tree_group;
  if (shown && IsChecked(*gPrefs, *shown)) NoteChange(Change::kStore);
}

// --- Commands --------------------------------------------------------------------------------

void SelectAll() {
  CheckAll(true);
}
void SelectNone() {
  CheckAll(false);
}

void CheckUncheckAll() {
  CheckAll(CheckedGroups(*gPrefs).size() < gPrefs->numgroups);
}

void DeleteChecked(bool only_read, std::u16string_view question) {
  ClearArticleView();
  if (ConfirmAction(question, true)) {
    DeleteCheckedArticles(only_read);
    NoteShownGroupTouched();
  }
  FillGroupList();
}
void DeleteRead() {
  DeleteChecked(true, u"Really delete read articles in checked groups?");
}
void DeleteAll() {
  DeleteChecked(false, u"Really delete all articles in checked groups?");
}

void NewGroup() {
  std::u16string name;
  const auto procedure = [&](port::WindowHandle dialog, const port::Message& message) {
    const std::optional<int> result = EndOnOkOrCancel(dialog, message);
    if (result == port::kIdOk) name = gPlatform->dialogs.Read(dialog, kControlGroupName).text;
    return result;
  };
  if (RunModalDialog(kDialogNewGroup, nullptr, procedure) == port::kIdOk) {
    const std::u16string complaint = JudgeNewGroupName(name);
    if (complaint.empty()) {
      AddNewsgroupToPrefs(name);
      ClearArticleView();
    } else {
      ShowMessage(complaint);
    }
  }
  FillGroupList();
}

void RemoveGroups() {
  if (!ConfirmAction(u"Really delete the checked groups?", true)) return;
  const WaitCursor cursor;
  const std::uint32_t before = gPrefs->numgroups;
  for (std::size_t i = 0; i < gPrefs->numgroups;) {
    if (!IsChecked(*gPrefs, GroupAt(i))) {
      ++i;
      continue;
    }
    ClearArticleView();
    if (DeleteArticlesOf(false, GroupAt(i)) != RunEnd::kGoOn) break;
    const std::uint32_t groups = gPrefs->numgroups;
    RemoveNewsgroupFromPrefs(GroupAt(i));
    if (gPrefs->numgroups == groups) break;  // could not be removed, and said so
    // The next group has moved to this position: it is examined next.
  }
  FillRows(gPrefs->numgroups == before ? gPlatform->group_list.SelectedRow() : -1);
}

void MarkRead() {
  if (ConfirmAction(u"Mark articles in checked groups as read?", true)) {
    MarkCheckedGroups(true);
    NoteShownGroupTouched();
  }
  FillGroupList();
}

void MarkUnread() {
  if (ConfirmAction(u"Mark articles in checked groups as unread?", true)) {
    MarkCheckedGroups(false);
    NoteShownGroupTouched();
  }
  FillGroupList();
}

// Moves the download positions of the checked groups, of every server; articles and registry are
// left alone (the preferences are written at the end of the run).
void MarkServers(bool read) {
  const std::vector<GroupIndex> groups = CheckedGroups(*gPrefs);
  for (const GroupIndex group : groups) {
    for (std::size_t server = 0; server < gPrefs->numservers; ++server) {
      const auto progress = Progress(*gPrefs, ServerAt(server), group);
      if (progress) progress->downloaded = read ? progress->on_server : 0;
    }
  }
  ShowBox(CurrentBoxOwner(), u"Finished marking server(s) read/unread",
          FormatWide(u"Processed %d group%ls.", groups.size(), groups.size() == 1 ? u"" : u"s"),
          {});
}

void ServerRead() {
  if (ConfirmAction(u"This may cause Quillet CE to skip articles on the server. Are you sure?",
                    true)) {
    MarkServers(true);
  }
}

void ServerUnread() {
  if (ConfirmAction(u"This may cause Quillet CE to download duplicates of articles that it already "
                    u"has. Are you sure?",
                    true)) {
    MarkServers(false);
  }
}

void AddToKillfile() {
  const std::optional<GroupIndex> selected = SelectedGroup();
  OpenKillfileEntryDialog(selected ? selected : gReading.group, {}, {});
}

struct GroupCommand {
  std::uint32_t id;
  void (*run)();
};

constexpr std::array<GroupCommand, 12> kGroupCommands = {{
    {kCommandSelectAll, SelectAll},
    {kCommandSelectNone, SelectNone},
    {kCommandCheckUncheckAll, CheckUncheckAll},
    {kCommandDeleteRead, DeleteRead},
    {kCommandDeleteAll, DeleteAll},
    {kCommandNewGroup, NewGroup},
    {kCommandRemoveGroups, RemoveGroups},
    {kCommandMarkRead, MarkRead},
    {kCommandMarkUnread, MarkUnread},
    {kCommandServerRead, ServerRead},
    {kCommandServerUnread, ServerUnread},
    {kCommandAddToKillfile, AddToKillfile},
}};

}  // namespace

void CreateGroupList() {
  const std::array<port::ListColumn, 2> columns = {{
      {u"Newsgroup", gPrefs->columnWidths[0], false},
      {u"Unread", gPrefs->columnWidths[1], true},
  }};
  gPlatform->group_list.Create(columns, gPrefs->groupfont, static_cast<int>(gPrefs->groupfontsize));
  FillRows(RowOf(gReading.group));
}

void FillGroupList() {
  FillRows(gPlatform->group_list.SelectedRow());
}

void FillGroupListAt(std::optional<GroupIndex> group) {
  FillRows(RowOf(group));
}

void RefreshGroupCounts() {
  gPlatform->windows.SetStatusText(StatusText());
  ShowGroupCounts();
}

void ShowGroupCounts() {
  gPlatform->group_list.SetCounts(CountsTexts());
  RefreshStartGuide();
}

// With articles there are no steps, whatever the extension says.
void RefreshStartGuide() {
  std::vector<port::GuideStep> steps = GuideSteps(*gPrefs, StoredArticles());
  if (!steps.empty() && ReadExtensions().startguide == 0) steps.clear();
  gPlatform->group_list.SetGuide(std::move(steps));
}

void TellResultOfRun(std::u16string_view text) {
  gResult = {std::u16string(text), gPendingPostCount, SumOfCounts()};
}

// The list may have been filled since the user's click. Then the row is another group's, and the
// click is void; or the box does not show the click any more, so it is shown once more.
void HandleRowChecked(std::uint32_t row, bool checked, std::u16string_view name) {
  if (row >= gPrefs->numgroups || gPrefs->groups[row] != name) return;
  SetChecked(*gPrefs, GroupAt(row), checked);
  gPlatform->group_list.SetCheckStates(static_cast<int>(row), {BoxFor(checked)});
}

void HandleColumnSized(std::uint32_t column, std::uint32_t width) {
  if (column >= gPrefs->columnWidths.size()) return;
  gPrefs->columnWidths[column] = static_cast<std::int32_t>(width);
}

bool OpenSelectedGroup() {
  const std::optional<GroupIndex> selected = SelectedGroup();
  if (!selected) return false;
  gReading.group = selected;
  ShowThreadView();
  return true;
}

void SelectGroup(GroupIndex group) {
  gReading.group = group;
  FillRows(RowOf(gReading.group));
}

void ShowGroup(GroupIndex group) {
  SelectGroup(group);
  ShowThreadView();
}

std::u16string QueuedPostsText() {
  return FormatWide(u"%lu article%ls queued for posting", gPendingPostCount,
                    gPendingPostCount == 1 ? u"" : u"s");
}

void HandleGroupCommand(std::uint32_t command) {
  for (const GroupCommand& entry : kGroupCommands) {
    if (entry.id == command) return entry.run();
  }
}

}  // namespace quillet
