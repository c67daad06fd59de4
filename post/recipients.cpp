// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/recipients.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/messages.h"
#include "base/modal_dialog.h"
#include "port/contacts.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// One address of one contact.
struct Candidate {
  std::u16string name;
  std::u16string address;
  std::u16string folded;  // both, in which the search looks
  bool checked = false;
};

// Small letters for capital ones of the scripts that have both in one order: Latin, Greek,
// Cyrillic.
char16_t Folded(char16_t unit) {
  const auto within = [&](char16_t first, char16_t last) { return unit >= first && unit <= last; };
  const auto plus = [&](int step) { return static_cast<char16_t>(unit + step); };
  if (unit < 0xC0) return ToLowerAscii(unit);
  if (within(0xC0, 0xDE) && unit != 0xD7) return plus(0x20);
  if (within(0x100, 0x137) || within(0x14A, 0x177)) return static_cast<char16_t>(unit | 1);
  if (within(0x139, 0x148) || within(0x179, 0x17E)) return unit % 2 == 1 ? plus(1) : unit;
  if (within(0x391, 0x3A9) || within(0x410, 0x42F)) return plus(0x20);
  if (within(0x400, 0x40F)) return plus(0x50);
  return unit;
}

std::u16string Folded(std::u16string_view text) {
  std::u16string folded(text);
  for (char16_t& unit : folded) unit = Folded(unit);
  return folded;
}

// The contacts as a list with boxes, narrowed by the search field. The boxes of rows that the
// search hides keep their state here.
class Picker {
 public:
  explicit Picker(const std::vector<port::Contact>& contacts) {
    for (const port::Contact& contact : contacts) {
      const std::u16string name = FormatWide(u"%ls, %ls", contact.last, contact.first);
      for (const std::u16string& address : contact.addresses) {
        if (address.empty()) continue;
        // No word that is looked for has a blank, so none reaches from one into the other.
        candidates_.push_back({name, address, Folded(FormatWide(u"%ls %ls", name, address))});
      }
    }
  }

  void Show(port::WindowHandle dialog, std::u16string_view wanted);
  // Takes over what the user has ticked in the rows that are shown.
  void NoteChecks(port::WindowHandle dialog);
  std::u16string Chosen() const;

 private:
  std::vector<Candidate> candidates_;
  std::vector<std::size_t> shown_;  // places in it, a row each
};

std::vector<std::u16string_view> Words(std::u16string_view text) {
  std::vector<std::u16string_view> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(u' '), text.size());
    if (end > 0) words.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

// Every word is in the name or in the address, in whatever order.
bool Matches(const Candidate& candidate, const std::vector<std::u16string_view>& words) {
  return std::ranges::all_of(words, [&](std::u16string_view word) {
    return candidate.folded.find(word) != candidate.folded.npos;
  });
}

void Picker::Show(port::WindowHandle dialog, std::u16string_view wanted) {
  const std::u16string folded = Folded(wanted);
  const std::vector<std::u16string_view> words = Words(folded);
  shown_.clear();
  port::Rows rows;
  for (std::size_t i = 0; i < candidates_.size(); ++i) {
    const Candidate& candidate = candidates_[i];
    if (!Matches(candidate, words)) continue;
    shown_.push_back(i);
    port::Row row;
    row.texts = {candidate.name, candidate.address};
    row.checked = candidate.checked;
    rows.rows.push_back(std::move(row));
  }
  gPlatform->dialogs.Write(dialog, kControlContacts, std::move(rows));
}

void Picker::NoteChecks(port::WindowHandle dialog) {
  const std::vector<bool> checks = gPlatform->dialogs.Read(dialog, kControlContacts).row_checks;
  for (std::size_t row = 0; row < std::min(checks.size(), shown_.size()); ++row) {
    candidates_[shown_[row]].checked = checks[row];
  }
}

std::u16string Picker::Chosen() const {
  std::u16string chosen;
  for (const Candidate& candidate : candidates_) {
    if (!candidate.checked) continue;
    if (!chosen.empty()) chosen += u", ";
    chosen += candidate.address;
  }
  return chosen;
}

// Answers the messages of "Choose Recipients"; keeps what was chosen.
std::optional<int> PickAddressDialogProc(Picker& picker, port::WindowHandle dialog,
                                         const port::Message& message) {
  if (message.kind == port::MessageKind::kTextEdited && message.id == kControlContactSearch) {
    picker.NoteChecks(dialog);
    picker.Show(dialog, gPlatform->dialogs.Read(dialog, kControlContactSearch).text);
    return std::nullopt;
  }
  const std::optional<int> end = EndOnOkOrCancel(dialog, message);
  if (end == port::kIdOk) picker.NoteChecks(dialog);
  return end;
}

}  // namespace

std::optional<std::u16string> PickAddresses() {
  const std::optional<std::vector<port::Contact>> contacts = gPlatform->contacts.ReadAll();
  if (!contacts) ReportError(u"Unable to GetPOOMContacts", u"PickAddressDialogProc");
  Picker picker(contacts.value_or(std::vector<port::Contact>()));
  const int end = RunModalDialog(
      kDialogChooseRecipients, [&](port::WindowHandle dialog) { picker.Show(dialog, u""); },
      [&](port::WindowHandle dialog, const port::Message& message) {
        return PickAddressDialogProc(picker, dialog, message);
      });
  if (end != port::kIdOk) return std::nullopt;
  return picker.Chosen();
}

std::optional<std::u16string> ReaddressEmail(std::u16string_view recipients) {
  port::Dialogs& dialogs = gPlatform->dialogs;
  std::u16string text(recipients);
  const auto setup = [&](port::WindowHandle dialog) {
    dialogs.WriteMany(dialog, {{kControlRecipients, port::Text{text}},
                               {kControlRecipients, port::TextState{text.size(), 0, false}},
                               {kControlRecipients, port::Focus{}}});
  };
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    if (message.kind == port::MessageKind::kCommand && message.id == kControlReaddressPick) {
      const std::optional<std::u16string> picked = PickAddresses();
      if (picked) dialogs.Write(dialog, kControlRecipients, port::Text{*picked});
      return std::nullopt;
    }
    const std::optional<int> end = EndOnOkOrCancel(dialog, message);
    if (end == port::kIdOk) text = dialogs.Read(dialog, kControlRecipients).text;
    return end;
  };
  if (RunModalDialog(kDialogReaddressEmail, setup, procedure) != port::kIdOk) return std::nullopt;
  return text;
}

}  // namespace quillet
