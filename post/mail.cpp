// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/mail.h"

#include <algorithm>
#include <vector>

#include "base/long_operation.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/registry_values.h"
#include "base/subscriptions.h"
#include "port/dialogs.h"
#include "port/mail_store.h"
#include "port/platform.h"
#include "port/registry.h"
#include "res/resource.h"
#include "util/format.h"
#include "util/text.h"
#include "util/version.h"

namespace quillet {
namespace {

constexpr std::u16string_view kServicesPath = u"PMail\\ServiceInfo";
constexpr std::u16string_view kKindValue = u"svcKey";
constexpr std::u16string_view kReturnAddressValue = u"svcRtn";
// 1 on the subkeys that PublishMailServices has made; the user's own have none.
constexpr std::u16string_view kPublishedValue = u"published";
constexpr std::u16string_view kMailKind = u"SMTP";

constexpr std::u16string_view kNoService = u"Internet Mail";

std::unique_ptr<port::RegistryKey> OpenService(std::u16string_view name) {
  return gPlatform->registry.Open(FormatWide(u"%ls\\%ls", kServicesPath, name));
}

// Nothing when there is no such string.
std::optional<std::u16string> TextValue(port::RegistryKey& key, std::u16string_view name) {
  const std::optional<port::RegistryValue> value = key.Get(name);
  if (!value || value->type != port::RegistryType::kString) return std::nullopt;
  return std::u16string(UntilNul(Utf16Text(value->data)));
}

// The usable ones, in the order of their names.
std::vector<std::u16string> Transports() {
  std::vector<std::u16string> names;
  const auto all = gPlatform->registry.Open(kServicesPath);
  if (!all) return names;
  for (const std::u16string& name : all->Subkeys()) {
    const auto service = OpenService(name);
    if (service && TextValue(*service, kKindValue) == kMailKind) names.push_back(name);
  }
  return names;
}

std::optional<std::u16string> ReturnAddress(std::u16string_view transport) {
  const auto service = OpenService(transport);
  return service ? TextValue(*service, kReturnAddressValue) : std::nullopt;
}

// --- Choosing ------------------------------------------------------------------------------------

std::optional<std::u16string> AskForTransport(const std::vector<std::u16string>& names) {
  std::optional<std::u16string> chosen;
  port::Dialogs& dialogs = gPlatform->dialogs;
  const auto setup = [&](port::WindowHandle dialog) {
    dialogs.WriteMany(dialog,
                      {{kControlTransport, port::Choices{names}},
                       {kControlTransport, port::Choice{0}},
                       {kControlAlwaysTransport, port::Checked{gPrefs->alwaystransport != 0}}});
  };
  // Meant: Cancel stores and chooses as OK does; the mail is on its way and needs a transport.
  RunModalDialog(
      kDialogChooseTransport, setup, [&](port::WindowHandle dialog, const port::Message& message) {
        const std::optional<int> end = EndOnOkOrCancel(dialog, message);
        if (!end) return end;
        const std::u16string name = dialogs.Read(dialog, kControlTransport).text;
        gPrefs->alwaystransport = dialogs.Read(dialog, kControlAlwaysTransport).checked ? 1 : 0;
        if (name.empty()) return end;
        gPrefs->transport = name;
        chosen = name;
        return end;
      });
  return chosen;
}

// --- Placing -------------------------------------------------------------------------------------

void ReportStoreError(std::u16string_view format) {
  ReportError(FormatWide(format, gPlatform->mail.LastError()), u"MailMessage");
}

bool PlaceInOutbox(const MailDraft& mail, const std::optional<std::u16string>& transport) {
  port::MailStore& store = gPlatform->mail;
  if (!store.Open()) {
    ReportStoreError(u"%d while trying to open mail");
    return false;
  }
  store.Begin(mail.id, transport ? std::u16string_view(*transport) : kNoService);
  store.SetSender(mail.sender);
  store.SetBody(mail.body);
  store.SetField(u"To", mail.recipients);
  store.SetField(u"cc", mail.copy_to);
  store.SetField(u"Subject", mail.subject);
  store.SetField(u"X-Newsreader", FormatWide(u"Quillet CE %s", kVersionText));
  const auto from = transport ? ReturnAddress(*transport) : std::nullopt;
  if (from) store.SetField(u"From", *from);
  const bool placed = store.Put();
  if (!placed) ReportStoreError(u"%d while trying to send mail");
  store.Close();
  return placed;
}

// --- Publishing ----------------------------------------------------------------------------------

bool IsPublished(port::RegistryKey& service) {
  ValueReader values(service);
  std::uint32_t published = 0;
  return values.Dword(kPublishedValue, published, 0) && published == 1;
}

void RemoveWhatIsGone(port::RegistryKey& all, const std::vector<port::MailService>& services) {
  for (const std::u16string& name : all.Subkeys()) {
    const bool there = std::ranges::any_of(services, [&](const port::MailService& service) {
      return EqualsNoCase(service.name, name);
    });
    if (there) continue;
    auto service = OpenService(name);
    const bool ours = service && IsPublished(*service);
    service.reset();
    if (ours) all.DeleteSubkey(name);
  }
}

void PublishService(port::RegistryKey& all, const port::MailService& service) {
  if (auto old = OpenService(service.name)) {
    // The user's own; one without any value was begun here and got no further.
    if (!IsPublished(*old) && !old->Values().empty()) return;
    if (TextValue(*old, kKindValue) == kMailKind &&
        TextValue(*old, kReturnAddressValue).value_or(u"") == service.return_address) {
      return;
    }
    old.reset();
    all.DeleteSubkey(service.name);
  }
  const auto key = gPlatform->registry.Create(FormatWide(u"%ls\\%ls", kServicesPath, service.name));
  // The kind last: what was begun and not finished is no transport, and is ours to mend.
  if (!key || !WriteDword(*key, kPublishedValue, 1)) return;
  if (!service.return_address.empty() &&
      !WriteText(*key, kReturnAddressValue, service.return_address)) {
    return;
  }
  WriteText(*key, kKindValue, kMailKind);
}

bool SomethingCanLeave() {
  return std::ranges::any_of(gPlatform->mail.Waiting(),
                             [](const port::WaitingMail& mail) { return !mail.held; });
}

}  // namespace

bool MailMessage(const MailDraft& mail) {
  // A second attempt at what has been placed already: it is on its way and nothing is asked again.
  if (gPlatform->mail.WasPut(mail.id)) return true;
  if (!mail.recipients.empty()) RememberRecipient(*gPrefs, mail.recipients);
  const std::optional<std::u16string> transport = ChooseTransport();
  // At once: the end of the program may come without a chance to write.
  WritePreferences();
  if (!PlaceInOutbox(mail, transport)) return false;
  HandOverMail();
  return true;
}

std::optional<std::u16string> ChooseTransport() {
  const std::vector<std::u16string> names = Transports();
  if (names.empty()) {
    ShowMessage(
        u"Quillet CE cannot find any user-defined email transports in the Inbox application. Your "
        u"mail will be queued, but may not be sent properly.");
    return std::nullopt;
  }
  if (names.size() == 1) return names.front();
  if (gPrefs->alwaystransport != 0) {
    const auto last = std::ranges::find_if(
        names, [](const std::u16string& name) { return EqualsNoCase(name, gPrefs->transport); });
    if (last != names.end()) return *last;
  }
  return AskForTransport(names);
}

void PublishMailServices() {
  const std::vector<port::MailService> services = gPlatform->mail.Services();
  const auto all = services.empty() ? gPlatform->registry.Open(kServicesPath)
                                    : gPlatform->registry.Create(kServicesPath);
  if (!all) return;
  RemoveWhatIsGone(*all, services);
  for (const port::MailService& service : services) PublishService(*all, service);
}

void HandOverMail() {
  if (SessionEnding() || !SomethingCanLeave()) return;
  RunWithProgress(u"Sending e-mail...", [] {
    if (!AbortRequested()) gPlatform->mail.HandOver();
    return 0;
  });
}

}  // namespace quillet
