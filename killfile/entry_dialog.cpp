// SPDX-License-Identifier: GPL-3.0-or-later
// The author and the subject are one Field each, and everything is done for both by the same code.
// The dialog is read as a whole when the user presses OK, and the entries are added after it has
// gone: a message about a full killfile has no dialog below it.
#include "killfile/entry_dialog.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "killfile/killfile.h"
#include "mime/decoding.h"
#include "mime/encoded_words.h"
#include "mime/shown_text.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/text.h"

namespace quillet {
namespace {

using ControlStates = std::map<std::uint32_t, port::ControlState>;

// Items of the drop-down lists by their place.
constexpr int kKillItem = 0;
constexpr int kDontCheckItem = 2;

// A drop-down list with its text field; authors come first, in the dialog and when entries are
// added.
struct Field {
  bool author = false;
  std::uint32_t rule = 0;
  std::uint32_t text = 0;
  std::array<std::u16string_view, 3> items;
};

constexpr std::array<Field, 2> kFields = {{
    {true,
     kControlAuthorRule,
     kControlAuthorText,
     {u"Kill if author contains:", u"Require author to contain:", u"Don't check author"}},
    {false,
     kControlSubjectRule,
     kControlSubjectText,
     {u"Kill if subject contains:", u"Require subject to contain:", u"Don't check subject"}},
}};

struct Entry {
  std::u16string text;  // as it was typed
  bool kill = false;
  bool author = false;
};

// What the user left in the dialog with OK.
struct Choices {
  std::vector<Entry> entries;
  bool all_groups = false;
};

// An entry's text ends at a NUL; one without text would match every article, and is none.
std::optional<Entry> ReadField(const ControlStates& states, const Field& field) {
  const int item = states.at(field.rule).choice;
  const std::u16string_view text = UntilNul(states.at(field.text).text);
  if (item == kDontCheckItem || text.empty()) return std::nullopt;
  return Entry{std::u16string(text), item == kKillItem, field.author};
}

Choices ReadChoices(port::WindowHandle dialog) {
  const ControlStates states = gPlatform->dialogs.ReadAll(dialog);
  Choices choices;
  if (states.empty()) return choices;  // the display has gone
  for (const Field& field : kFields) {
    if (auto entry = ReadField(states, field)) choices.entries.push_back(std::move(*entry));
  }
  choices.all_groups = states.at(kControlAllGroups).checked;
  return choices;
}

void ShowTextOf(port::WindowHandle dialog, const Field& field) {
  const bool checked = gPlatform->dialogs.Read(dialog, field.rule).choice != kDontCheckItem;
  gPlatform->dialogs.Write(dialog, field.text, port::Visible{checked});
}

void SetUpField(port::WindowHandle dialog, const Field& field, std::string_view text) {
  gPlatform->dialogs.WriteMany(
      dialog, {{field.rule, port::Choices{{field.items.begin(), field.items.end()}}},
               {field.rule, port::Choice{kKillItem}},
               {field.text, port::Text{ShownHeader(text)}}});
}

std::string TextToKeep(const Entry& entry) {
  return Decoding() ? ToKillfileText(entry.text) : ToStored(entry.text);
}

// False when the entry was rejected.
bool AddEntry(const Entry& entry, GroupIndex group) {
  const auto number = static_cast<std::uint32_t>(IndexOf(group) + 1);
  return AddKillfileEntry(*gPrefs, number, TextToKeep(entry), entry.kill, entry.author);
}

// Places in the list of groups.
struct GroupRange {
  std::size_t first = 0;
  std::size_t end = 0;
};

// False when one was rejected: those before it stay, those after it are not tried.
bool AddEntries(const std::vector<Entry>& entries, GroupRange groups) {
  for (const Entry& entry : entries) {
    for (std::size_t group = groups.first; group < groups.end; ++group) {
      if (!AddEntry(entry, GroupAt(group))) return false;
    }
  }
  return true;
}

// Takes out entries with characters that no header is compared with, and says so. Of decoded
// headers there are none.
void RefuseUnusable(Choices& choices) {
  if (Decoding()) return;
  std::u16string refused;
  std::erase_if(choices.entries, [&refused](const Entry& entry) {
    const bool unusable = !RefusalOf(entry.text).empty();
    if (unusable) refused += entry.text;
    return unusable;
  });
  if (!refused.empty()) ShowMessage(RefusalOf(refused));
}

// OK when the user confirmed, and then what was chosen.
int AskForEntries(bool has_group, std::string_view author, std::string_view subject,
                  Choices& choices) {
  const auto set_up = [&](port::WindowHandle dialog) {
    for (const Field& field : kFields) SetUpField(dialog, field, field.author ? author : subject);
    gPlatform->dialogs.WriteMany(dialog,
                                 {{kControlAllGroups, port::Visible{gPrefs->numgroups != 0}},
                                  {kControlAllGroups, port::Checked{!has_group}}});
  };
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    const std::optional<int> result = EndOnOkOrCancel(dialog, message);
    if (result == port::kIdOk) choices = ReadChoices(dialog);
    if (result || message.kind != port::MessageKind::kCommand) return result;
    for (const Field& field : kFields) {
      if (message.id == field.rule) ShowTextOf(dialog, field);
    }
    // Without a group there is nothing else to add to: the tick stays.
    if (message.id == kControlAllGroups && !has_group) {
      gPlatform->dialogs.Write(dialog, kControlAllGroups, port::Checked{true});
    }
    return std::nullopt;
  };
  return RunModalDialog(kDialogKillfileEntry, set_up, procedure);
}

}  // namespace

void OpenKillfileEntryDialog(std::optional<GroupIndex> group, std::string_view author,
                             std::string_view subject) {
  const std::size_t place = IndexOf(group);
  const bool has_group = place < gPrefs->numgroups;
  Choices choices;
  if (AskForEntries(has_group, author, subject, choices) != port::kIdOk) return;
  if (gPrefs->numgroups == 0 && !choices.entries.empty()) {
    ShowMessage(
        u"You do not have any groups in the group list. Please add some groups (using "
        u"Group->Groups->New group) and try again.");
    return;
  }
  RefuseUnusable(choices);
  const std::uint32_t before = gPrefs->killfilecount;
  const bool everywhere = choices.all_groups || !has_group;
  const GroupRange groups =
      everywhere ? GroupRange{0, gPrefs->numgroups} : GroupRange{place, place + 1};
  const bool added = AddEntries(choices.entries, groups);
  if (added || gPrefs->killfilecount != before) WritePreferences();
}

}  // namespace quillet
