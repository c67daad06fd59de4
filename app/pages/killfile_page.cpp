// SPDX-License-Identifier: GPL-3.0-or-later
// The killfile of all groups: a row an entry, in the order of the entries. The radio buttons show
// and change the selected row; every change goes through the killfile's own operations, and the
// list is made anew with the same entry selected.
#include <algorithm>
#include <string>
#include <utility>

#include "app/pages/page.h"
#include "killfile/killfile.h"
#include "mime/shown_text.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/format.h"

namespace quillet {
namespace {

struct Entry {
  std::uint32_t group = 0;
  std::string text;
  bool kill = false;
  bool author = false;
  bool operator==(const Entry&) const = default;
};

Entry EntryAt(const Prefs& prefs, std::size_t at) {
  return {prefs.killfilegroups[at], prefs.killfiletexts[at], prefs.killfilekills[at] != 0,
          prefs.killfileauthors[at] != 0};
}

std::optional<std::size_t> FindEntry(const Prefs& prefs, const Entry& entry) {
  for (std::size_t at = 0; at < prefs.killfilecount; ++at) {
    if (EntryAt(prefs, at) == entry) return at;
  }
  return std::nullopt;
}

// --- The list ------------------------------------------------------------------------------------

// Groups stand in no column: the tip has them.
std::u16string TipOf(const Prefs& prefs, const Entry& entry) {
  const bool listed = entry.group > 0 && entry.group <= prefs.numgroups;
  return FormatWide(u"%ls\n%ls", ShownHeader(entry.text),
                    listed ? prefs.groups[entry.group - 1] : std::u16string());
}

port::Row RowOf(const Prefs& prefs, const Entry& entry) {
  return {.texts = {ShownHeader(entry.text), entry.author ? u"auth." : u"subj.",
                    entry.kill ? u"kill" : u"req."},
          .tool_tip = TipOf(prefs, entry)};
}

std::optional<std::size_t> SelectedRow(const PrefsSheet& sheet, port::WindowHandle page) {
  const int row = gPlatform->dialogs.Read(page, kControlKillfileEntries).choice;
  if (row < 0 || std::cmp_greater_equal(row, sheet.copy->killfilecount)) return std::nullopt;
  return static_cast<std::size_t>(row);
}

// The buttons follow the selected row.
void ShowSelected(const PrefsSheet& sheet, port::WindowHandle page) {
  const std::optional<std::size_t> row = SelectedRow(sheet, page);
  std::vector<port::ControlWrite> writes;
  for (const std::uint32_t control :
       {kControlKillSubject, kControlKillAuthor, kControlKill, kControlRequire, kControlDeleteEntry,
        kControlDeleteFromAll, kControlPropagateToAll}) {
    writes.push_back({control, port::Enabled{row.has_value()}});
  }
  if (row) {
    const Entry entry = EntryAt(*sheet.copy, *row);
    writes.push_back(
        {entry.author ? kControlKillAuthor : kControlKillSubject, port::Checked{true}});
    writes.push_back({entry.kill ? kControlKill : kControlRequire, port::Checked{true}});
  }
  gPlatform->dialogs.WriteMany(page, std::move(writes));
}

void ShowEntries(const PrefsSheet& sheet, port::WindowHandle page, std::size_t selected) {
  const Prefs& prefs = *sheet.copy;
  port::Rows rows;
  rows.rows.reserve(prefs.killfilecount);
  for (std::size_t at = 0; at < prefs.killfilecount; ++at) {
    rows.rows.push_back(RowOf(prefs, EntryAt(prefs, at)));
  }
  const int last = static_cast<int>(rows.rows.size()) - 1;
  const int row = std::min(static_cast<int>(selected), last);
  gPlatform->dialogs.WriteMany(page, {{kControlKillfileEntries, std::move(rows)},
                                      {kControlKillfileEntries, port::Choice{row}}});
  ShowSelected(sheet, page);
}

void ShowKillfile(PrefsSheet& sheet, port::WindowHandle page, bool first) {
  ShowEntries(sheet, page, first ? 0 : SelectedRow(sheet, page).value_or(0));
}

// --- What the buttons do -------------------------------------------------------------------------

struct Selection {
  PrefsSheet& sheet;
  port::WindowHandle page;
  std::size_t row;
  Entry entry;

  Prefs& prefs() const { return *sheet.copy; }
  // The list anew; `now` is selected, or what has taken its place.
  void Changed(const Entry& now) const {
    sheet.changed = true;
    ShowEntries(sheet, page, FindEntry(prefs(), now).value_or(row));
  }
};

bool Add(Prefs& prefs, const Entry& entry) {
  return AddKillfileEntry(prefs, entry.group, entry.text, entry.kill, entry.author);
}

void Remove(Prefs& prefs, const Entry& entry) {
  RemoveKillfileEntry(prefs, entry.group, entry.text, entry.kill, entry.author);
}

// The buttons stand for the entry again when it stays as it was.
void SetKind(const Selection& selected, bool kill) {
  Entry now = selected.entry;
  if (now.kill == kill) return;
  if (!ToggleKillfileEntryKind(selected.prefs(), now.group, now.text, now.kill, now.author)) {
    return ShowSelected(selected.sheet, selected.page);
  }
  now.kill = kill;
  selected.Changed(now);
}

void SetType(const Selection& selected, bool author) {
  Entry now = selected.entry;
  if (now.author == author) return;
  now.author = author;
  Remove(selected.prefs(), selected.entry);
  if (Add(selected.prefs(), now)) return selected.Changed(now);
  Add(selected.prefs(), selected.entry);
  selected.Changed(selected.entry);
}

void DeleteEntry(const Selection& selected) {
  Remove(selected.prefs(), selected.entry);
  selected.Changed(selected.entry);
}

// In every group: once each, as the button of a row does.
void DeleteFromAll(const Selection& selected) {
  Entry entry = selected.entry;
  Remove(selected.prefs(), entry);
  for (entry.group = 1; entry.group <= selected.prefs().numgroups; ++entry.group) {
    if (entry.group != selected.entry.group) Remove(selected.prefs(), entry);
  }
  selected.Changed(selected.entry);
}

void PropagateToAll(const Selection& selected) {
  Entry entry = selected.entry;
  for (entry.group = 1; entry.group <= selected.prefs().numgroups; ++entry.group) {
    if (!Add(selected.prefs(), entry)) break;
  }
  selected.Changed(selected.entry);
}

void HandleButton(const Selection& selected, std::uint32_t control) {
  switch (control) {
    case kControlKillSubject:
      return SetType(selected, false);
    case kControlKillAuthor:
      return SetType(selected, true);
    case kControlKill:
      return SetKind(selected, true);
    case kControlRequire:
      return SetKind(selected, false);
    case kControlDeleteEntry:
      return DeleteEntry(selected);
    case kControlDeleteFromAll:
      return DeleteFromAll(selected);
    case kControlPropagateToAll:
      return PropagateToAll(selected);
    default:
      return;
  }
}

bool IsDeleteKeyInList(port::WindowHandle page, const port::Message& message) {
  return message.kind == port::MessageKind::kKeyUp && message.id == port::kKeyDelete &&
         gPlatform->dialogs.Read(page, kControlKillfileEntries).focused;
}

void HandleKillfile(PrefsSheet& sheet, port::WindowHandle page, const port::Message& message) {
  if (IsPress(message, kControlKillfileEntries)) return ShowSelected(sheet, page);
  const std::optional<std::size_t> row = SelectedRow(sheet, page);
  if (!row) return;
  const Selection selected{sheet, page, *row, EntryAt(*sheet.copy, *row)};
  if (IsDeleteKeyInList(page, message)) return DeleteEntry(selected);
  if (message.kind == port::MessageKind::kCommand) HandleButton(selected, message.id);
}

}  // namespace

PrefsPage KillfilePage() {
  return {.form = kDialogKillfilePage,
          .caption = u"Killfile",
          .show = ShowKillfile,
          .handle = HandleKillfile};
}

}  // namespace quillet
