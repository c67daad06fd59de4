#include "post/recipients.h"

#include <utility>
#include <vector>

#include "base/messages.h"
#include "base/modal_dialog.h"
#include "port/contacts.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/format.h"

namespace quillet {
namespace {

// A row each address.
port::Rows ReadRows() {
  port::Rows rows;
  const auto contacts = gPlatform->contacts.ReadAll();
  if (!contacts) {
    ReportError(u"Unable to GetPOOMContacts", u"PickAddressDialogProc");
    return rows;
  }
  for (const port::Contact& contact : *contacts) {
    const std::u16string name = FormatWide(u"%ls, %ls", contact.last, contact.first);
    for (const std::u16string& address : contact.addresses) rows.rows.push_back({{name, address}});
  }
  return rows;
}

}  // namespace

std::optional<std::u16string> PickAddresses() {
  const port::Rows rows = ReadRows();
  std::u16string chosen;
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    const std::optional<int> end = EndOnOkOrCancel(dialog, message);
    if (end != port::kIdOk) return end;
    const auto checks = gPlatform->dialogs.Read(dialog, kControlContacts).row_checks;
    for (std::size_t i = 0; i < checks.size() && i < rows.rows.size(); ++i) {
      if (!checks[i]) continue;
      if (!chosen.empty()) chosen += u", ";
      chosen += rows.rows[i].texts[1];
    }
    return end;
  };
  const int end = RunModalDialog(
      kDialogChooseRecipients,
      [&](port::WindowHandle dialog) { gPlatform->dialogs.Write(dialog, kControlContacts, rows); },
      procedure);
  return end == port::kIdOk ? std::optional(chosen) : std::nullopt;
}

std::optional<std::u16string> ReaddressEmail(std::u16string_view recipients) {
  std::u16string text(recipients);
  port::Dialogs& dialogs = gPlatform->dialogs;
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    if (message.kind == port::MessageKind::kCommand && message.id == kControlReaddressPick) {
      if (const auto picked = PickAddresses()) {
        dialogs.Write(dialog, kControlRecipients, port::Text{*picked});
      }
    }
    const std::optional<int> end = EndOnOkOrCancel(dialog, message);
    if (end == port::kIdOk) text = dialogs.Read(dialog, kControlRecipients).text;
    return end;
  };
  const int end = RunModalDialog(
      kDialogReaddressEmail,
      [&](port::WindowHandle dialog) {
        dialogs.Write(dialog, kControlRecipients, port::Text{text});
      },
      procedure);
  return end == port::kIdOk ? std::optional(text) : std::nullopt;
}

}  // namespace quillet
